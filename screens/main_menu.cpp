#include "screens/main_menu.h"

#include <cstdio>
#include <string>
#include <vector>

#include "screens/menu_screen.h"

namespace {

constexpr int32_t kColumnSpacing = 55;

// The main menu's six lit buttons, in id order, and its invisible way out.
constexpr const char* kMainButtons[] = {"m_hasonc.bmp", "m_modonc.bmp", "m_setonc.bmp",
                                        "m_hojonc.bmp", "m_bouonc.bmp", "m_syuonc.bmp"};
constexpr POINT kMainFirstButton{88, 62};
constexpr int32_t kHelpId = 3, kRestartId = 4, kQuitId = 5, kMainLeaveId = 6;
constexpr POINT kMainLeavePlace{516, 430};
constexpr SIZE kMainLeaveSize{85, 35};

// The title screen and the bonus menu: buttons of one size in a column at x 222.
constexpr int32_t kColumnX = 222;
constexpr SIZE kColumnButtonSize{0xC4, 0x34};

struct ColumnButton {
  int32_t id;
  std::string hover;
};

struct ColumnMenu {
  std::string background;
  std::vector<ColumnButton> buttons;
  int32_t top;
  int32_t leaveId;         // the button that gives -1
  bool rightButtonLeaves;  // else the right button is ignored
};

SIZE sizeOf(const Graphic* image) { return SIZE{image->Header().biWidth, image->Header().biHeight}; }

// Waits for the next button, or the right button where it counts.
ScreenEvent nextChoice(ScreenManager& manager, bool rightButtonCounts) {
  ScreenEvent event{};
  for (;;) {
    manager.GetEvent(&event, os::kWaitForever);
    if (event.message == kEventButton || (rightButtonCounts && event.message == kEventCancel)) return event;
  }
}

int32_t runColumnMenu(ScreenHost& host, Graphic* target, const ColumnMenu& menu) {
  MenuScreen screen(host, "Startup.arc");
  if (!screen.IsOpen()) return -1;
  ScreenImages& images = screen.Images();
  ScreenManager& manager = screen.Manager();
  Graphic* background = images.Load(menu.background);
  manager.Attach(target, nullptr);
  manager.Add(new ScreenImage(0, 0, nullptr, background, false), -1);
  int32_t y = menu.top;
  for (const ColumnButton& button : menu.buttons) {
    Graphic* hover = images.Load(button.hover);
    manager.Add(new ScreenButton(kColumnX, y, &kColumnButtonSize, nullptr, hover, nullptr), button.id);
    y += kColumnSpacing;
  }
  manager.Repaint(nullptr);
  manager.Enable(true);
  ScreenEvent event = nextChoice(manager, menu.rightButtonLeaves);
  return event.message == kEventCancel || event.id == menu.leaveId ? -1 : event.id;
}

}  // namespace

int32_t RunMainMenu(ScreenHost& host, Graphic* target, Graphic* background) {
  MenuScreen screen(host, "MainMenu.arc");
  if (!screen.IsOpen()) return -1;
  ScreenImages& images = screen.Images();
  ScreenManager& manager = screen.Manager();
  Graphic* menu = images.LoadWithAlpha("menu.bmp", "menuc.bmp");
  manager.Attach(target, background);
  manager.Add(new ScreenImage(0, 0, nullptr, menu, false), -1);
  int32_t id = 0;
  for (const char* name : kMainButtons) {
    Graphic* hover = images.Load(name);
    ScreenImages::GiveAlpha(hover, hover);  // each lit button is its own alpha plane
    SIZE size = sizeOf(hover);
    manager.Add(new ScreenButton(kMainFirstButton.x, kMainFirstButton.y + kColumnSpacing * id, &size, nullptr, hover,
                                 nullptr),
                id);
    ++id;
  }
  manager.Add(new ScreenButton(kMainLeavePlace.x, kMainLeavePlace.y, &kMainLeaveSize, nullptr, nullptr, nullptr),
              kMainLeaveId);
  manager.Repaint(nullptr);
  manager.Enable(true);

  for (;;) {
    ScreenEvent event = nextChoice(manager, true);
    if (event.message == kEventCancel || event.id == kMainLeaveId) return -1;
    if (event.id == kHelpId) {
      host.OpenWithDefaultAction((MenuScreen::Folder() + "HELP\\INDEX.HTML").c_str());
    } else if (event.id == kRestartId) {
      if (screen.Confirm(target, "distart.bmp")) return kRestartId;
    } else if (event.id == kQuitId) {
      if (screen.Confirm(target, "diquit.bmp")) return kQuitId;
    } else {
      return event.id;
    }
  }
}

int32_t RunStartupMenu(ScreenHost& host, Graphic* target, int32_t kind) {
  if (kind < 1 || kind > 3) return -1;
  constexpr int32_t kTops[] = {159, 131, 104};
  char digit = static_cast<char>('0' + kind);
  auto name = [digit](const char* pattern) {
    char text[32];
    std::snprintf(text, sizeof text, pattern, digit);
    return std::string(text);
  };
  ColumnMenu menu{name("start%c.bmp"), {{0, name("s%c_hajon.bmp")}}, kTops[kind - 1], 4, false};
  if (kind >= 2) menu.buttons.push_back({1, name("s%c_tsuon.bmp")});
  menu.buttons.push_back({2, name("s%c_seton.bmp")});
  if (kind == 3) menu.buttons.push_back({3, name("s%c_yodon.bmp")});
  menu.buttons.push_back({4, name("s%c_syuon.bmp")});
  return runColumnMenu(host, target, menu);
}

int32_t RunOmakeSelectMenu(ScreenHost& host, Graphic* target) {
  ColumnMenu menu{"yodan.bmp", {{0, "gazoon.bmp"}, {1, "ongaon.bmp"}, {2, "modoon.bmp"}}, 159, 2, true};
  return runColumnMenu(host, target, menu);
}
