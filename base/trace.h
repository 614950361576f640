// The library's printf-style diagnostic, by channel: one channel per subsystem of the call
// sites. It writes nothing until channels are switched on: the host switches on those that
// RUNA1_TRACE names, a debug configuration all of them, tests set a sink of their own. The
// texts stay at the call sites.
#pragma once

#include <cstdint>
#include <string>
#include <string_view>

// The channels. A subsystem that traces adds its line here; the name is the one RUNA1_TRACE
// takes.
#define RUNA1_TRACE_CHANNELS(CHANNEL) \
  CHANNEL(record)                     \
  CHANNEL(archive)                    \
  CHANNEL(sound)                      \
  CHANNEL(midi)                       \
  CHANNEL(font)

enum class TraceChannel : uint32_t {
#define RUNA1_TRACE_ENUMERATOR(name) name,
  RUNA1_TRACE_CHANNELS(RUNA1_TRACE_ENUMERATOR)
#undef RUNA1_TRACE_ENUMERATOR
};

constexpr uint32_t traceChannelBit(TraceChannel channel) { return 1u << static_cast<uint32_t>(channel); }
constexpr uint32_t kAllTraceChannels = 0xFFFFFFFFu;

// The channel's name, as RUNA1_TRACE spells it.
const char* traceChannelName(TraceChannel channel);

using TraceSink = void (*)(TraceChannel channel, const char* text);

// Sends the texts of the channels in `channels` (bits of traceChannelBit) to `sink`; a null
// sink or no channels turn tracing off again.
void setTraceSink(TraceSink sink, uint32_t channels = kAllTraceChannels);
// Sends the channels' texts to the debug output (mirrored to stderr), one line each:
// `runa1: trace <channel>: <text>`.
void traceToDebugOutput(uint32_t channels);
// The channels that a list of names picks: names separated by commas, in any case, with "all"
// for every channel. Names that are no channel are added to `unknown`, comma-separated.
uint32_t traceChannelsNamed(std::string_view names, std::string* unknown);
// Switches on the channels that the environment variable RUNA1_TRACE names; an unknown name
// gets one diagnostic line. Without the variable nothing is traced.
void traceFromEnvironment();

void TraceMessage(TraceChannel channel, const char* format, ...)
#if defined(__GNUC__)
    __attribute__((format(printf, 2, 3)))
#endif
    ;
