#include "screens/screen_manager.h"

#include <gtest/gtest.h>

#include <memory>
#include <string>
#include <thread>
#include <vector>

#include "graphics/graphic.h"
#include "tests/screens/fake_screen_host.h"

namespace {

using namespace screen_message;

// A rectangle that notes the handlers that ran, with their points.
class NotingRect : public ScreenRect {
 public:
  NotingRect(int32_t x, int32_t y, SIZE size, std::vector<std::string>* notes, const char* name)
      : ScreenRect(x, y, &size, true), notes_(notes), name_(name) {}
  void OnMouseMove(ScreenManager&, uint32_t, int32_t x, int32_t y) override { Note("move", x, y); }
  void OnLButtonDown(ScreenManager&, uint32_t, int32_t x, int32_t y) override { Note("ldown", x, y); }
  void OnLButtonUp(ScreenManager&, uint32_t, int32_t x, int32_t y) override { Note("lup", x, y); }
  void OnRButtonDown(ScreenManager&, uint32_t, int32_t x, int32_t y) override { Note("rdown", x, y); }
  void OnRButtonUp(ScreenManager&, uint32_t, int32_t x, int32_t y) override { Note("rup", x, y); }

 private:
  void Note(const char* what, int32_t x, int32_t y) {
    notes_->push_back(name_ + " " + what + " " + std::to_string(x) + "," + std::to_string(y));
  }
  std::vector<std::string>* notes_;
  std::string name_;
};

// A 24-bit image of one colour.
std::unique_ptr<Graphic> solid(int32_t width, int32_t height, uint32_t colour) {
  auto image = std::make_unique<Graphic>(kConversionNone);
  EXPECT_EQ(image->CreateBitmap(width, height, 24), 0u);
  for (int32_t y = 0; y < height; ++y)
    for (int32_t x = 0; x < width; ++x) {
      uint8_t* pixel = image->Pixels() + (height - 1 - y) * dibPitch(width, 24) + 3 * x;
      pixel[0] = static_cast<uint8_t>(colour);
      pixel[1] = static_cast<uint8_t>(colour >> 8);
      pixel[2] = static_cast<uint8_t>(colour >> 16);
    }
  return image;
}

uint32_t pixelAt(const Graphic& image, int32_t x, int32_t y) {
  const uint8_t* pixel =
      image.Pixels() + (image.Header().biHeight - 1 - y) * dibPitch(image.Header().biWidth, 24) + 3 * x;
  return pixel[0] | pixel[1] << 8 | pixel[2] << 16;
}

class ScreenManagerTest : public ::testing::Test {
 protected:
  ScreenManagerTest() : target(solid(64, 48, 0x000000)), manager(host) {}

  // Every event in the queue, taken out.
  std::vector<ScreenEvent> Drain() {
    std::vector<ScreenEvent> events;
    ScreenEvent event;
    while (manager.GetEvent(&event, 0) == 0) events.push_back(event);
    return events;
  }

