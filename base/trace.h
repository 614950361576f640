// The library's printf-style diagnostic. It does nothing until a sink is set (the host sets
// one for its DEBUG switch, tests set their own); the texts stay at the call sites.
#pragma once

using TraceSink = void (*)(const char* text);

// Null turns tracing off again.
void setTraceSink(TraceSink sink);
void TraceMessage(const char* format, ...)
#if defined(__GNUC__)
    __attribute__((format(printf, 1, 2)))
#endif
    ;
