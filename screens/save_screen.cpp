#include "screens/save_screen.h"

#include <array>
#include <cstdio>
#include <vector>

#include "host/exports/graphic.h"
#include "screens/menu_screen.h"
#include "screens/save_slot.h"

namespace {

constexpr int32_t kPreviousPageId = 10;
constexpr int32_t kNextPageId = 11;
constexpr int32_t kBackId = 12;
constexpr POINT kPreviousPagePlace{8, 435};
constexpr POINT kNextPagePlace{527, 435};
constexpr POINT kBackPlace{278, 435};
constexpr int32_t kGlyphAdvance = 12;
constexpr int32_t kUnderscoreGlyph = 10;

enum Variant { kOff = 0, kOn = 1, kAlpha = 2 };
constexpr const char* kSuffixes[3] = {"of", "on", "a"};

std::string format(const char* pattern, int value) {
  char text[32];
  std::snprintf(text, sizeof text, pattern, value);
  return text;
}

POINT slotPlace(int32_t slot) { return POINT{slot < 5 ? 36 : 322, 40 + 74 * (slot % 5)}; }

void draw(Graphic* image, Graphic* target, int32_t x, int32_t y) {
  graphic_DrawBitmapToBitmap(image, target, x, y, nullptr, 0, 0);
}

SIZE sizeOf(const Graphic* image) { return SIZE{image->Header().biWidth, image->Header().biHeight}; }

// The bitmaps that every page uses.
struct SaveScreenImages {
  std::array<Graphic*, 3> kinds[2];        // kind 1 and kind 2 marks, off and on
  std::array<Graphic*, 3> glyphs[11];      // '0' to '9', then '_'
  std::array<Graphic*, 3> noData;          // chapter 0
  std::vector<Graphic*> pictures[kChapterCount + 1][2];  // chapters 1 to 5, off and on
  Graphic *previousOff, *previousOn, *nextOff, *nextOn, *backOn;

  // The three variants of `stem`, with the alpha plane given to the other two.
  static std::array<Graphic*, 3> Variants(ScreenImages& images, const std::string& stem) {
    std::array<Graphic*, 3> set;
    for (int variant = kOff; variant <= kAlpha; ++variant) set[variant] = images.Load(stem + kSuffixes[variant] + ".bmp");
    ScreenImages::GiveAlpha(set[kOff], set[kAlpha]);
    ScreenImages::GiveAlpha(set[kOn], set[kAlpha]);
    return set;
  }

  explicit SaveScreenImages(ScreenImages& images) {
    kinds[0] = Variants(images, "slmi");
    kinds[1] = Variants(images, "slchi");
    for (int digit = 0; digit < 10; ++digit) glyphs[digit] = Variants(images, format("sl_%d", digit));
    glyphs[kUnderscoreGlyph] = Variants(images, "sl__");
    noData = Variants(images, "slnoda");
    for (uint32_t chapter = 1; chapter <= kChapterCount; ++chapter) {
      for (uint32_t picture = 1; picture <= kChapterPictures[chapter]; ++picture) {
        std::array<Graphic*, 3> set =
            Variants(images, "sb" + std::to_string(chapter) + "_" + std::to_string(picture));
        pictures[chapter][kOff].push_back(set[kOff]);
        pictures[chapter][kOn].push_back(set[kOn]);
      }
    }
    previousOff = images.Load("slmaeof.bmp");
    previousOn = images.Load("slmaeon.bmp");
    nextOff = images.Load("sltsuof.bmp");
    nextOn = images.Load("sltsuon.bmp");
    backOn = images.Load("slmodon.bmp");
  }

  // Each character 12 pixels on: a digit its glyph, a blank nothing, anything else '_'.
  void DrawText(const std::string& text, int variant, Graphic* target, int32_t x, int32_t y) const {
    for (char c : text) {
      if (c >= '0' && c <= '9') {
        draw(glyphs[c - '0'][variant], target, x, y);
      } else if (c != ' ') {
        draw(glyphs[kUnderscoreGlyph][variant], target, x, y);
      }
      x += kGlyphAdvance;
    }
  }