  FakeScreenHost host;
  std::unique_ptr<Graphic> target;
  ScreenManager manager;
  std::vector<std::string> notes;
};

TEST_F(ScreenManagerTest, AttachHooksTheWindowOnceEnablesAndDetachUndoesIt) {
  manager.Attach(target.get(), nullptr);
  manager.Attach(target.get(), nullptr);
  EXPECT_EQ(host.HookCount(), 1u);
  // Each enable asks for the cursor and moves the pointer where it is, so that a control lights.
  EXPECT_EQ(host.sent, (std::vector<uint32_t>{kSetCursor, kMouseMove, kSetCursor, kMouseMove}));
  manager.Add(new NotingRect(0, 0, SIZE{4, 4}, &notes, "a"), 3);
  manager.PostEvent(nullptr, kEventButton, 0);
  manager.Detach();
  EXPECT_EQ(host.HookCount(), 0u);
  EXPECT_EQ(manager.GetCount(), 0u);
  ScreenEvent event;
  EXPECT_EQ(manager.GetEvent(&event, 0), kEventTimeout) << "the queue went with the detach";
}

TEST_F(ScreenManagerTest, MouseMessagesReachControlsInOrderWithTheirOwnPoints) {
  manager.Attach(target.get(), nullptr);
  manager.Add(new NotingRect(10, 10, SIZE{20, 20}, &notes, "a"), 0);
  manager.Add(new NotingRect(20, 20, SIZE{20, 20}, &notes, "b"), 1);
  notes.clear();
  host.Deliver(kLButtonDown, 0, packPoint(25, 25));  // over both
  host.Deliver(kLButtonUp, 0, packPoint(12, 12));     // over a only
  host.Deliver(kRButtonDown, 0, packPoint(5, 5));     // over none
  host.Deliver(kMouseMove, 0, packPoint(5, 5));       // a move goes everywhere
  host.Deliver(kLButtonDoubleClick, 0, packPoint(25, 25));
  host.Deliver(0x206, 0, packPoint(25, 25));
  EXPECT_EQ(notes, (std::vector<std::string>{"a ldown 15,15", "b ldown 5,5", "a lup 2,2", "a move -5,-5",
                                             "b move -15,-15"}));
}

TEST_F(ScreenManagerTest, PointsAreSignedSixteenBitNumbers) {
  manager.Attach(target.get(), nullptr);
  manager.Add(new NotingRect(0, 0, SIZE{4, 4}, &notes, "a"), 0);
  notes.clear();
  host.Deliver(kMouseMove, 0, packPoint(-3, -40000 + 65536));
  EXPECT_EQ(notes, (std::vector<std::string>{"a move -3,25536"}));
}

TEST_F(ScreenManagerTest, ADisabledRectIsNeverHitButStillSeesMoves) {
  manager.Attach(target.get(), nullptr);
  auto* rect = new NotingRect(0, 0, SIZE{10, 10}, &notes, "a");
  rect->SetEnabled(false);
  manager.Add(rect, 0);
  notes.clear();
  host.MoveTo(5, 5);
  host.Press(kLButtonDown);
  host.Press(kRButtonDown);
  EXPECT_EQ(notes, (std::vector<std::string>{"a move 5,5"}));
  EXPECT_EQ(host.cursor, fakeCursor(FakeScreenHost::kArrow));
}

TEST_F(ScreenManagerTest, TheHighestHitLevelUnderThePointerChoosesTheCursor) {
  manager.Attach(target.get(), nullptr);
  manager.Cursors().levels[1] = fakeCursor(0x51);
  manager.Cursors().levels[2] = fakeCursor(0x52);
  auto knob = solid(8, 6, 0xFFFFFF);
  auto* slider = new ScreenHSlider(0, 0, 40, knob.get(), 0, 100, 10);
  manager.Add(slider, 0);
  manager.Add(new NotingRect(0, 0, SIZE{60, 30}, &notes, "over"), 1);

  host.MoveTo(50, 40);
  EXPECT_EQ(host.cursor, fakeCursor(FakeScreenHost::kArrow)) << "over nothing: level 0";
  EXPECT_TRUE(host.cursorShown);
  host.MoveTo(2, 2);
  EXPECT_EQ(host.cursor, fakeCursor(0x51)) << "both controls answer 1";
  host.Press(kLButtonDown);  // on the knob: a drag starts
  ASSERT_TRUE(slider->IsDragging());
  EXPECT_EQ(host.posted, (std::vector<uint32_t>{kSetCursor}));
  host.Deliver(kSetCursor, 0, 0);
  EXPECT_EQ(host.cursor, fakeCursor(0x52)) << "the dragged slider answers 2, above the later rectangle's 1";
  // Dragged off its rectangle, the slider holds level 2 on the cursor question (the move
  // that follows ends the drag, since HitTest is asked there too).
  host.pointer = POINT{50, 40};
  host.Deliver(kSetCursor, 0, 0);
  EXPECT_EQ(host.cursor, fakeCursor(0x52));
}

TEST_F(ScreenManagerTest, AnInactiveScreenShowsTheWaitCursorAndLosesEveryMessage) {
  manager.Attach(target.get(), nullptr);
  manager.Add(new NotingRect(0, 0, SIZE{10, 10}, &notes, "a"), 0);
  manager.SetActive(false);
  notes.clear();
  EXPECT_EQ(host.cursor, fakeCursor(FakeScreenHost::kWait)) << "SetActive asks for the cursor";
  host.MoveTo(5, 5);
  host.Press(kRButtonDown);
  EXPECT_TRUE(notes.empty());
  EXPECT_TRUE(Drain().empty()) << "a right click while inactive is lost";
  manager.SetActive(true);
  EXPECT_EQ(host.cursor, fakeCursor(FakeScreenHost::kPoint)) << "over the rectangle: level 1";
}

TEST_F(ScreenManagerTest, TheUserMessageHidesTheCursor) {
  manager.Attach(target.get(), nullptr);
  host.MoveTo(1, 1);
  ASSERT_TRUE(host.cursorShown);
  host.Deliver(kUser, 0, 0);
  EXPECT_FALSE(host.cursorShown);
  EXPECT_EQ(host.cursor, nullptr);
}

TEST_F(ScreenManagerTest, EventsAreQueuedInOrderWithTheIdsOfTheirControls) {
  manager.Attach(target.get(), nullptr);
  manager.Add(new NotingRect(0, 0, SIZE{1, 1}, &notes, "a"), 4);
  auto* twice = new NotingRect(0, 0, SIZE{1, 1}, &notes, "b");
  manager.Add(twice, 7);
  NotingRect stranger(0, 0, SIZE{1, 1}, &notes, "s");
  host.pointer = POINT{3, 4};
  manager.PostEvent(twice, kEventButton, 0);
  manager.PostEvent(&stranger, kEventHSlider, 55);
  host.Deliver(kRButtonDown, 0, packPoint(3, 4));
  std::vector<ScreenEvent> events = Drain();
  ASSERT_EQ(events.size(), 3u);
  EXPECT_EQ(events[0].source, twice);
  EXPECT_EQ(events[0].id, 7);
  EXPECT_EQ(events[1].id, -1) << "a control the manager lacks";
  EXPECT_EQ(events[1].value, 55);
  EXPECT_EQ(events[2].source, nullptr);
  EXPECT_EQ(events[2].message, kEventCancel);
  EXPECT_EQ(events[2].id, -1);
  EXPECT_LT(events[0].time, events[1].time);
  EXPECT_EQ(events[2].position.x, 103) << "the pointer on the screen";
  EXPECT_EQ(events[2].position.y, 54);
}

TEST_F(ScreenManagerTest, GetEventWaitsForTheNextEventAfterAFlush) {
  manager.PostEvent(nullptr, kEventButton, 1);
  manager.FlushEvents();
  ScreenEvent event;
  EXPECT_EQ(manager.GetEvent(&event, 20), kEventTimeout);
  std::thread poster([&] {
    os::sleep(30);
    manager.PostEvent(nullptr, kEventButton, 2);
  });
  EXPECT_EQ(manager.GetEvent(&event, os::kWaitForever), 0u);
  EXPECT_EQ(event.value, 2);
  poster.join();
  EXPECT_EQ(manager.GetEvent(&event, 0), kEventTimeout) << "the event object is reset once the queue is empty";
}

TEST_F(ScreenManagerTest, RepaintComposesBackgroundAndControlsInsideTheRectangleWithTheLoopStopped) {
  auto background = solid(64, 48, 0x203040);
  auto picture = solid(10, 10, 0xA0B0C0);
  manager.Attach(target.get(), background.get());
  manager.Add(new ScreenImage(30, 20, nullptr, picture.get(), false), -1);
  int stops = host.stops, invalidations = host.invalidations;
  RECT part{0, 0, 34, 47};
  manager.Repaint(&part);
  EXPECT_EQ(host.stops, stops + 1);
  EXPECT_EQ(host.restarts, host.stops.load());
  EXPECT_EQ(host.invalidations, invalidations + 1);
  EXPECT_EQ(pixelAt(*target, 0, 0), 0x203040u);
  EXPECT_EQ(pixelAt(*target, 34, 25), 0xA0B0C0u);
  EXPECT_EQ(pixelAt(*target, 35, 25), 0x000000u) << "outside the rectangle";
  EXPECT_EQ(pixelAt(*target, 40, 0), 0x000000u);
  manager.Repaint(nullptr);
  EXPECT_EQ(pixelAt(*target, 39, 29), 0xA0B0C0u);
  EXPECT_EQ(pixelAt(*target, 63, 47), 0x203040u);
}

class ButtonTest : public ScreenManagerTest {
 protected:
  ButtonTest()
      : normal(solid(10, 10, 0x111111)), hover(solid(10, 10, 0x222222)), pressed(solid(10, 10, 0x333333)) {
    manager.Attach(target.get(), nullptr);
    button = new ScreenButton(20, 20, nullptr, normal.get(), hover.get(), pressed.get());
    manager.Add(button, 9);
    manager.Repaint(nullptr);
  }
  uint32_t Shown() { return pixelAt(*target, 25, 25); }

