// The demo's art tests read the bitmaps their tools wrote; a file that does not read fails the
// test with the reader's message.
#pragma once

#include <gtest/gtest.h>

#include <string>

#include "tools/image/picture_io.h"

inline Picture readBitmap(const std::string& path) {
  Picture picture;
  std::string error;
  EXPECT_TRUE(readPicture(path, &picture, &error)) << error;
  return picture;
}
