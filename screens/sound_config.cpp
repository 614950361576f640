#include "screens/sound_config.h"

#include "host/exports/midi.h"
#include "host/exports/services.h"
#include "screens/menu_screen.h"
#include "sound/mixer/pcm_sound.h"

namespace {

constexpr const char* kConfig = "Config";
constexpr const char* kInstalled = "Installed";
constexpr int32_t kWaveMusic = 0, kMidiMusic = 1;

constexpr int32_t kWaveId = 0, kMidiId = 1, kExitId = 2;
constexpr SIZE kSourceButtonSize{105, 36};
constexpr POINT kWavePlace{270, 84}, kMidiPlace{417, 84};
constexpr POINT kExitPlace{516, 430};
constexpr SIZE kExitSize{85, 35};
constexpr SIZE kArrowSize{13, 31};
constexpr int32_t kLeftArrowX = 306, kRightArrowX = 474, kSliderX = 322, kTrackLength = 149;

// A row: left arrow (id), right arrow (id + 1) and slider (id + 2) over one profile value.
struct SliderRow {
  int32_t id;
  int32_t y;
  const char* entry;
  int32_t defaultValue;
  int32_t maximum;
};
constexpr SliderRow kRows[] = {
    {10, 162, "VolumeOfBGM", 8, 8},
    {20, 244, "VolumeOfVoice", 8, 8},
    {30, 326, "MessageSpeed", 2, 4},
};
constexpr int32_t kMusicVolumeRow = 0;
constexpr int32_t kMaximumStep = 8;

int32_t profileInt(const char* section, const char* entry, int32_t defaultValue) {
  return static_cast<int32_t>(ZPK_GetProfileInt(section, entry, static_cast<uint32_t>(defaultValue)));
}

// The source buttons' bitmaps: the lit one for the source chosen, the dark one for the other.
struct SourceImages {
  Graphic *waveOn, *waveOff, *midiOn, *midiOff;
};

void showSource(ScreenButton* button, Graphic* image) { button->SetImages(image, image, image); }

void repaintButton(ScreenManager& manager, const ScreenButton* button, const Graphic* image) {
  POINT at = button->GetPosition();
  RECT rect{at.x, at.y, at.x + image->Header().biWidth - 1, at.y + image->Header().biHeight - 1};
  manager.Repaint(&rect);
}

}  // namespace

int32_t EffectiveBgmSelection() {
  if (profileInt(kConfig, "BgmSelection", kMidiMusic) != 0) return kMidiMusic;
  return profileInt(kInstalled, "WaveBGMFile", 0) != 0 ? kWaveMusic : kMidiMusic;
}

uint32_t MusicVolumeOfStep(int32_t step) { return static_cast<uint32_t>(0xFFFF >> (kMaximumStep - step)); }

