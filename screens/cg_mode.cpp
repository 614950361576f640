#include "screens/cg_mode.h"

#include <cstdio>
#include <memory>
#include <string>
#include <vector>

#include "graphics/graphic.h"
#include "host/exports/archive.h"
#include "host/exports/graphic.h"
#include "screens/menu_screen.h"
#include "screens/screen_click_watch.h"

namespace {

constexpr int32_t kPageUpId = 0, kRowUpId = 1, kPageDownId = 2, kRowDownId = 3, kScrollId = 4, kExitId = 10;
constexpr int32_t kFirstPictureId = 500;
constexpr int32_t kColumns = 4, kRowsShown = 4;
constexpr SIZE kPageButtonSize{32, 18};
constexpr SIZE kRowButtonSize{32, 14};
constexpr SIZE kExitSize{58, 37};
constexpr SIZE kCellSize{128, 96};
constexpr int32_t kScrollTrackLength = 316;
constexpr POINT kHidden{0, 1000};

std::string pictureName(int32_t position, const char* variant) {
  char name[24];
  std::snprintf(name, sizeof name, "bg%03d%s.bmp", position + kFirstPictureId, variant);
  return name;
}

class CGMode {
 public:
  CGMode(ScreenHost& host, Graphic* target, KArcFileExp* pictures, const uint32_t* flags, int32_t count)
      : host_(host),
        screen_(host, "cgmode.arc"),
        target_(target),
        pictures_(pictures),
        flags_(flags),
        count_(flags ? count : 0),
        rows_(static_cast<int32_t>((static_cast<int64_t>(count_) + 3) / kColumns)) {}

  bool IsOpen() const { return screen_.IsOpen(); }

  void Build() {
    ScreenImages& images = screen_.Images();
    Graphic* background = images.Load("cg.bmp");
    Graphic* pageUp = images.Load("cgboup1.bmp");
    Graphic* rowUp = images.Load("cgboup2.bmp");
    Graphic* knob = images.Load("ctuma.bmp");
    Graphic* pageDown = images.Load("cgbodw1.bmp");
    Graphic* rowDown = images.Load("cgbodw2.bmp");
    Graphic* black = images.Load("black.bmp");
    int32_t cells = rows_ * kColumns;
    std::vector<Graphic*> thumbnails(cells > 0 ? cells : 0, nullptr);
    for (int32_t i = 0; i < count_ && i < cells; ++i)
      if (flags_[i]) thumbnails[i] = images.Load(pictureName(i, ""));

    ScreenManager& manager = screen_.Manager();
    manager.Attach(target_, nullptr);
    manager.Add(new ScreenImage(0, 0, nullptr, background, true), -1);
    manager.Add(new ScreenButton(591, 20, &kPageButtonSize, nullptr, nullptr, pageUp), kPageUpId);
    manager.Add(new ScreenButton(591, 43, &kRowButtonSize, nullptr, nullptr, rowUp), kRowUpId);
    manager.Add(new ScreenButton(591, 394, &kPageButtonSize, nullptr, nullptr, pageDown), kPageDownId);
    manager.Add(new ScreenButton(591, 375, &kRowButtonSize, nullptr, nullptr, rowDown), kRowDownId);
    scroll_ = new ScreenVSlider(591, 58, kScrollTrackLength, knob, 0, rows_ - kRowsShown, kRowsShown);
    scroll_->SetValue(0, nullptr);
    manager.Add(scroll_, kScrollId);
    manager.Add(new ScreenButton(579, 436, &kExitSize, nullptr, nullptr, nullptr), kExitId);

    cells_.assign(thumbnails.size(), nullptr);
    for (int32_t i = 0; i < cells; ++i) {
      if (i < count_ && !flags_[i]) continue;  // locked: the background shows
      Graphic* image = i < count_ ? thumbnails[i] : black;
      auto* cell = new ScreenButton(kHidden.x, kHidden.y, &kCellSize, image, image, image);
      if (i >= count_) cell->SetEnabled(false);
      manager.Add(cell, i < count_ ? kFirstPictureId + i : -1);
      cells_[i] = cell;
    }
    PlaceCells();
    manager.Repaint(nullptr);
    manager.Enable(true);
  }

