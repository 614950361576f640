#include "sound/midi/midi_converter.h"

#include <cstring>
#include <vector>

#include "base/os/os.h"
#include "sound/device/midi_stream.h"

namespace {

constexpr int32_t kListGrowth = 256;
// A block is closed once it holds this much: the largest event (a system exclusive of 255
// bytes) and the deferred events of a moment (17) still fit behind it.
constexpr uint32_t kBlockCloseAt = 0xFE00;
constexpr uint32_t kNoDeferredVolume = 0xFFFFFFFF;
// Bytes that may come before the header chunk.
constexpr int32_t kPrefixBytes = 128;

uint32_t readBig32(const uint8_t* bytes) {
  return static_cast<uint32_t>(bytes[0]) << 24 | bytes[1] << 16 | bytes[2] << 8 | bytes[3];
}

bool readExactly(KFileObj* file, void* buffer, uint32_t bytes) { return file->Read(buffer, bytes) == bytes; }

// One track's body; every read stops at its end, which then counts as the track's end.
struct Track {
  const uint8_t* cursor;  // null once the track has ended
  const uint8_t* end;
  uint32_t delta;         // ticks to its next event
  uint8_t runningStatus;

  bool byte(uint8_t* value) {
    if (cursor == end) return false;
    *value = *cursor++;
    return true;
  }
  bool skip(uint32_t count) {
    if (static_cast<uint32_t>(end - cursor) < count) return false;
    cursor += count;
    return true;
  }
  // A variable-length number: 7 bits a byte, most significant first, a set top bit for more.
  bool number(uint32_t* value) {
    uint32_t result = 0;
    uint8_t next;
    do {
      if (!byte(&next)) return false;
      result = result << 7 | (next & 0x7F);
    } while (next & 0x80);
    *value = result;
    return true;
  }
};

// What reading one event did.
enum class Read { kWritten, kDeferred, kNothing, kEnd };

class Converter {
 public:
  explicit Converter(MidiBlockList* list) : list_(list) {}
  ~Converter() {
    if (block_) os::globalFree(block_);
  }

  bool Start();
  // Merges the tracks; false for lack of memory.
  bool Merge(std::vector<Track>& tracks);

 private:
  bool CloseBlock();
  void WriteEvent(uint32_t delta, uint32_t event);
  void Flush();
  Read ReadEvent(Track& track);
  Read ReadSystemExclusive(Track& track, uint8_t status);
  Read ReadMeta(Track& track);

