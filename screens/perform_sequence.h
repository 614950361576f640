// The interpreter of the opening and ending sequences: it runs a table of steps with a clock of
// its own, fading, scrolling and composing pictures from an archive into the target, fading the
// target's tone, and playing music and sound, until the table ends or the player presses the
// right button. Files that are missing leave their slot empty or their music silent, and the
// sequence goes on.
#pragma once

#include <array>
#include <cstdint>
#include <memory>
#include <span>

#include "graphics/graphic.h"
#include "screens/screen_click_watch.h"
#include "screens/perform_steps.h"
#include "sound/midi/midi_music.h"
#include "sound/mixer/pcm_sound.h"

class KArcFileExp;

// The clock and the window calls of a sequence, apart from the screens' host so that tests run
// the steps on a clock of their own.
class SequenceStage {
 public:
  virtual ~SequenceStage() = default;
  // Milliseconds (GetTickCount), and a pause of about `milliseconds`.
  virtual uint32_t Now() = 0;
  virtual void Sleep(uint32_t milliseconds) = 0;
  // Paints what is invalid in the main window now.
  virtual void UpdateWindow() = 0;
  // Moves the whole client area of the main window by (dx, dy).
  virtual void ScrollWindow(int32_t dx, int32_t dy) = 0;
};

// Where a sequence takes its files from; any of them may be null, which reads as empty.
struct SequenceArchives {
  KArcFileExp* images;
  KArcFileExp* music;
  KArcFileExp* sounds;
};

class SequencePlayer {
 public:
  static constexpr int32_t kSlots = 16;
  static constexpr int32_t kFrameMs = 33;     // the interval of the frames of timed steps
  static constexpr uint32_t kWaitMs = 66;     // the shortest sleep of a wait
  static constexpr int32_t kRightButton = screen_message::kRButtonDown;

  SequencePlayer(ScreenHost& host, SequenceStage& stage, Graphic* target, const SequenceArchives& archives);
  SequencePlayer(const SequencePlayer&) = delete;
  SequencePlayer& operator=(const SequencePlayer&) = delete;

  // Runs `steps` in turn; true when the right button cut them short.
  bool Play(std::span<const SequenceStep> steps);

 private:
  struct Position {
    int32_t x, y;
  };

  void Run(const SequenceStep& step);
  void Load(const char* file, int32_t slot);
  void Show(int32_t slot, int32_t x, int32_t y, int32_t duration);
  void Blit(int32_t destination, int32_t source, int32_t x, int32_t y);
  void Scroll(int32_t slot, int32_t x, int32_t y, int32_t duration);
  void Tone(int32_t first, int32_t last, int32_t duration);
  void Wait(int32_t time);
  void Music(const char* name, int32_t position, int32_t repeat);
  void Sound(const char* file, int32_t repeat);

  // Calls `frame` with the time since the start, a frame every kFrameMs, until `duration` has
  // passed or the right button is pressed; no frame at all for a duration of 0.
  template <typename Frame>
  void Frames(int32_t duration, Frame frame);
  // Takes the next press, if any, as the last message: true for the right button.
  bool Poll();
  // The loaded picture of `slot`, or null.
  Graphic* Loaded(int32_t slot) const;
  // Draws a picture to the target with the window's message loop stopped, and paints it.
  void DrawFrame(Graphic* picture, int32_t x, int32_t y, uint32_t transparency);
  int32_t Elapsed(uint32_t since) { return static_cast<int32_t>(stage_.Now() - since); }

  ScreenHost& host_;
  SequenceStage& stage_;
  Graphic* target_;
  SequenceArchives archives_;
  // Destroyed in reverse: the slots, the players (which ends all sound), then the watch.
  ScreenClickWatch watch_;
  KPCMSound music_;
  KPCMSound sound_;
  CMIDIMusic midi_;
  std::array<std::unique_ptr<Graphic>, kSlots> slots_;
  std::array<bool, kSlots> loaded_{};
  std::array<Position, kSlots> positions_{};
  uint32_t clockBase_ = 0;
  int32_t lastMessage_ = 0;
};
