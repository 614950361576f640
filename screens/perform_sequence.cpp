#include "screens/perform_sequence.h"

#include <algorithm>
#include <string>

#include "host/exports/archive.h"
#include "host/exports/graphic.h"
#include "screens/music_settings.h"

namespace {

// The member `name` of `archive`, ready to be read; false when either is missing.
bool descend(KArcFileExp* archive, const std::string& name) {
  return archive && KORALArchive_DescendFile(archive, name.c_str()) == 0;
}

}  // namespace

SequencePlayer::SequencePlayer(ScreenHost& host, SequenceStage& stage, Graphic* target,
                               const SequenceArchives& archives)
    : host_(host), stage_(stage), target_(target), archives_(archives), watch_(host) {
  for (auto& slot : slots_) slot = std::make_unique<Graphic>(kMadeObjectConversion);
}

bool SequencePlayer::Play(std::span<const SequenceStep> steps) {
  clockBase_ = stage_.Now();
  for (const SequenceStep& step : steps) {
    if (Poll()) break;
    Run(step);
    if (lastMessage_ == kRightButton) break;
  }
  return lastMessage_ == kRightButton;
}

void SequencePlayer::Run(const SequenceStep& step) {
  switch (step.opcode) {
    case SEQ_LOAD: return Load(step.file, step.b);
    case SEQ_SHOW: return Show(step.a, step.b, step.c, step.d);
    case SEQ_BLIT: return Blit(step.a, step.b, step.c, step.d);
    case SEQ_SCROLL: return Scroll(step.a, step.b, step.c, step.d);
    case SEQ_TONE: return Tone(step.a, step.b, step.c);
    case SEQ_CLOCK: clockBase_ = stage_.Now() - static_cast<uint32_t>(step.a); return;
    case SEQ_WAIT: return Wait(step.a);
    case SEQ_MUSIC: return Music(step.file, step.b, step.c);
    case SEQ_SOUND: return Sound(step.file, step.c);
  }
}

bool SequencePlayer::Poll() {
  lastMessage_ = watch_.WaitClick(0);
  return lastMessage_ == kRightButton;
}

template <typename Frame>
void SequencePlayer::Frames(int32_t duration, Frame frame) {
  if (duration <= 0) return;
  uint32_t start = stage_.Now();
  int32_t due = kFrameMs;
  for (;;) {
    int32_t t = Elapsed(start);
    if (t < due) {
      stage_.Sleep(static_cast<uint32_t>(due - t));
      t = Elapsed(start);
    }
    if (t >= duration || Poll()) return;
    frame(t);
    due = t + kFrameMs;
  }
}

Graphic* SequencePlayer::Loaded(int32_t slot) const {
  return slot >= 0 && slot < kSlots && loaded_[slot] ? slots_[slot].get() : nullptr;
}

void SequencePlayer::DrawFrame(Graphic* picture, int32_t x, int32_t y, uint32_t transparency) {
  host_.StopMessageLoop();
  graphic_DrawBitmapToBitmap(picture, target_, x, y, nullptr, transparency, 0);
  host_.RestartMessageLoop();
}

void SequencePlayer::Load(const char* file, int32_t slot) {
  if (slot < 0 || slot >= kSlots) return;
  loaded_[slot] = false;
  if (!file) {
    slots_[slot]->Release();
    return;
  }
  if (descend(archives_.images, file)) loaded_[slot] = slots_[slot]->ReadBitmap(archives_.images) == 0;
}

void SequencePlayer::Show(int32_t slot, int32_t x, int32_t y, int32_t duration) {
  Graphic* picture = Loaded(slot);
  if (!picture) {
    RECT view = target_->ViewRectangle();
    graphic_DrawFullRectangle(target_, &view, 0, 0, 0);
    return;
  }
  positions_[slot] = Position{x, y};
  // Each frame blends over what the frames before left, so that the old screen's share falls
  // to `remaining` / 256.
  int32_t remaining = 256;
  Frames(duration, [&](int32_t t) {
    int32_t share = 256 - t * 256 / duration;
    uint32_t transparency = static_cast<uint32_t>(share * 256 / remaining);
    remaining = share;
    DrawFrame(picture, x, y, transparency);
    stage_.UpdateWindow();
  });
  graphic_DrawBitmapToBitmap(picture, target_, x, y, nullptr, 0, 0);
}

void SequencePlayer::Blit(int32_t destination, int32_t source, int32_t x, int32_t y) {
  Graphic* to = Loaded(destination);
  Graphic* from = Loaded(source);
  if (to && from) graphic_DrawBitmapToBitmap(from, to, x, y, nullptr, 0, 0);
}

void SequencePlayer::Scroll(int32_t slot, int32_t x, int32_t y, int32_t duration) {
  Graphic* picture = Loaded(slot);
  if (!picture) return;
  const Position from = positions_[slot];
  Position last = from;
  Frames(duration, [&](int32_t t) {
    int32_t left = duration - t;
    Position now{(left * from.x + t * x) / duration, (left * from.y + t * y) / duration};
    DrawFrame(picture, now.x, now.y, 0);
    stage_.ScrollWindow(now.x - last.x, now.y - last.y);
    stage_.UpdateWindow();
    last = now;
  });
  positions_[slot] = Position{x, y};
  graphic_DrawBitmapToBitmap(picture, target_, x, y, nullptr, 0, 0);
}

void SequencePlayer::Tone(int32_t first, int32_t last, int32_t duration) {
  Frames(duration, [&](int32_t t) {
    int32_t tone = ((duration - t) * first + last * t) / duration;
    graphic_SetPaletteTone(target_, tone, tone, tone);
    stage_.UpdateWindow();
  });
  graphic_SetPaletteTone(target_, last, last, last);
}

void SequencePlayer::Wait(int32_t time) {
  for (;;) {
    int32_t elapsed = Elapsed(clockBase_);
    if (elapsed >= time || Poll()) return;
    stage_.Sleep(std::max(static_cast<uint32_t>(time - elapsed), kWaitMs));
  }
}

void SequencePlayer::Music(const char* name, int32_t position, int32_t repeat) {
  if (EffectiveMusicSource() == kWaveMusic) {
    if (!name) {
      music_.Stop();
    } else if (descend(archives_.music, std::string(name) + ".wav") && music_.ReadWaveFile(archives_.music) == 0) {
      music_.PlayMusic(static_cast<uint32_t>(position), static_cast<uint32_t>(repeat), nullptr);
    }
    return;
  }
  if (!name) {
    midi_.StopPlay();
  } else if (descend(archives_.music, std::string(name) + ".mid") && midi_.ReadFile(archives_.music) == 0) {
    midi_.Play(repeat != 0);
  }
}

void SequencePlayer::Sound(const char* file, int32_t repeat) {
  if (!file) {
    sound_.Stop();
  } else if (descend(archives_.sounds, file) && sound_.ReadWaveFile(archives_.sounds) == 0) {
    sound_.PlayWave(static_cast<uint32_t>(repeat), nullptr);
  }
}
