// What every menu screen stands on: the folder of its files ("BinDir" of the profile section
// "Installed"), its archive of bitmaps, its manager with the screens' two cursor files, and the
// confirmation box. Bitmaps that the archive lacks are empty images, which draw nothing.
#pragma once

#include <cstdint>
#include <memory>
#include <string>
#include <vector>

#include "graphics/graphic.h"
#include "screens/screen_manager.h"

class KArcFileExp;

// Owned bitmaps read from a screen's archive.
class ScreenImages {
 public:
  explicit ScreenImages(KArcFileExp* archive) : archive_(archive) {}
  // The member `name` read as a BMP; an empty image when it is missing or no BMP.
  Graphic* Load(const std::string& name);
  // As Load, and gives `alphaName`'s plane to it as its alpha plane.
  Graphic* LoadWithAlpha(const std::string& name, const std::string& alphaName);
  // Gives the pixels of `alpha` (an image of this set) to `image` as its alpha plane.
  static void GiveAlpha(Graphic* image, Graphic* alpha);
  void Clear() { images_.clear(); }

 private:
  KArcFileExp* archive_;
  std::vector<std::unique_ptr<Graphic>> images_;
};

class MenuScreen {
 public:
  // Opens `archiveName` in the screens' folder, asking the user to retry if it is missing.
  MenuScreen(ScreenHost& host, const char* archiveName);
  // Unhooks the manager, frees the bitmaps and closes the archive.
  ~MenuScreen();
  MenuScreen(const MenuScreen&) = delete;
  MenuScreen& operator=(const MenuScreen&) = delete;

  bool IsOpen() const { return archive_ != nullptr; }
  // Closes the archive before the end, for a screen that runs on the bitmaps it has read.
  void CloseArchive();
  ScreenImages& Images() { return *images_; }
  // A set of its own for bitmaps that are read again and again (a page's), cleared between.
  std::unique_ptr<ScreenImages> NewImageSet() const { return std::make_unique<ScreenImages>(archive_); }
  ScreenManager& Manager() { return manager_; }

  // The confirmation box over the screen: true for yes, false for no. `bitmap` is the box's
  // picture; the right button does nothing while it is up.
  bool Confirm(Graphic* target, const char* bitmap);

  // The screens' folder with a backslash at its end ("\" when the profile has none).
  static std::string Folder();

 private:
  ScreenHost& host_;
  std::string folder_;
  KArcFileExp* archive_;
  std::unique_ptr<ScreenImages> images_;
  ScreenManager manager_;
};