  std::unique_ptr<Graphic> normal, hover, pressed;
  ScreenButton* button;
};

TEST_F(ButtonTest, HoverAndPressShowTheirImagesAndAReleaseOverTheButtonReportsIt) {
  EXPECT_EQ(Shown(), 0x111111u);
  host.MoveTo(22, 22);
  EXPECT_EQ(Shown(), 0x222222u);
  host.Press(kLButtonDown);
  EXPECT_EQ(Shown(), 0x333333u);
  host.Press(kLButtonUp);
  EXPECT_EQ(Shown(), 0x222222u);
  host.MoveTo(5, 5);
  EXPECT_EQ(Shown(), 0x111111u);
  std::vector<ScreenEvent> events = Drain();
  ASSERT_EQ(events.size(), 1u);
  EXPECT_EQ(events[0].message, kEventButton);
  EXPECT_EQ(events[0].id, 9);
}

TEST_F(ButtonTest, APressMovedOffIsLostEvenWhenThePointerComesBack) {
  host.MoveTo(22, 22);
  host.Press(kLButtonDown);
  host.MoveTo(40, 40);
  host.Press(kLButtonUp);
  host.MoveTo(22, 22);
  host.Press(kLButtonDown);
  host.MoveTo(40, 40);
  host.MoveTo(22, 22);
  EXPECT_EQ(Shown(), 0x222222u) << "back over the button it shows hover, not pressed";
  host.Press(kLButtonUp);
  EXPECT_TRUE(Drain().empty());
}

TEST_F(ButtonTest, AButtonWithoutImagesIsAnInvisibleHitAreaAndSetImagesDrawsNothing) {
  auto* area = new ScreenButton(0, 0, nullptr, nullptr, nullptr, nullptr);
  EXPECT_EQ(area->GetSize().cx, 1);
  manager.Add(area, 2);
  host.Click(0, 0);
  std::vector<ScreenEvent> events = Drain();
  ASSERT_EQ(events.size(), 1u);
  EXPECT_EQ(events[0].id, 2);

  button->SetImages(pressed.get(), nullptr, nullptr);
  EXPECT_EQ(Shown(), 0x111111u);
  manager.Repaint(nullptr);
  EXPECT_EQ(Shown(), 0x333333u);
  host.MoveTo(22, 22);
  EXPECT_EQ(Shown(), 0x333333u) << "a null hover image is the normal one";
}

class SliderTest : public ScreenManagerTest {
 protected:
  // A track of 100 pixels with a knob of 20: knob positions 0 to 80 for values 0 to 40.
  SliderTest() : knob(solid(20, 8, 0xFFFF00)) {
    manager.Attach(target.get(), nullptr);
    slider = new ScreenHSlider(0, 10, 100, knob.get(), 0, 40, 5);
    manager.Add(slider, 6);
    slider->SetValue(20, nullptr);
  }
  std::vector<int32_t> Values() {
    std::vector<int32_t> values;
    for (const ScreenEvent& event : Drain()) {
      EXPECT_EQ(event.message, kEventHSlider);
      EXPECT_EQ(event.id, 6);
      values.push_back(event.value);
    }
    return values;
  }

