#include "screens/music_mode.h"

#include <cstdio>
#include <string>

#include "host/exports/archive.h"
#include "screens/menu_screen.h"
#include "screens/music_settings.h"
#include "sound/midi/midi_music.h"
#include "sound/mixer/pcm_sound.h"

namespace {

// Where each track's wave loops from, in frames; -1: the track plays once, also as MIDI.
constexpr int32_t kLoopTable[kMusicTracks] = {102513, 0, 0, 0, 19621, 0, 0, 0, 0, 14730, -1, 7072, 184824, 0};

constexpr int32_t kExitId = 0;
constexpr int32_t kWaveId = 20, kMidiId = 21;
constexpr int32_t kVolumeDownId = 30, kVolumeUpId = 31, kVolumeId = 32;
constexpr SIZE kSourceSize{105, 36};
constexpr SIZE kArrowSize{13, 31};
constexpr SIZE kTrackSize{304, 40};
constexpr SIZE kExitSize{86, 36};
constexpr int32_t kVolumeTrackLength = 150;

std::string trackName(int32_t track, const char* extension) {
  char name[16];
  std::snprintf(name, sizeof name, "m%02d%s", track + 1, extension);
  return name;
}

class MusicMode {
 public:
  MusicMode(ScreenHost& host, KArcFileExp* music) : screen_(host, "musicmod.arc"), music_(music) {}
  // The players stop before the screen goes.
  ~MusicMode() {
    wave_.Stop();
    midi_.StopAndClose();
  }

  bool IsOpen() const { return screen_.IsOpen(); }

  void Build(Graphic* target) {
    ScreenImages& images = screen_.Images();
    Graphic* background = images.Load("music.bmp");
    waveImage_ = images.Load("mpcmon.bmp");
    midiImage_ = images.Load("mmidon.bmp");
    Graphic* left = images.Load("bralon.bmp");
    Graphic* knob = images.Load("tumami.bmp");
    Graphic* right = images.Load("braron.bmp");
    for (int32_t track = 0; track < kMusicTracks; ++track) trackImages_[track] = images.Load(trackName(track, ".bmp"));
    source_ = EffectiveMusicSource();

    ScreenManager& manager = screen_.Manager();
    manager.Attach(target, nullptr);
    manager.Add(new ScreenImage(0, 0, nullptr, background, true), -1);
    waveButton_ = new ScreenButton(8, 424, &kSourceSize, nullptr, nullptr, nullptr);
    midiButton_ = new ScreenButton(128, 424, &kSourceSize, nullptr, nullptr, nullptr);
    ShowSource();
    manager.Add(waveButton_, kWaveId);
    manager.Add(midiButton_, kMidiId);
    manager.Add(new ScreenButton(290, 427, &kArrowSize, nullptr, nullptr, left), kVolumeDownId);
    manager.Add(new ScreenButton(458, 427, &kArrowSize, nullptr, nullptr, right), kVolumeUpId);
    volume_ = new ScreenHSlider(306, 427, kVolumeTrackLength, knob, 0, kMusicVolumeSteps, 1);
    volume_->SetValue(StoredMusicVolume(), nullptr);
    manager.Add(volume_, kVolumeId);
    for (int32_t track = 0; track < kMusicTracks; ++track) {
      trackButtons_[track] = new ScreenButton(track % 2 ? 328 : 8, 24 + 56 * (track / 2), &kTrackSize, nullptr, nullptr,
                                              nullptr);
      manager.Add(trackButtons_[track], track + 1);
    }
    manager.Add(new ScreenButton(544, 425, &kExitSize, nullptr, nullptr, nullptr), kExitId);
    manager.Repaint(nullptr);
    manager.Enable(true);
  }