  MidiBlockList* list_;
  uint8_t* block_ = nullptr;
  uint32_t used_ = 0;
  bool failed_ = false;
  uint32_t eventDelta_ = 0;
  uint32_t carriedDelta_ = 0;
  bool eventsWritten_ = false;
  uint32_t deferredTempo_ = 0;
  bool tempoDeferred_ = false;
  uint32_t deferredVolume_[16];
  bool volumeDeferred_ = false;
};

bool Converter::Start() {
  list_->blocks = static_cast<uint8_t**>(os::heapAlloc(kListGrowth * sizeof(uint8_t*), true));
  list_->blockSizes = static_cast<uint32_t*>(os::heapAlloc(kListGrowth * sizeof(uint32_t), true));
  block_ = static_cast<uint8_t*>(os::globalAlloc(kMidiBlockBytes, false));
  if (!list_->blocks || !list_->blockSizes || !block_) return false;
  list_->capacity = kListGrowth;
  std::fill(std::begin(deferredVolume_), std::end(deferredVolume_), kNoDeferredVolume);
  return true;
}

// Hands the current block to the list and takes a new one.
bool Converter::CloseBlock() {
  if (list_->blockCount == list_->capacity) {
    int32_t grown = list_->capacity + kListGrowth;
    auto* blocks = static_cast<uint8_t**>(os::heapRealloc(list_->blocks, grown * sizeof(uint8_t*)));
    if (blocks) list_->blocks = blocks;
    auto* sizes = static_cast<uint32_t*>(os::heapRealloc(list_->blockSizes, grown * sizeof(uint32_t)));
    if (sizes) list_->blockSizes = sizes;
    if (!blocks || !sizes) return false;
    std::memset(blocks + list_->capacity, 0, kListGrowth * sizeof(uint8_t*));
    std::memset(sizes + list_->capacity, 0, kListGrowth * sizeof(uint32_t));
    list_->capacity = grown;
  }
  list_->blocks[list_->blockCount] = block_;
  list_->blockSizes[list_->blockCount] = used_;
  ++list_->blockCount;
  block_ = static_cast<uint8_t*>(os::globalAlloc(kMidiBlockBytes, false));
  used_ = 0;
  return block_ != nullptr;
}

void Converter::WriteEvent(uint32_t delta, uint32_t event) {
  const uint32_t words[3] = {delta, 0, event};
  std::memcpy(block_ + used_, words, sizeof words);
  used_ += sizeof words;
}

// The deferred volumes and tempo at the moment the time moves on: the first of them carries
// the time not yet written and the callback flag.
void Converter::Flush() {
  uint32_t delta = carriedDelta_;
  uint32_t flag = kMidiEventCallback;
  for (uint32_t& word : deferredVolume_) {
    if (word == kNoDeferredVolume) continue;
    WriteEvent(delta, flag | word | kMidiEventNop);
    delta = 0;
    flag = 0;
    word = kNoDeferredVolume;
  }
  if (tempoDeferred_) WriteEvent(delta, flag | deferredTempo_ | kMidiEventTempo);
  tempoDeferred_ = false;
  volumeDeferred_ = false;
}

Read Converter::ReadEvent(Track& track) {
  uint8_t first;
  if (!track.byte(&first)) return Read::kEnd;
  if (first == 0xFF) return ReadMeta(track);
  if (first == 0xF0 || first == 0xF7) return ReadSystemExclusive(track, first);
  if (first > 0xF0) {
    WriteEvent(eventDelta_, first);
    return Read::kWritten;
  }
  uint8_t status = track.runningStatus;
  uint8_t data1 = first;
  if (first & 0x80) {
    status = track.runningStatus = first;
    if (!track.byte(&data1)) return Read::kEnd;
  }
  uint8_t data2 = 0;
  uint8_t group = status & 0xF0;
  if (group != 0xC0 && group != 0xD0 && !track.byte(&data2)) return Read::kEnd;
  uint32_t word = status | data1 << 8 | data2 << 16;
  if (group == 0xB0 && data1 == 7) {
    deferredVolume_[status & 0x0F] = word;
    volumeDeferred_ = true;
    eventsWritten_ = false;
    return Read::kDeferred;
  }
  WriteEvent(eventDelta_, word);
  return Read::kWritten;
}

// A length of one byte. An empty one, or one holding only 0xF7, is the song's loop mark.
Read Converter::ReadSystemExclusive(Track& track, uint8_t status) {
  uint8_t length;
  if (!track.byte(&length)) return Read::kEnd;
  bool loopMark = length == 0 || (length == 1 && track.cursor != track.end && *track.cursor == 0xF7);
  if (loopMark) {
    // The 0xF7 of a 0xF7 mark stays: the next delta begins on it.
    if (status == 0xF0 && length == 1) track.cursor++;
    if (used_ != 0 && !CloseBlock()) failed_ = true;
    list_->loopBlock = list_->blockCount;
    list_->loopMark = true;
    return Read::kNothing;
  }
  if (!track.skip(length)) return Read::kEnd;
  const uint8_t* data = track.cursor - length;
  uint32_t bytes = status == 0xF0 ? length + 1u : length;
  WriteEvent(eventDelta_, kMidiEventLong | bytes);
  uint8_t* parameters = block_ + used_;
  if (status == 0xF0) *parameters++ = 0xF0;
  std::memcpy(parameters, data, length);
  uint32_t padded = (bytes + 3) & ~3u;
  std::memset(block_ + used_ + bytes, 0, padded - bytes);
  used_ += padded;
  return Read::kWritten;
}

// The byte behind the type is a length, obeyed only by the types without a fixed skip.
Read Converter::ReadMeta(Track& track) {
  uint8_t type, length;
  if (!track.byte(&type)) return Read::kEnd;
  uint32_t skip;
  switch (type) {
    case 0x00: skip = 3; break;
    case 0x21: skip = 2; break;
    case 0x2F: return Read::kEnd;
    case 0x51: {
      const uint8_t* tempo = track.cursor + 1;
      if (!track.skip(4)) return Read::kEnd;
      deferredTempo_ = tempo[0] << 16 | tempo[1] << 8 | tempo[2];
      tempoDeferred_ = true;
      return Read::kNothing;
    }
    case 0x54: skip = 6; break;
    case 0x58: skip = 5; break;
    case 0x59: skip = 3; break;
    case 0x7F:
      if (!track.byte(&length) || length != 3) return Read::kEnd;
      skip = 3;
      break;
    default:
      if (!track.byte(&length)) return Read::kEnd;
      skip = length;
      break;
  }
  return track.skip(skip) ? Read::kNothing : Read::kEnd;
}

bool Converter::Merge(std::vector<Track>& tracks) {
  size_t finished = 0;
  for (Track& track : tracks)
    if (!track.number(&track.delta)) {
      track.cursor = nullptr;
      ++finished;
    }
  while (finished < tracks.size()) {
    Track* next = nullptr;
    for (Track& track : tracks)
      if (track.cursor && (!next || track.delta < next->delta)) next = &track;
    eventDelta_ = next->delta;
    if (eventDelta_ != 0) {
      for (Track& track : tracks)
        if (track.cursor) track.delta -= eventDelta_;
      if (volumeDeferred_ || tempoDeferred_) Flush();
      carriedDelta_ = eventDelta_;
    }
    eventsWritten_ = true;
    for (;;) {
      if (used_ >= kBlockCloseAt && !CloseBlock()) return false;
      Read read = ReadEvent(*next);
      if (failed_) return false;
      if (read != Read::kEnd && eventsWritten_) carriedDelta_ = 0;
      if (read == Read::kEnd || !next->number(&eventDelta_)) {
        next->cursor = nullptr;
        ++finished;
        break;
      }
      if (eventDelta_ != 0) {
        next->delta = eventDelta_;
        break;
      }
    }
  }
  if (used_ != 0) return CloseBlock();
  return true;
}

}  // namespace

