// A compressed sound or set of frames: a fixed head record, whose last field `streamSize` counts
// the bytes of the coded stream that follows it, in one block from malloc.
#pragma once

#include <cstddef>
#include <cstdint>
#include <cstdlib>
#include <cstring>
#include <vector>

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
