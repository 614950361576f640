// A compressed sound or set of frames: a fixed head record, whose last field `streamSize` counts
// the bytes of the coded stream (signed 32-bit values) that follows it, in one block from malloc.
#pragma once

#include <cstddef>
#include <cstdint>
#include <cstdlib>
#include <cstring>
#include <memory>
#include <vector>

#include "graphics/core/phrase_coder.h"

// Writes `head` with its version and stream size, then the stream; gives the block and its size.
template <typename Head>
uint8_t* mqPackCodedRecord(Head head, uint32_t version, const std::vector<uint8_t>& stream,
                           uint32_t* byteCount) {
  head.version = version;
  head.streamSize = static_cast<uint32_t>(stream.size());
  auto* data = static_cast<uint8_t*>(std::malloc(sizeof head + stream.size()));
  std::memcpy(data, &head, sizeof head);
  if (!stream.empty()) std::memcpy(data + sizeof head, stream.data(), stream.size());
  *byteCount = static_cast<uint32_t>(sizeof head + stream.size());
  return data;
}

// Copies the head out of `size` bytes; false if they are too few for it, its version isn't
// `version`, or its stream runs past them.
template <typename Head>
bool mqUnpackCodedRecord(const void* data, size_t size, uint32_t version, Head* head) {
  if (size < sizeof *head) return false;
  std::memcpy(head, data, sizeof *head);
  return head->version == version && head->streamSize <= size - sizeof *head;
}

using MQDecoderHandle = std::unique_ptr<MQDecoder, void (*)(MQDecoder*)>;

// Opens the coded stream behind `head` (already checked against the block's size); empty if the
// stream has no valid dictionary.
template <typename Head>
MQDecoderHandle mqOpenCodedRecord(const void* data, const Head& head, MQDecoderState* state) {
  return MQDecoderHandle(
      mqOpenDecoder(state, sizeof *state, static_cast<const uint8_t*>(data) + sizeof head,
                    kMQUnit32 | kMQSigned, kMQTableLimit, nullptr, head.streamSize),
      mqCloseDecoder);
}
