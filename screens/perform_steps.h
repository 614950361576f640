// The opening and ending sequences as tables of steps: an opcode and four arguments, where a
// file name takes the place of the first.
#pragma once

#include <cstdint>
#include <span>

enum SequenceOpcode : int32_t {
  SEQ_LOAD = 0,    // file name or null, slot: read the bitmap into the slot, or free it
  SEQ_SHOW = 1,    // slot, x, y, fade-in ms: draw the slot's picture to the target
  SEQ_BLIT = 2,    // destination slot, source slot, x, y: compose off-screen
  SEQ_SCROLL = 3,  // slot, x, y, ms: move the slot's picture from where it stands
  SEQ_TONE = 4,    // first tone, last tone, ms: fade the target's tone
  SEQ_CLOCK = 5,   // ms: the sequence's clock starts as if that much had already gone
  SEQ_WAIT = 6,    // ms: wait until the clock shows that time
  SEQ_MUSIC = 7,   // base name or null, loop position, repeat: start or stop the music
  SEQ_SOUND = 8,   // file name or null, unused, repeat: start or stop the sound
};

struct SequenceStep {
  int32_t opcode;
  union {
    int32_t a;
    const char* file;
  };
  int32_t b, c, d;
};

// The title sequence, 70 steps, and the staff roll, 78 steps.
std::span<const SequenceStep> openingSteps();
std::span<const SequenceStep> endingSteps();