  int32_t Run() {
    ScreenManager& manager = screen_.Manager();
    int32_t result = -1;
    ScreenEvent event{};
    for (;;) {
      manager.GetEvent(&event, os::kWaitForever);
      if (event.message == kEventCancel) break;
      bool volumeChanged = false;
      if (event.message == kEventHSlider && event.id == kVolumeId) volumeChanged = true;
      if (event.message == kEventButton) {
        result = event.id;
        if (event.id == kExitId) break;
        if (event.id == kVolumeDownId || event.id == kVolumeUpId) {
          volume_->SetValue(volume_->GetValue() + (event.id == kVolumeDownId ? -1 : +1), &manager);
          volumeChanged = true;
        } else if (event.id == kWaveId || event.id == kMidiId) {
          ChooseSource(static_cast<MusicSource>(event.id - kWaveId));
        } else if (event.id >= 1 && event.id <= kMusicTracks) {
          ChooseTrack(event.id - 1);
        }
      }
      if (volumeChanged) ApplyMusicVolume(volume_->GetValue(), &midi_, &wave_);
    }
    StoreMusicSettings(source_, volume_->GetValue());
    return result;
  }

 private:
  // The button of the source in effect shows its bitmap, the other nothing.
  void ShowSource() {
    Graphic* wave = source_ == kWaveMusic ? waveImage_ : nullptr;
    Graphic* midi = source_ == kMidiMusic ? midiImage_ : nullptr;
    waveButton_->SetImages(wave, wave, wave);
    midiButton_->SetImages(midi, midi, midi);
  }

  // The other source plays the current track from its start; the wave music only when it was
  // installed.
  void ChooseSource(MusicSource source) {
    if (!WaveMusicInstalled() || source == source_) return;
    ScreenManager& manager = screen_.Manager();
    source_ = source;
    ShowSource();
    manager.Repaint(nullptr);
    waveButton_->Redraw(manager);
    midiButton_->Redraw(manager);
    PlayWaiting();
  }

  // A click on the playing track stops it; any other track becomes the playing one, lit.
  void ChooseTrack(int32_t track) {
    ScreenManager& manager = screen_.Manager();
    if (current_ >= 0) {
      trackButtons_[current_]->SetImages(nullptr, nullptr, nullptr);
      trackButtons_[current_]->Redraw(manager);
    }
    if (track == current_) {
      current_ = -1;
    } else {
      current_ = track;
      Graphic* lit = trackImages_[track];
      trackButtons_[track]->SetImages(lit, lit, lit);
      trackButtons_[track]->Redraw(manager);
    }
    PlayWaiting();
  }

  // The screen waits while the music is read.
  void PlayWaiting() {
    screen_.Manager().SetActive(false);
    Play(current_);
    screen_.Manager().SetActive(true);
  }

  // Stops both players and starts `track` (none outside 0 to 13) in the current source. A track
  // that the archive lacks or that does not read stays silent.
  void Play(int32_t track) {
    wave_.Stop();
    midi_.StopPlay();
    if (track < 0 || track >= kMusicTracks || !music_) return;
    int32_t loop = kLoopTable[track];
    bool looped = loop != -1;
    std::string name = trackName(track, source_ == kWaveMusic ? ".wav" : ".mid");
    if (KORALArchive_DescendFile(music_, name.c_str()) != 0) return;
    if (source_ == kWaveMusic) {
      if (wave_.ReadWaveFile(music_) == 0) wave_.PlayMusic(loop < 0 ? 0 : static_cast<uint32_t>(loop), looped, nullptr);
    } else if (midi_.ReadFile(music_) == 0) {
      midi_.Play(looped);
    }
    KORALArchive_AscendFile(music_);
  }

  MenuScreen screen_;
  KArcFileExp* music_;
  KPCMSound wave_;
  CMIDIMusic midi_;
  MusicSource source_ = kMidiMusic;
  int32_t current_ = -1;
  Graphic* waveImage_ = nullptr;
  Graphic* midiImage_ = nullptr;
  Graphic* trackImages_[kMusicTracks] = {};
  ScreenButton* waveButton_ = nullptr;
  ScreenButton* midiButton_ = nullptr;
  ScreenButton* trackButtons_[kMusicTracks] = {};
  ScreenHSlider* volume_ = nullptr;
};

}  // namespace

int32_t RunMusicMode(ScreenHost& host, Graphic* target, KArcFileExp* music) {
  MusicMode mode(host, music);
  if (!mode.IsOpen()) return -1;
  mode.Build(target);
  return mode.Run();
}
