// The demo game's music and sound effects, made from nothing but arithmetic: a composer of
// short songs written as Standard MIDI Files, and the effects as 16-bit mono waves.
#pragma once

#include <cstdint>
#include <string>
#include <vector>

namespace demo_sound {

// Times in ticks of kTicksPerBeat; four beats a bar.
constexpr uint16_t kTicksPerBeat = 480;
constexpr uint32_t kTicksPerBar = 4 * kTicksPerBeat;

struct Note {
  uint32_t start, length;
  uint8_t channel, key, velocity;
};

struct Song {
  uint32_t microsPerBeat = 500000;
  uint8_t programs[3] = {0, 0, 0};  // of channels 0 (melody), 1 (chords), 2 (bass)
  std::vector<Note> notes;
  uint32_t loopTick = 0;  // where a looped song starts again
  uint32_t endTick = 0;
};

// The two moods the game needs: the bright title song and the slower ending song.
enum class Mood { kTitle, kEnding };

// Eight bars over a four-chord progression of the mood, in C major: block chords, a bass on the
// first and third beats, and a melody of chord tones on strong beats with steps between them,
// chosen by a generator seeded with `seed`. The same seed gives the same song.
Song composeSong(Mood mood, uint32_t seed);

// The degrees of the progression's chords (0 for C, 5 for A minor...), one per bar, repeating.
const std::vector<int>& progression(Mood mood);
// The keys of the triad on `degree` of C major, root first, in the octave above `lowest`.
std::vector<uint8_t> triad(int degree, uint8_t lowest);

// The song as a format 0 file: tempo, programs, an empty system exclusive event at the loop
// tick (the engine's loop mark), the notes, the end of track.
std::string standardMidiFile(const Song& song);

// The sound effects at `rate` frames a second, peaks under 0.7 of full scale: a two-tone bell
// (the text advances) and a short falling blip (a choice is made).
std::vector<int16_t> chime(uint32_t rate);
std::vector<int16_t> blip(uint32_t rate);

// A RIFF wave file of 16-bit mono samples.
std::string waveFile(const std::vector<int16_t>& samples, uint32_t rate);

}  // namespace demo_sound