void FreeMidiBlocks(MidiBlockList* list) {
  for (int32_t i = 0; i < list->blockCount; ++i) os::globalFree(list->blocks[i]);
  if (list->blocks) os::heapFree(list->blocks);
  if (list->blockSizes) os::heapFree(list->blockSizes);
  *list = MidiBlockList{};
}

uint32_t ConvertMidiFile(KFileObj* file, MidiBlockList* list) {
  uint8_t header[14];
  if (!readExactly(file, header, 4)) return 1;
  if (std::memcmp(header, "MThd", 4) != 0) {
    file->Seek(kPrefixBytes - 4, kSeekCurrent);
    if (!readExactly(file, header, 4) || std::memcmp(header, "MThd", 4) != 0) return 1;
  }
  if (!readExactly(file, header + 4, 10) || readBig32(header + 4) != 6) return 1;
  uint32_t trackCount = header[9] == 0 ? 1 : (header[10] << 8 | header[11]);
  uint32_t timeDivision = header[12] << 8 | header[13];

  // The track chunks: sizes past the file's end are cut to what the file holds.
  uint32_t bodiesAt = file->GetPosition();
  uint32_t fileLength = file->GetLength();
  std::vector<uint32_t> sizes(trackCount);
  uint64_t total = 0;
  for (uint32_t& size : sizes) {
    uint8_t chunk[8];
    if (!readExactly(file, chunk, 8) || std::memcmp(chunk, "MTrk", 4) != 0) return 1;
    uint32_t at = file->GetPosition();
    size = std::min(readBig32(chunk + 4), fileLength > at ? fileLength - at : 0);
    total += size;
    file->Seek(static_cast<int32_t>(at + size), kSeekBegin);
  }
  auto* bodies = static_cast<uint8_t*>(os::globalAlloc(static_cast<size_t>(total), false));
  if (!bodies) return 1;
  file->Seek(static_cast<int32_t>(bodiesAt), kSeekBegin);
  std::vector<Track> tracks(trackCount);
  uint8_t* body = bodies;
  for (uint32_t i = 0; i < trackCount; ++i) {
    uint8_t chunk[8];
    readExactly(file, chunk, 8);
    uint32_t got = file->Read(body, sizes[i]);
    tracks[i] = Track{body, body + got, 0, 0};
    body += sizes[i];
  }

  bool converted;
  {
    Converter converter(list);
    converted = converter.Start() && converter.Merge(tracks);
  }
  os::globalFree(bodies);
  if (!converted) {
    FreeMidiBlocks(list);
    return 1;
  }
  list->timeDivision = timeDivision;
  return 0;
}
