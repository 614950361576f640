#include "graphics/font/font_graphic.h"

#include <algorithm>
#include <cstring>
#include <limits>
#include <string>

#include "graphics/font/shift_jis.h"

namespace {

// Letters and the punctuation that belong to a Latin word at a break.
bool isLatin(char byte) {
  return (byte >= 'A' && byte <= 'Z') || (byte >= 'a' && byte <= 'z') || byte == '.' || byte == ',';
}

// The one-byte characters of the prohibited table: 0xA0 to 0xDF as signed bytes.
bool isSingleByteCode(int32_t first) { return first >= -0x60 && first <= -0x21; }

int32_t clampToInt32(int64_t value) {
  return static_cast<int32_t>(std::clamp<int64_t>(value, std::numeric_limits<int32_t>::min(),
                                                  std::numeric_limits<int32_t>::max()));
}

constexpr size_t kMaxMeasure = static_cast<size_t>(std::numeric_limits<int32_t>::max());

}  // namespace

uint32_t fontCharacterCode(const char* text) {
  int32_t first = static_cast<int8_t>(text[0]);
  if (first == 0) return 0;
  if (isSingleByteCode(first)) return static_cast<uint32_t>(first);
  return static_cast<uint32_t>(first * 256 + static_cast<uint8_t>(text[1]));
}

FontGrph::~FontGrph() { FontGrph::Release(); }

uint32_t FontGrph::Release() {
  os::Lock hold(Lock());
  if (surface_) device_->deleteSurface(surface_);
  surface_ = nullptr;
  std::vector<uint32_t>().swap(prohibited_);
  return 0;
}

uint32_t FontGrph::Create(int32_t width, int32_t height) {
  Release();
  os::Lock hold(Lock());
  if (CreateBitmap(width, height, 1) != 0) return 1;
  std::memset(Pixels(), 0, Header().biSizeImage);
  device_ = &textRasterizer();
  surface_ = device_->createSurface(width, height);
  if (!surface_) return 1;
  penX_ = penY_ = 0;
  clip_ = {0, 0, width - 1, height - 1};
  return 0;
}

HFONT FontGrph::SelectFont(HFONT font, int32_t lineHeight) {
  os::Lock hold(Lock());
  HFONT former = font_;
  font_ = font;
  lineHeight_ = lineHeight;
  return former;
}

void FontGrph::LocateText(int32_t x, int32_t y) {
  penX_ = x;
  penY_ = y;
}

void FontGrph::SetTextClip(int32_t left, int32_t top, int32_t right, int32_t bottom) {
  clip_ = {std::max<int32_t>(left, 0), std::max<int32_t>(top, 0), std::min<int32_t>(right, Header().biWidth - 1),
           std::min<int32_t>(bottom, Header().biHeight - 1)};
}

void FontGrph::SetProbitChars(const char* text) {
  os::Lock hold(Lock());
  std::vector<uint32_t> table;
  size_t i = 0;
  while (text && text[i]) {
    uint32_t code = fontCharacterCode(text + i);
    table.push_back(code);
    if (isSingleByteCode(static_cast<int8_t>(text[i]))) {
      i += 1;
    } else {
      // The 0 that ends the text may be the second byte of the last code; the walk ends there.
      if (text[i + 1] == 0) break;
      i += 2;
    }
  }
  prohibited_ = std::move(table);
}

bool FontGrph::IsProhibited(uint32_t code) const {
  return std::find(prohibited_.begin(), prohibited_.end(), code) != prohibited_.end();
}

