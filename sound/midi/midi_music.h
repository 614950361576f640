// A song played through the MIDI stream device: converted once, on reading, into stream blocks
// (midi_converter.h), then handed out one block at a time from the stream's done notice. The
// object keeps a master volume over the song's own channel volumes: those travel in the stream
// as flagged no-op events, and their callback sends each channel its scaled volume.
#pragma once

#include <atomic>
#include <cstdint>

#include "base/os/os.h"
#include "files/file_obj.h"
#include "sound/device/midi_stream.h"
#include "sound/midi/midi_converter.h"

class CMIDIMusic {
 public:
  CMIDIMusic();
  CMIDIMusic(const CMIDIMusic&) = delete;
  CMIDIMusic& operator=(const CMIDIMusic&) = delete;
  // Stops, closes and frees all blocks.
  virtual void Clear();
  // The stream callback's body, on the stream's thread.
  virtual void OnMidiMessage(MidiStream* stream, uint32_t message, uintptr_t param);
  virtual ~CMIDIMusic();

  // Converts a Standard MIDI File; 1 for one that is not, or for lack of memory.
  uint32_t ReadFile(KFileObj* file);
  // Opens the stream (0 when it is open already) and starts its clock; 1 when none opens.
  uint32_t OpenStream();
  // Plays from the first block; 1 without blocks or when the stream refuses.
  uint32_t Play(bool looped);
  // 1 unless playing and not paused.
  uint32_t Pause();
  // 1 unless paused.
  uint32_t Restart();
  void StopPlay();
  void StopAndClose();
  // 0 to 0xFFFF, scaling the song's channel volumes.
  void SetMasterVolume(uint32_t volume);
  // Sends `channel` its volume scaled by `volume` when it differs from what it was sent last.
  uint32_t ApplyVolume(uint32_t channel, uint32_t volume);
  // Messages sent at once: 0 without a stream, 1 when the stream refuses.
  uint32_t OutShortMsg(uint32_t message);
  uint32_t OutLongMsg(const void* data, uint32_t bytes);
  bool IsPlaying() const { return isPlaying_; }

  const MidiBlockList& Song() const { return song_; }
  bool IsLooped() const { return isLooped_; }

 private:
  static void StreamCallback(MidiStream* stream, uint32_t message, void* instance, uintptr_t param);
  // The header over the current block, prepared.
  uint32_t PrepareCurrentBlock();
  void OnPosition(const MIDIHDR* header);
  void OnDone(MidiStream* stream, MIDIHDR* header);
  // The song's next block, the loop's first, or the song's end.
  void QueueNextBlock();
  // Takes `lock_` for a callback, unless a stop is under way: the stopping thread may hold it
  // while it waits for the stream's thread, which runs the callbacks. True when taken.
  bool LockForCallback();

  MidiStream* hStream_ = nullptr;
  MIDIHDR header_{};
  std::atomic<bool> isPlaying_{false};
  std::atomic<bool> isPaused_{false};
  std::atomic<bool> isLooped_{false};
  uint32_t tempo_ = 0;
  uint32_t masterVolume_ = 0xFFFF;
  uint32_t channelVolume_[16];
  uint32_t sentVolume_[16];
  MidiBlockList song_;
  int32_t currentBlock_ = 0;
  os::CriticalSection lock_;
  // Set around every stop: the block that the stop hands back must not bring the next one.
  std::atomic<bool> closing_{false};
};
