#include "host/map/map_selection.h"

#include <memory>

#include "base/os/window.h"
#include "graphics/3d/map_scene.h"
#include "graphics/view.h"
#include "host/exports/graphic.h"
#include "host/exports/view.h"
#include "host/frame/message_loop.h"
#include "host/map/map_input_queue.h"
#include "host/module/call_procedure.h"
#include "sound/timer/ktimer.h"

namespace {

constexpr uint32_t kHighPriorityClass = 0x80;
constexpr int32_t kThreadPriorityHighest = 2;
constexpr uint64_t kFlightMilliseconds = 1000;

// The selection's picture: an 8-bit image of the rectangle's size with the map's palette, shown
// by a screen of its own, and the frame's parameters.
class MapView {
 public:
  MapView(const int32_t rect[4], Graphic& map, Graphic** labels, const int32_t* labelOffsets)
      : map_(map), labels_(labels), labelOffsets_(labelOffsets) {
    const int32_t w1 = rect[2] - rect[0], h1 = rect[3] - rect[1];
    clip_[2] = w1;
    clip_[3] = h1;
    center_[0] = w1 >> 1;
    center_[1] = h1 >> 1;
    focal_ = h1 + 1;
    image_.CreateBitmap(w1 + 1, h1 + 1, 8);
    RGBQUAD colours[256];
    map.GetPaletteEntries(0, 256, colours);
    image_.SetPaletteEntries(0, 256, colours);
    window_ = {rect[0], rect[1], rect[2], rect[3]};
  }
  ~MapView() {
    if (screen_) View_Delete(screen_);
  }

  int32_t focal() const { return focal_; }
  Graphic& image() { return image_; }

  void draw(const k3d::MapCamera& camera) {
    k3d::drawFrameScreen(image_, clip_, center_, focal_, map_, camera.eye, camera.target);
  }
  // The label of place i with its point at the centre of the view.
  void drawLabel(int32_t i) {
    if (labels_ && labelOffsets_ && labels_[i])
      graphic_DrawBitmapToBitmap(labels_[i], &image_, center_[0] - labelOffsets_[2 * i],
                                 center_[1] - labelOffsets_[2 * i + 1], nullptr, 0, 0);
  }
  void setTone(int32_t tone) { image_.SetPaletteTone(tone, tone, tone); }
  // In place of every screen of the main view.
  void show() {
    View_DetachAllScreen();
    screen_ = View_Create(&image_, &window_, nullptr);
    View_AttachScreen(screen_, nullptr, 0);
  }
  void hide() { View_DetachScreen(screen_); }
  // Repaints the whole main window now.
  static void present(bool invalidate) {
    CMainFrame* frame = CMainFrame::Current();
    if (!frame || !frame->GetSafeHwnd()) return;
    if (invalidate) os::windowSystem().invalidate(frame->GetSafeHwnd(), nullptr, false);
    frame->UpdateWindow();
  }

 private:
  Graphic& map_;
  Graphic** labels_;
  const int32_t* labelOffsets_;
  Graphic image_{kConversionNone};
  int32_t clip_[4] = {0, 0, 0, 0};
  int32_t center_[2] = {0, 0};
  int32_t focal_ = 1;
  RECT window_{};
  Screen* screen_ = nullptr;
};

// The process's priority class and the thread's priority, raised for smooth flights and put
// back at the end.
class RaisedPriority {
 public:
  RaisedPriority() : priorityClass_(os::windowSystem().priorityClass()), thread_(os::currentThreadPriority()) {
    os::windowSystem().setPriorityClass(kHighPriorityClass);
    os::setCurrentThreadPriority(kThreadPriorityHighest);
  }
  ~RaisedPriority() {
    os::setCurrentThreadPriority(thread_);
    os::windowSystem().setPriorityClass(priorityClass_);
  }

 private:
  uint32_t priorityClass_;
  int32_t thread_;
};

void fadeIn(MapView& view) {
  KTimer timer(2, 256);
  timer.StartTimer();
  for (uint64_t c; (c = timer.GetCounter()) < 256;) {
    view.setTone(int32_t(c) - 256);
    MapView::present(false);
  }
  view.setTone(0);
}

// Flies the camera from `from` to `to` in a second, a frame as often as the processor allows.
// A decision fades the picture to black; a flight that stays on its place keeps its label.
void fly(MapView& view, const k3d::MapCamera& from, const k3d::MapCamera& to, bool decision, bool withLabel,
         int32_t place) {
  KTimer timer(1, kFlightMilliseconds);
  timer.StartTimer();
  uint64_t t;
  do {
    while ((t = timer.GetCounter()) == 0) os::sleep(5);
    const double r = double(t) * 0.001;
    const k3d::MapCamera camera = k3d::cameraBetween(from, to, r);
    view.draw(camera);
    if (decision) view.setTone(int32_t(r * -256));
    else if (withLabel) view.drawLabel(place);
    MapView::present(true);
  } while (t < kFlightMilliseconds);
}

// Slot 1 of the listener's table, called as a member with two zero arguments.
void tellListener(void* listener) {
  void** table = *static_cast<void***>(listener);
  const uint32_t arguments[3] = {static_cast<uint32_t>(reinterpret_cast<uintptr_t>(listener)), 0, 0};
  callProcedure(table[1], 3, arguments, 2);
}

}  // namespace

void selectPlaceOnMap(const int32_t rect[4], Graphic* map, const int32_t* places, Graphic** labels,
                      const int32_t* labelOffsets, int32_t placeCount, int32_t* place, int32_t* height,
                      void* listener) {
  if (placeCount <= 0 || !map) return;
  RaisedPriority priority;
  MapView view(rect, *map, labels, labelOffsets);
  const std::vector<k3d::MapPlace> stations = k3d::cameraStations(places, placeCount);
  auto placeAt = [places](int32_t i) { return k3d::MapPlace{places[2 * i], places[2 * i + 1]}; };
  k3d::MapSelection selection = k3d::startSelection(*place, *height, placeCount);
  auto cameraOf = [&](const k3d::MapSelection& s) {
    return k3d::cameraAt(stations[s.station], placeAt(s.place), s.height, view.focal());
  };
  k3d::MapCamera camera = cameraOf(selection);
  view.draw(camera);

  MessageLoop* loop = MessageLoop::Current();
  if (loop) loop->Stop();
  view.setTone(-256);
  view.drawLabel(selection.place);
  view.show();
  if (loop) loop->Restart();
  fadeIn(view);

  KMapInputQueue& input = mapInputQueue();
  input.BeginInput();
  for (;;) {
    input.ClearInput();
    input.WaitInput(os::kWaitForever);
    const uint32_t code = input.ReadInput();
    if (code == k3d::kInputDecide) {
      const k3d::MapCamera previous = camera;
      camera = k3d::cameraOfDecision(camera);
      if (listener) tellListener(listener);
      fly(view, previous, camera, true, false, selection.place);
      break;
    }
    int32_t dx;
    if (!k3d::applyMove(selection, code, placeCount, &dx)) continue;
    const k3d::MapCamera previous = camera;
    camera = cameraOf(selection);
    fly(view, previous, camera, false, dx == 0, selection.place);
    view.drawLabel(selection.place);
    MapView::present(true);
  }
  view.hide();
  input.EndInput();
  *place = selection.place;
  *height = selection.height;
}