  void DrawSlot(const ScreenSlotRecord& slot, int variant, Graphic* target, int32_t x, int32_t y) const {
    if (slot.status != kSlotValid) {
      draw(noData[variant], target, x + 46, y + 36);
      DrawText("----", variant, target, x + 140, y + 3);
      DrawText("--", variant, target, x + 202, y + 3);
      DrawText("--", variant, target, x + 239, y + 3);
      DrawText("--", variant, target, x + 118, y + 19);
      DrawText("--", variant, target, x + 228, y + 19);
      return;
    }
    draw(kinds[slot.kind - 1][variant], target, x + 48, y + 3);
    draw(pictures[slot.chapter][variant][slot.picture - 1], target, x + 46, y + 36);
    const SYSTEMTIME& time = slot.written;
    DrawText(format("%4d", time.wYear), variant, target, x + 140, y + 3);
    DrawText(format("%2d", time.wMonth), variant, target, x + 202, y + 3);
    DrawText(format("%2d", time.wDay), variant, target, x + 239, y + 3);
    DrawText(format("%2d", time.wHour), variant, target, x + 188, y + 19);
    DrawText(format("%2d", time.wMinute), variant, target, x + 228, y + 19);
  }
};

bool pageHoldsSave(const std::string& folder, int32_t page) {
  for (int32_t slot = 0; slot < kSlotsPerPage; ++slot) {
    ScreenSlotRecord record;
    ReadSlot(SaveFilePath(folder, page, slot), &record);
    if (record.status == kSlotValid) return true;
  }
  return false;
}

class SaveMenu {
 public:
  SaveMenu(ScreenHost& host, bool loading) : host_(host), loading_(loading), screen_(host, "SaveMenu.arc") {}
  // The page's controls go before its bitmaps.
  ~SaveMenu() { screen_.Manager().Detach(); }

  bool IsOpen() const { return screen_.IsOpen(); }
  MenuScreen& Screen() { return screen_; }

  // Reads the page's save files and bitmaps and puts the page's controls up. The controls of
  // the page before go first, since they show its bitmaps.
  void BuildPage(int32_t page) {
    ScreenManager& manager = screen_.Manager();
    manager.RemoveAll();
    if (!images_) images_ = std::make_unique<SaveScreenImages>(screen_.Images());
    page_ = page;
    pageImages_ = screen_.NewImageSet();
    Graphic* background = pageImages_->Load(format("sl%02dbase.bmp", page));
    Graphic* hover[kSlotsPerPage];
    std::string folder = SaveFolder(host_.WindowsDirectory());
    for (int32_t slot = 0; slot < kSlotsPerPage; ++slot) {
      hover[slot] = pageImages_->Load(format("sl%02d_", page) + static_cast<char>('0' + (slot + 1) % 10) + "on.bmp");
      ReadSlot(SaveFilePath(folder, page, slot), &slots_[slot]);
      POINT at = slotPlace(slot);
      images_->DrawSlot(slots_[slot], kOff, background, at.x, at.y);
      images_->DrawSlot(slots_[slot], kOn, hover[slot], 0, 0);
    }

    manager.Add(new ScreenImage(0, 0, nullptr, background, false), -1);
    for (int32_t slot = 0; slot < kSlotsPerPage; ++slot) {
      POINT at = slotPlace(slot);
      SIZE size = sizeOf(hover[slot]);
      auto* button = new ScreenButton(at.x, at.y, &size, nullptr, hover[slot], nullptr);
      if (loading_ && slots_[slot].status != kSlotValid) button->SetEnabled(false);
      manager.Add(button, slot);
    }
    if (loading_) {
      if (NextPageWithSave(page, -1, folder))
        AddButton(kPreviousPagePlace, images_->previousOff, images_->previousOff, images_->previousOn, kPreviousPageId);
      if (NextPageWithSave(page, +1, folder))
        AddButton(kNextPagePlace, images_->nextOff, images_->nextOff, images_->nextOn, kNextPageId);
    }
    AddButton(kBackPlace, images_->backOn, nullptr, images_->backOn, kBackId);
  }