  int32_t Run() {
    ScreenManager& manager = screen_.Manager();
    int32_t result = -1;
    ScreenEvent event{};
    for (;;) {
      int32_t noted = scroll_->GetValue();
      manager.GetEvent(&event, os::kWaitForever);
      if (event.message == kEventCancel) break;
      if (event.message == kEventButton) {
        result = event.id;
        if (event.id == kExitId) break;
        Button(event.id);
      }
      if (scroll_->GetValue() != noted) {
        PlaceCells();
        manager.Repaint(nullptr);
      }
    }
    return result;
  }

 private:
  void Button(int32_t id) {
    ScreenManager& manager = screen_.Manager();
    int32_t value = scroll_->GetValue();
    switch (id) {
      case kPageUpId: scroll_->SetValue(value - kRowsShown, &manager); return;
      case kRowUpId: scroll_->SetValue(value - 1, &manager); return;
      case kPageDownId: scroll_->SetValue(value + kRowsShown, &manager); return;
      case kRowDownId: scroll_->SetValue(value + 1, &manager); return;
    }
    int32_t position = id - kFirstPictureId;
    if (position >= 0 && position < count_ && flags_[position]) View(position, flags_[position]);
  }

  // The cells of the rows from the slider's value on stand in the table; the others off the
  // screen.
  void PlaceCells() {
    int32_t first = scroll_->GetValue();
    for (size_t i = 0; i < cells_.size(); ++i) {
      if (!cells_[i]) continue;
      int32_t cell = static_cast<int32_t>(i), row = cell / kColumns - first;
      if (row >= 0 && row < kRowsShown) {
        cells_[i]->SetPosition(8 + 144 * (cell % kColumns), 24 + 112 * row);
      } else {
        cells_[i]->SetPosition(kHidden.x, kHidden.y);
      }
    }
  }

  // Shows the unlocked variants of a picture in a ring, the next at each left click, until the
  // right button; a variant that is missing or does not read ends the viewing too.
  void View(int32_t position, uint32_t variants) {
    {
      ScreenPanner panner(host_, target_);
      RECT view = target_->ViewRectangle();
      host_.StopMessageLoop();
      graphic_DrawFullRectangle(target_, &view, 0, 0, 0);
      host_.RestartMessageLoop();
      Graphic picture(kMadeObjectConversion);
      for (uint32_t bit = 0;; bit = (bit + 1) % 32) {
        while (!(variants >> bit & 1)) bit = (bit + 1) % 32;
        const char variant[2] = {static_cast<char>('0' + bit), 0};
        if (!pictures_ || KORALArchive_DescendFile(pictures_, pictureName(position, variant).c_str()) != 0) break;
        panner.SetPicture(nullptr);
        if (picture.ReadBitmap(pictures_) != 0) break;
        panner.SetPicture(&picture);
        int32_t click;
        do {
          click = panner.WaitClick(os::kWaitForever);
        } while (click == -1);
        if (click == screen_message::kRButtonDown) break;
      }
    }
    screen_.Manager().Repaint(nullptr);
  }

  ScreenHost& host_;
  MenuScreen screen_;
  Graphic* target_;
  KArcFileExp* pictures_;
  const uint32_t* flags_;
  int32_t count_;
  int32_t rows_;
  ScreenVSlider* scroll_ = nullptr;
  std::vector<ScreenButton*> cells_;  // by cell; null where a locked picture has none
};

}  // namespace

int32_t RunCGMode(ScreenHost& host, Graphic* target, KArcFileExp* pictures, const uint32_t* flags, int32_t count) {
  CGMode mode(host, target, pictures, flags, count);
  if (!mode.IsOpen()) return -1;
  mode.Build();
  return mode.Run();
}
