#include "screens/menu_screen.h"

#include "host/exports/archive.h"
#include "host/exports/graphic.h"
#include "host/exports/services.h"

namespace {

// The two invisible buttons of the confirmation box, relative to its picture.
constexpr SIZE kBoxButtonSize{0x52, 0x28};
constexpr POINT kBoxYes{0x23, 0x60};
constexpr POINT kBoxNo{0x8B, 0x60};
constexpr int32_t kYes = 0;

}  // namespace

Graphic* ScreenImages::Load(const std::string& name) {
  images_.push_back(std::make_unique<Graphic>(kMadeObjectConversion));
  Graphic* image = images_.back().get();
  if (KORALArchive_DescendFile(archive_, name.c_str()) == 0) image->ReadBitmap(archive_);
  return image;
}

Graphic* ScreenImages::LoadWithAlpha(const std::string& name, const std::string& alphaName) {
  Graphic* image = Load(name);
  GiveAlpha(image, Load(alphaName));
  return image;
}

void ScreenImages::GiveAlpha(Graphic* image, Graphic* alpha) {
  ImageInfo info{};
  info.size = sizeof info;
  alpha->GetImageInfo(&info);
  image->AttachAlphaPlane(&info);
}

std::string MenuScreen::Folder() {
  char* value = ZPK_GetProfileString("Installed", "BinDir", "");
  std::string folder = value ? value : "";
  os::heapFree(value);
  if (folder.empty() || folder.back() != '\\') folder += '\\';
  return folder;
}

MenuScreen::MenuScreen(ScreenHost& host, const char* archiveName)
    : host_(host),
      folder_(Folder()),
      archive_(KORALArchive_Open((folder_ + archiveName).c_str(), 0)),
      images_(std::make_unique<ScreenImages>(archive_)),
      manager_(host) {
  if (!archive_) return;
  ScreenCursors& cursors = manager_.Cursors();
  cursors.levels[1] = host.LoadCursorFile((folder_ + "Arrow.cur").c_str());
  cursors.levels[2] = host.LoadCursorFile((folder_ + "GripHand.cur").c_str());
}

// The controls go with the detach before the bitmaps they show.
MenuScreen::~MenuScreen() {
  manager_.Detach();
  images_.reset();
  CloseArchive();
}

void MenuScreen::CloseArchive() {
  if (archive_) KORALArchive_Close(archive_);
  archive_ = nullptr;
}

bool MenuScreen::Confirm(Graphic* target, const char* bitmap) {
  manager_.SetActive(false);
  ScreenManager box(host_);
  box.Cursors() = manager_.Cursors();

  const RECT& view = target->ViewRectangle();
  int32_t width = view.right - view.left + 1, height = view.bottom - view.top + 1;
  Graphic copy(kMadeObjectConversion);
  copy.CreateBitmap(width, height, target->Header().biBitCount);
  if (target->Header().biBitCount <= 8) {
    RGBQUAD colours[256];
    target->GetPaletteEntries(0, 256, colours);
    copy.SetPaletteEntries(0, 256, colours);
  }
  graphic_DrawBitmapToBitmap(target, &copy, 0, 0, &view, 0, 0);
  box.Attach(target, &copy);

  ScreenImages images(archive_);
  Graphic* picture = images.Load(bitmap);
  int32_t left = (width - picture->Header().biWidth) >> 1, top = (height - picture->Header().biHeight) >> 1;
  graphic_DrawBitmapToBitmap(picture, &copy, left, top, nullptr, 0, 0);
  box.Add(new ScreenButton(left + kBoxYes.x, top + kBoxYes.y, &kBoxButtonSize, nullptr, nullptr, nullptr), 0);
  box.Add(new ScreenButton(left + kBoxNo.x, top + kBoxNo.y, &kBoxButtonSize, nullptr, nullptr, nullptr), 1);
  box.Repaint(nullptr);
  box.Enable(true);

  ScreenEvent event{};
  do {
    box.GetEvent(&event, os::kWaitForever);
  } while (event.message != kEventButton);
  box.Detach();
  manager_.FlushEvents();
  manager_.Repaint(nullptr);
  manager_.Enable(true);
  return event.id == kYes;
}
