// Keeps the calling thread's report across clean-up that reports successes of its own (every
// free does), and puts it back at the end of the scope.
#pragma once

#include "base/error.h"

class KeptError {
 public:
  KeptError() : saved_(*vkGetErrorRecord()) {}
  ~KeptError() { vkSetError(saved_.code, saved_.extra, saved_.source, saved_.line, saved_.message); }
  KeptError(const KeptError&) = delete;
  KeptError& operator=(const KeptError&) = delete;

 private:
  VKERRORRECORD saved_;
};
