#include "base/trace.h"

#include <atomic>
#include <cctype>
#include <cstdarg>
#include <cstdio>
#include <cstdlib>
#include <iterator>

#include "base/os/os.h"

namespace {

constexpr const char* kChannelNames[] = {
#define RUNA1_TRACE_NAME(name) #name,
    RUNA1_TRACE_CHANNELS(RUNA1_TRACE_NAME)
#undef RUNA1_TRACE_NAME
};

std::atomic<TraceSink> traceSink{nullptr};
std::atomic<uint32_t> tracedChannels{0};

bool sameName(std::string_view a, std::string_view b) {
  if (a.size() != b.size()) return false;
  for (size_t i = 0; i < a.size(); ++i) {
    if (std::tolower(static_cast<unsigned char>(a[i])) != std::tolower(static_cast<unsigned char>(b[i])))
      return false;
  }
  return true;
}

std::string_view trimmed(std::string_view text) {
  while (!text.empty() && std::isspace(static_cast<unsigned char>(text.front()))) text.remove_prefix(1);
  while (!text.empty() && std::isspace(static_cast<unsigned char>(text.back()))) text.remove_suffix(1);
  return text;
}

void writeToDebugOutput(TraceChannel channel, const char* text) {
  std::string line = std::string("runa1: trace ") + traceChannelName(channel) + ": " + text;
  if (line.back() != '\n') line += '\n';
  os::debugOutput(line.c_str());
}

}  // namespace

const char* traceChannelName(TraceChannel channel) { return kChannelNames[static_cast<uint32_t>(channel)]; }

void setTraceSink(TraceSink sink, uint32_t channels) {
  tracedChannels = 0;
  traceSink = sink;
  if (sink) tracedChannels = channels;
}

void traceToDebugOutput(uint32_t channels) { setTraceSink(writeToDebugOutput, channels); }

uint32_t traceChannelsNamed(std::string_view names, std::string* unknown) {
  uint32_t channels = 0;
  while (!names.empty()) {
    size_t comma = names.find(',');
    std::string_view name = trimmed(names.substr(0, comma));
    names = comma == std::string_view::npos ? std::string_view() : names.substr(comma + 1);
    if (name.empty()) continue;
    if (sameName(name, "all")) {
      channels = kAllTraceChannels;
      continue;
    }
    bool known = false;
    for (uint32_t i = 0; i < std::size(kChannelNames); ++i) {
      if (sameName(name, kChannelNames[i])) {
        channels |= traceChannelBit(static_cast<TraceChannel>(i));
        known = true;
      }
    }
    if (!known) {
      if (!unknown->empty()) *unknown += ',';
      *unknown += name;
    }
  }
  return channels;
}

void traceFromEnvironment() {
  const char* names = std::getenv("RUNA1_TRACE");
  if (!names || !*names) return;
  std::string unknown;
  uint32_t channels = traceChannelsNamed(names, &unknown);
  if (!unknown.empty()) {
    std::string known = "all";
    for (const char* name : kChannelNames) known += std::string(", ") + name;
    os::writeDiagnostic("runa1: RUNA1_TRACE: no channel named " + unknown + " (channels: " + known + ")\n");
  }
  if (channels) traceToDebugOutput(channels);
}

void TraceMessage(TraceChannel channel, const char* format, ...) {
  if (!(tracedChannels.load(std::memory_order_relaxed) & traceChannelBit(channel))) return;
  TraceSink sink = traceSink;
  if (!sink) return;
  char text[1024];
  va_list arguments;
  va_start(arguments, format);
  std::vsnprintf(text, sizeof text, format, arguments);
  va_end(arguments);
  sink(channel, text);
}
