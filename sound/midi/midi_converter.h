// The conversion of a Standard MIDI File into the blocks of a MIDI stream: all tracks merged by
// time into 64 KB blocks of stream events, with the tempo and the channel volumes (controller 7)
// taken out of the flow and put back, flagged for a callback, when the time moves on.
#pragma once

#include <cstdint>

#include "files/file_obj.h"

struct MidiBlockList {
  int32_t blockCount = 0;
  int32_t capacity = 0;            // entries of blocks and blockSizes
  uint8_t** blocks = nullptr;      // each a block of kMidiBlockBytes from os::globalAlloc
  uint32_t* blockSizes = nullptr;  // bytes used in each block
  int32_t loopBlock = 0;           // the block behind the song's loop mark
  bool loopMark = false;
  uint32_t timeDivision = 0;       // the header's division word
};

constexpr uint32_t kMidiBlockBytes = 0x10000;

// Reads the file from its current position into `list`, which must be empty. Up to 128 bytes
// may precede the "MThd" chunk. 0 on success; 1 for a file that is not a MIDI file or for lack
// of memory, and then `list` stays empty. Bad track data ends its track; nothing outside the
// file's bytes is read.
uint32_t ConvertMidiFile(KFileObj* file, MidiBlockList* list);
// Frees the blocks and the lists; `list` is empty afterwards.
void FreeMidiBlocks(MidiBlockList* list);