  // The first page from page + direction on, going that way, that holds a save; 0 if none.
  static int32_t NextPageWithSave(int32_t page, int32_t direction, const std::string& folder) {
    for (page += direction; page >= kFirstSavePage && page <= kLastSavePage; page += direction)
      if (pageHoldsSave(folder, page)) return page;
    return 0;
  }

  int32_t Page() const { return page_; }
  const ScreenSlotRecord& Slot(int32_t slot) const { return slots_[slot]; }

 private:
  void AddButton(POINT at, Graphic* sizeFrom, Graphic* normal, Graphic* hover, int32_t id) {
    SIZE size = sizeOf(sizeFrom);
    screen_.Manager().Add(new ScreenButton(at.x, at.y, &size, normal, hover, nullptr), id);
  }

  ScreenHost& host_;
  bool loading_;
  MenuScreen screen_;
  std::unique_ptr<SaveScreenImages> images_;
  std::unique_ptr<ScreenImages> pageImages_;
  int32_t page_ = 0;
  ScreenSlotRecord slots_[kSlotsPerPage]{};
};

bool validPage(int32_t page) { return page >= kFirstSavePage && page <= kLastSavePage; }

// Builds `page` on `target` and shows it, ready for the player.
ScreenManager& showPage(SaveMenu& menu, Graphic* target, int32_t page) {
  ScreenManager& manager = menu.Screen().Manager();
  manager.Attach(target, nullptr);
  menu.BuildPage(page);
  manager.Repaint(nullptr);
  manager.Enable(true);
  return manager;
}

// Waits for the next press of a button; false when the player cancelled instead.
bool nextButton(ScreenManager& manager, ScreenEvent* event) {
  for (;;) {
    manager.GetEvent(event, os::kWaitForever);
    if (event->message == kEventCancel) return false;
    if (event->message == kEventButton && event->id >= 0) return true;
  }
}

}  // namespace

int32_t RunSaveScreen(ScreenHost& host, Graphic* target, int32_t page) {
  if (!validPage(page)) return -1;
  SaveMenu menu(host, false);
  if (!menu.IsOpen()) return -1;
  ScreenManager& manager = showPage(menu, target, page);
  ScreenEvent event{};
  while (nextButton(manager, &event)) {
    if (event.id >= kPreviousPageId) return -1;
    int32_t result = page * 10 + event.id;
    if (menu.Slot(event.id).status != kSlotValid) return result;
    if (menu.Screen().Confirm(target, format("disave%02d.bmp", event.id + 1).c_str())) return result;
  }
  return -1;
}

int32_t RunLoadScreen(ScreenHost& host, Graphic* target, int32_t page) {
  if (!validPage(page)) return -1;
  SaveMenu menu(host, true);
  if (!menu.IsOpen()) return -1;
  if (!pageHoldsSave(SaveFolder(host.WindowsDirectory()), page)) page = kFirstSavePage;
  ScreenManager& manager = showPage(menu, target, page);
  ScreenEvent event{};
  while (nextButton(manager, &event)) {
    if (event.id == kBackId) return -1;
    if (event.id < kSlotsPerPage) return menu.Page() * 10 + event.id;
    manager.SetActive(false);
    int32_t direction = event.id == kPreviousPageId ? -1 : +1;
    int32_t found = SaveMenu::NextPageWithSave(menu.Page(), direction, SaveFolder(host.WindowsDirectory()));
    if (found) {
      menu.BuildPage(found);
      manager.Repaint(nullptr);
    }
    manager.SetActive(true);
  }
  return -1;
}
