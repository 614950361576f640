#include "host/exports/sequences.h"

#include "base/os/window.h"
#include "host/exports/main_window.h"
#include "host/exports/screens.h"
#include "screens/perform_sequence.h"

namespace {

// The sequences' clock is the system's tick count; the window calls go to the main window.
class MainWindowStage : public SequenceStage {
 public:
  uint32_t Now() override { return os::milliseconds(); }
  void Sleep(uint32_t milliseconds) override { os::sleep(milliseconds); }
  void UpdateWindow() override {
    if (HWND window = ZPK_GetMainWindow()) os::windowSystem().update(window);
  }
  void ScrollWindow(int32_t dx, int32_t dy) override {
    HWND window = ZPK_GetMainWindow();
    if (!window) return;
    RECT client = os::windowSystem().clientRect(window);
    os::windowSystem().scroll(window, dx, dy, client, client);
  }
};

int32_t perform(Graphic* target, std::span<const SequenceStep> steps, const SequenceArchives& archives) {
  if (!target) return 0;
  MainWindowStage stage;
  SequencePlayer player(mainWindowScreenHost(), stage, target, archives);
  return player.Play(steps) ? 1 : 0;
}

}  // namespace

int32_t RUNA1_API Nodali_PerformOpening(Graphic* target, KArcFileExp* imageArchive, KArcFileExp* musicArchive,
                                        KArcFileExp* soundArchive) {
  return perform(target, openingSteps(), {imageArchive, musicArchive, soundArchive});
}

int32_t RUNA1_API Nodali_PerformEnding(Graphic* target, KArcFileExp* imageArchive, KArcFileExp* musicArchive,
                                       KArcFileExp* soundArchive) {
  return perform(target, endingSteps(), {imageArchive, musicArchive, soundArchive});
}
