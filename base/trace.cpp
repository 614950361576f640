#include "base/trace.h"

#include <atomic>
#include <cstdarg>
#include <cstdio>

namespace {

std::atomic<TraceSink> traceSink{nullptr};

}  // namespace

void setTraceSink(TraceSink sink) { traceSink = sink; }

void TraceMessage(const char* format, ...) {
  TraceSink sink = traceSink;
  if (!sink) return;
  char text[1024];
  va_list arguments;
  va_start(arguments, format);
  std::vsnprintf(text, sizeof text, format, arguments);
  va_end(arguments);
  sink(text);
}