void RunSoundConfigMenu(ScreenHost& host, Graphic* target, Graphic* background, CMIDIMusic* midi, KPCMSound* wave) {
  MenuScreen screen(host, "SoundCfg.arc");
  if (!screen.IsOpen()) return;
  ScreenImages& images = screen.Images();
  Graphic* option = images.LoadWithAlpha("option.bmp", "optiona.bmp");
  SourceImages source{images.Load("pcmon.bmp"), images.Load("pcmof.bmp"), images.Load("midon.bmp"),
                      images.Load("midof.bmp")};
  Graphic* onAlpha = images.Load("pcmona.bmp");
  Graphic* offAlpha = images.Load("pcmofa.bmp");
  ScreenImages::GiveAlpha(source.waveOn, onAlpha);
  ScreenImages::GiveAlpha(source.midiOn, onAlpha);
  ScreenImages::GiveAlpha(source.waveOff, offAlpha);
  ScreenImages::GiveAlpha(source.midiOff, offAlpha);
  Graphic* leftArrow = images.Load("bralon.bmp");
  Graphic* knob = images.Load("tumami.bmp");
  Graphic* rightArrow = images.Load("braron.bmp");
  screen.CloseArchive();

  bool waveInstalled = profileInt(kInstalled, "WaveBGMFile", 0) != 0;
  int32_t selection = EffectiveBgmSelection();
  ScreenManager& manager = screen.Manager();
  manager.Attach(target, background);
  manager.Add(new ScreenImage(0, 0, nullptr, option, false), -1);
  Graphic* waveImage = selection == kWaveMusic ? source.waveOn : source.waveOff;
  Graphic* midiImage = selection == kMidiMusic ? source.midiOn : source.midiOff;
  auto* waveButton = new ScreenButton(kWavePlace.x, kWavePlace.y, &kSourceButtonSize, waveImage, waveImage, waveImage);
  waveButton->SetEnabled(waveInstalled);
  manager.Add(waveButton, kWaveId);
  auto* midiButton = new ScreenButton(kMidiPlace.x, kMidiPlace.y, &kSourceButtonSize, midiImage, midiImage, midiImage);
  manager.Add(midiButton, kMidiId);
  manager.Add(new ScreenButton(kExitPlace.x, kExitPlace.y, &kExitSize, nullptr, nullptr, nullptr), kExitId);
  ScreenHSlider* sliders[3];
  for (int row = 0; row < 3; ++row) {
    const SliderRow& setting = kRows[row];
    manager.Add(new ScreenButton(kLeftArrowX, setting.y, &kArrowSize, nullptr, nullptr, leftArrow), setting.id);
    manager.Add(new ScreenButton(kRightArrowX, setting.y, &kArrowSize, nullptr, nullptr, rightArrow), setting.id + 1);
    sliders[row] = new ScreenHSlider(kSliderX, setting.y, kTrackLength, knob, 0, setting.maximum, 1);
    sliders[row]->SetValue(profileInt(kConfig, setting.entry, setting.defaultValue), nullptr);
    manager.Add(sliders[row], setting.id + 2);
  }
  manager.Repaint(nullptr);
  manager.Enable(true);

  ScreenEvent event{};
  for (;;) {
    manager.GetEvent(&event, os::kWaitForever);
    if (event.message == kEventCancel) break;
    bool volumeChanged = event.message == kEventHSlider && event.id == kRows[kMusicVolumeRow].id + 2;
    if (event.message == kEventButton) {
      if (event.id == kExitId) break;
      if ((event.id == kWaveId || event.id == kMidiId) && waveInstalled && event.id != selection) {
        selection = event.id;
        waveImage = selection == kWaveMusic ? source.waveOn : source.waveOff;
        midiImage = selection == kMidiMusic ? source.midiOn : source.midiOff;
        showSource(waveButton, waveImage);
        showSource(midiButton, midiImage);
        repaintButton(manager, waveButton, waveImage);
        repaintButton(manager, midiButton, midiImage);
      }
      for (int row = 0; row < 3; ++row) {
        int32_t step = event.id - kRows[row].id;
        if (step != 0 && step != 1) continue;
        sliders[row]->SetValue(sliders[row]->GetValue() + (step == 0 ? -1 : +1), &manager);
        volumeChanged = volumeChanged || row == kMusicVolumeRow;
      }
    }
    if (volumeChanged) {
      uint32_t volume = MusicVolumeOfStep(sliders[kMusicVolumeRow]->GetValue());
      if (midi) MIDI_SetVolume(midi, volume);
      if (wave) {
        float level = static_cast<float>(volume) * (1.0f / 65535.0f);
        wave->SetVolume(level, level);
      }
    }
  }

  ZPK_WriteProfileInt(kConfig, "BgmSelection", static_cast<uint32_t>(selection));
  for (int row = 0; row < 3; ++row)
    ZPK_WriteProfileInt(kConfig, kRows[row].entry, static_cast<uint32_t>(sliders[row]->GetValue()));
}