  std::unique_ptr<Graphic> knob;
  ScreenSlider* slider;
};

TEST_F(SliderTest, ClicksBesideTheKnobStepAndStopAtTheEnds) {
  EXPECT_TRUE(Drain().empty()) << "a value set without a manager is silent";
  EXPECT_EQ(slider->KnobPosition(), 40);
  host.Click(10, 12);  // before the knob
  host.Click(95, 12);  // behind it
  host.Click(95, 12);
  EXPECT_EQ(Values(), (std::vector<int32_t>{15, 20, 25}));
  for (int i = 0; i < 5; ++i) host.Click(99, 12);
  EXPECT_EQ(slider->GetValue(), 40);
  EXPECT_EQ(Values(), (std::vector<int32_t>{30, 35, 40})) << "no event once the end is reached";
}

TEST_F(SliderTest, ADragSetsTheValueAndPastTheEndItStaysThere) {
  host.MoveTo(45, 12);  // 5 pixels into the knob at 40
  host.Press(kLButtonDown);
  ASSERT_TRUE(slider->IsDragging());
  host.MoveTo(57, 12);  // knob at 52: 40 * 52 / 80 = 26
  host.MoveTo(58, 12);  // 26.5 rounds up
  host.MoveTo(58, 12);  // unchanged: nothing
  host.MoveTo(99, 12);  // knob at 94, past the end
  host.Press(kLButtonUp);
  EXPECT_FALSE(slider->IsDragging());
  EXPECT_EQ(Values(), (std::vector<int32_t>{26, 27, 40}));
  EXPECT_EQ(host.posted, (std::vector<uint32_t>{kSetCursor, kSetCursor}));
}

TEST_F(SliderTest, ADragGoesOnOutsideTheRectangleUntilTheRelease) {
  host.MoveTo(45, 12);
  host.Press(kLButtonDown);
  host.MoveTo(45, 30);   // below the rectangle, same x: the value stays
  host.MoveTo(25, 300);  // knob at 20: 10
  EXPECT_TRUE(slider->IsDragging());
  host.Deliver(kLButtonUp, 0, packPoint(300, 300));  // level 2 while dragging: it arrives
  EXPECT_FALSE(slider->IsDragging());
  host.MoveTo(5, 12);
  EXPECT_EQ(Values(), (std::vector<int32_t>{10}));
}

TEST_F(SliderTest, OnlyTheKnobIsDrawnAndTheVerticalOneReportsItsOwnMessage) {
  manager.Repaint(nullptr);
  EXPECT_EQ(pixelAt(*target, 40, 10), 0xFFFF00u);
  EXPECT_EQ(pixelAt(*target, 59, 17), 0xFFFF00u);
  EXPECT_EQ(pixelAt(*target, 39, 10), 0x000000u);
  EXPECT_EQ(pixelAt(*target, 60, 10), 0x000000u);

  auto* vertical = new ScreenVSlider(0, 0, 40, knob.get(), 10, 20, 1);  // knob 8 high
  manager.Add(vertical, 8);
  vertical->SetValue(10, nullptr);
  EXPECT_EQ(vertical->GetSize().cx, 20);
  EXPECT_EQ(vertical->GetSize().cy, 40);
  host.Click(3, 39);
  std::vector<ScreenEvent> events = Drain();
  ASSERT_EQ(events.size(), 1u);
  EXPECT_EQ(events[0].message, kEventVSlider);
  EXPECT_EQ(events[0].value, 11);
  vertical->SetValue(11, &manager);
  EXPECT_TRUE(Drain().empty()) << "the value already held";
}

}  // namespace