LineBreak FontGrph::FindBreak(const char* line, size_t remaining, size_t fit) const {
  LineBreak result;
  // The last character boundary within the fit, or the line feed before it.
  size_t n = 0;
  for (size_t i = 0;;) {
    n = i;
    if (line[i] == '\n') {
      result.newline = true;
      break;
    }
    if (i == remaining) break;
    i = sjis::next(line, i, remaining);
    if (i > fit) break;
  }
  size_t next = result.newline ? n + 1 : n;
  // A Latin word at the break moves to the next line whole, or is cut behind its third letter
  // from the break with a hyphen.
  if (isLatin(line[n]) && n >= 3) {
    size_t distance = 1;
    while (distance <= 3 && isLatin(line[n - distance])) ++distance;
    if (distance <= 3) {
      n = n + 1 - distance;
    } else {
      n -= 1;
      result.hyphen = true;
    }
    next = n;
  }
  // A prohibited character may not begin a line: it takes the two bytes before it along.
  if (line[n] != '\n' && n != 0 && IsProhibited(fontCharacterCode(line + n))) {
    if (n > 1) n -= 2;
    result.newline = false;
    next = n;
  }
  result.length = n;
  result.next = next;
  return result;
}

bool FontGrph::Fit(const TextRasterizer& device, TextContext* context, const char* text, size_t remaining,
                   int32_t maxWidth, size_t* fit, int32_t* height) {
  // Glyphs are at least a pixel wide in practice, so a window of twice the width in bytes
  // holds the line; it grows when all of it fits.
  size_t window = 2 * (static_cast<size_t>(std::max(maxWidth, 0)) + 1) + 2;
  for (;;) {
    size_t length = std::min({remaining, window, kMaxMeasure});
    int32_t bytes = 0;
    if (!device.fit(context, text, static_cast<int32_t>(length), maxWidth, &bytes, height)) return false;
    if (static_cast<size_t>(bytes) < length || length == remaining || length == kMaxMeasure) {
      *fit = static_cast<size_t>(bytes);
      return true;
    }
    window *= 2;
  }
}

int32_t FontGrph::DrawText(const char* text) {
  if (!surface_) return 1;
  os::Lock hold(Lock());
  TextContext* context = device_->begin(surface_, font_);
  if (!context) return 1;
  size_t remaining = text ? std::strlen(text) : 0;
  size_t consumed = 0;
  bool truncated = false;
  SIZE size{};
  while (remaining) {
    int32_t lineStartX = penX_;
    size_t fit = 0;
    int32_t height = 0;
    if (!Fit(*device_, context, text, remaining, clampToInt32(int64_t{clip_.right} - penX_), &fit, &height)) break;
    size.cy = height;
    LineBreak line;
    if (fit >= 1) {
      line = FindBreak(text, remaining, fit);
      if (line.hyphen) {
        std::string cut(text, line.length);
        cut += '-';
        device_->draw(context, penX_, penY_, cut.data(), static_cast<int32_t>(cut.size()));
      } else {
        device_->draw(context, penX_, penY_, text, static_cast<int32_t>(line.length));
      }
      remaining -= line.next;
      // A line that consumed nothing keeps the measured height, so that the pen moves on.
      if (line.next) size = device_->extent(context, text, static_cast<int32_t>(line.next));
      consumed += line.next;
      text += line.next;
    }
    if (remaining == 0) {
      penX_ = clampToInt32(int64_t{penX_} + size.cx);
      if (int64_t{penY_} + size.cy - 1 > clip_.bottom) truncated = true;
      if (line.newline) {
        penY_ = clampToInt32(int64_t{penY_} + size.cy);
        penX_ = clip_.left;
      }
      break;
    }
    int32_t advance = lineHeight_ ? lineHeight_ : size.cy;
    penX_ = clip_.left;
    if (line.next == 0 && !line.hyphen && lineStartX == clip_.left) {
      // Every further line would be this one again, drawing nothing, until the pen passes the
      // clip's bottom: go there at once (or stop, if the pen never gets there).
      if (advance > 0 && penY_ <= clip_.bottom) {
        int64_t lines = (int64_t{clip_.bottom} - penY_) / advance + 1;
        penY_ = clampToInt32(penY_ + lines * advance);
      }
      truncated = true;
      break;
    }
    penY_ = clampToInt32(int64_t{penY_} + advance);
    if (penY_ > clip_.bottom) {
      truncated = true;
      break;
    }
  }
  device_->end(context, Pixels());
  return truncated ? static_cast<int32_t>(consumed) : -1;
}
