#include "graphics/font/text_rasterizer.h"

#include <atomic>

#include "base/trace.h"

#ifdef _WIN32
extern const TextRasterizer kGdiRasterizer;
#else
extern const TextRasterizer kFreeTypeRasterizer;
#endif

namespace {

const TextRasterizer* const kBackends[] = {
#ifdef _WIN32
    &kGdiRasterizer,
#else
    &kFreeTypeRasterizer,
#endif
};

const TextRasterizer* choose() {
  for (const TextRasterizer* backend : kBackends) {
    if (backend->available()) return backend;
    TraceMessage("text rasterizer %s is not available\n", backend->name);
  }
  // None can draw: the last one answers, and its sessions fail.
  return kBackends[std::size(kBackends) - 1];
}

std::atomic<const TextRasterizer*> replacement{nullptr};

}  // namespace

std::span<const TextRasterizer* const> textRasterizers() { return kBackends; }

const TextRasterizer& textRasterizer() {
  if (const TextRasterizer* chosen = replacement.load()) return *chosen;
  static const TextRasterizer* const chosen = choose();
  return *chosen;
}

void setTextRasterizer(const TextRasterizer* rasterizer) { replacement.store(rasterizer); }
