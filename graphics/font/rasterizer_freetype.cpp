// The text rasteriser of the native build: FreeType draws the faces that fontconfig finds, into
// a plane of its own, monochrome and hinted, measured the way GDI measures (cell height from
// the face's Windows ascent and descent, advances in whole pixels). A face the system lacks is
// replaced by an installed Japanese face, chosen as the GDI backend chooses it.
#include <fontconfig/fontconfig.h>
#include <ft2build.h>
#include <iconv.h>
#include FT_FREETYPE_H
#include FT_SYNTHESIS_H
#include FT_TRUETYPE_TABLES_H

#include <algorithm>
#include <cstring>
#include <map>
#include <mutex>
#include <new>
#include <string>
#include <tuple>
#include <vector>

#include "graphics/font/native_font.h"
#include "graphics/font/shift_jis.h"
#include "graphics/font/text_rasterizer.h"
#include "graphics/graphic.h"

struct HFONT__ {
  int32_t height;
  int32_t weight;
  std::string face;
  bool variablePitch;
};

HFONT createNativeFont(int32_t height, int32_t weight, const char* face, bool variablePitch) {
  return new HFONT__{height, weight, face ? face : "", variablePitch};
}

void deleteNativeFont(HFONT font) { delete font; }

// Rows top-down, padded as in a DIB, the first pixel in the top bit.
struct TextSurface {
  int32_t width, height;
  size_t pitch;
  std::vector<uint8_t> bits;
};

struct TextContext {
  TextSurface* surface;
  FT_Face face;
  int32_t ascent, height;
  bool bold;
};

namespace {

// The device's default font: a cell of 16, bold, proportional, as GDI's System font.
constexpr int32_t kDefaultCellHeight = 16;
// Katakana middle dot, the default character of code page 932.
constexpr uint32_t kDefaultCharacter = 0x30FB;

// One session at a time: the faces and the decoder are shared.
std::mutex sessionLock;
FT_Library library;
iconv_t decoder = reinterpret_cast<iconv_t>(-1);
std::map<std::string, FT_Face> faces;  // by file
std::map<std::pair<std::string, bool>, std::string> faceFiles;  // (family, variable pitch): file

struct JapaneseFiles {
  std::string fixedPitch, variablePitch;
};

std::string patternString(FcPattern* pattern, const char* object) {
  FcChar8* value = nullptr;
  return FcPatternGetString(pattern, object, 0, &value) == FcResultMatch ? reinterpret_cast<char*>(value) : "";
}

// The files of the faces that fontconfig lists for `pattern`, with family and spacing.
template <typename Visit>
void listFaces(FcPattern* pattern, Visit visit) {
  FcObjectSet* objects = FcObjectSetBuild(FC_FAMILY, FC_FILE, FC_SPACING, nullptr);
  FcFontSet* set = FcFontList(nullptr, pattern, objects);
  for (int i = 0; set && i < set->nfont; ++i) {
    int spacing = FC_PROPORTIONAL;
    FcPatternGetInteger(set->fonts[i], FC_SPACING, 0, &spacing);
    visit(patternString(set->fonts[i], FC_FAMILY), patternString(set->fonts[i], FC_FILE), spacing >= FC_DUAL);
  }
  if (set) FcFontSetDestroy(set);
  FcObjectSetDestroy(objects);
  FcPatternDestroy(pattern);
}

// Of each pitch, the Japanese face first by family name (then file), as the GDI backend picks.
JapaneseFiles findJapaneseFiles() {
  JapaneseFiles found;
  std::string fixedFamily, variableFamily;
  FcPattern* japanese = FcPatternCreate();
  FcLangSet* languages = FcLangSetCreate();
  FcLangSetAdd(languages, reinterpret_cast<const FcChar8*>("ja"));
  FcPatternAddLangSet(japanese, FC_LANG, languages);
  FcLangSetDestroy(languages);
  listFaces(japanese, [&](const std::string& family, const std::string& file, bool fixed) {
    std::string& bestFamily = fixed ? fixedFamily : variableFamily;
    std::string& bestFile = fixed ? found.fixedPitch : found.variablePitch;
    if (bestFile.empty() || std::tie(family, file) < std::tie(bestFamily, bestFile)) {
      bestFamily = family;
      bestFile = file;
    }
  });
  return found;
}

std::string findFaceFile(const std::string& family, bool variablePitch) {
  auto known = faceFiles.find({family, variablePitch});
  if (known != faceFiles.end()) return known->second;
  std::string file;
  if (!family.empty()) {
    FcPattern* named = FcPatternCreate();
    FcPatternAddString(named, FC_FAMILY, reinterpret_cast<const FcChar8*>(family.c_str()));
    listFaces(named, [&](const std::string&, const std::string& path, bool) {
      if (file.empty() || path < file) file = path;
    });
  }
  if (file.empty()) {
    static const JapaneseFiles japanese = findJapaneseFiles();
    const std::string& preferred = variablePitch ? japanese.variablePitch : japanese.fixedPitch;
    file = preferred.empty() ? (variablePitch ? japanese.fixedPitch : japanese.variablePitch) : preferred;
  }
  faceFiles.emplace(std::make_pair(family, variablePitch), file);
  return file;
}

FT_Face openFace(const std::string& file) {
  auto known = faces.find(file);
  if (known != faces.end()) return known->second;
  FT_Face face = nullptr;
  if (file.empty() || FT_New_Face(library, file.c_str(), 0, &face) != 0) return nullptr;
  faces.emplace(file, face);
  return face;
}

// The pixel size and the cell of `height`, as GDI scales a TrueType face.
bool setHeight(TextContext& context, int32_t height) {
  FT_Face face = context.face;
  const auto* metrics = static_cast<const TT_OS2*>(FT_Get_Sfnt_Table(face, FT_SFNT_OS2));
  FT_Long ascent = metrics ? metrics->usWinAscent : face->ascender;
  FT_Long descent = metrics ? metrics->usWinDescent : -face->descender;
  if (ascent + descent <= 0) return false;
  if (height == 0) height = kDefaultCellHeight;
  FT_Long em = height < 0 ? -int64_t{height}
                          : (int64_t{height} * face->units_per_EM + (ascent + descent) / 2) / (ascent + descent);
  if (FT_Set_Pixel_Sizes(face, 0, static_cast<FT_UInt>(std::clamp<FT_Long>(em, 1, 0xFFFF))) != 0) return false;
  FT_Fixed scale = face->size->metrics.y_scale;
  context.ascent = static_cast<int32_t>((FT_MulFix(ascent, scale) + 32) >> 6);
  context.height = context.ascent + static_cast<int32_t>((FT_MulFix(descent, scale) + 32) >> 6);
  return true;
}

uint32_t decode(const char* character, size_t bytes) {
  auto first = static_cast<uint8_t>(character[0]);
  if (first < 0x80) return first;
  char32_t code = 0;
  char* in = const_cast<char*>(character);
  char* out = reinterpret_cast<char*>(&code);
  size_t inLeft = bytes, outLeft = sizeof code;
  if (decoder == reinterpret_cast<iconv_t>(-1) || iconv(decoder, &in, &inLeft, &out, &outLeft) == static_cast<size_t>(-1) ||
      outLeft != 0) {
    if (decoder != reinterpret_cast<iconv_t>(-1)) iconv(decoder, nullptr, nullptr, nullptr, nullptr);
    return kDefaultCharacter;
  }
  return code;
}

// Loads the glyph of a character, rendered when asked; false if the face has no outline for it.
bool loadGlyph(TextContext& context, uint32_t code, bool render) {
  FT_Face face = context.face;
  if (FT_Load_Glyph(face, FT_Get_Char_Index(face, code), FT_LOAD_TARGET_MONO) != 0) return false;
  if (context.bold) FT_GlyphSlot_Embolden(face->glyph);
  return !render || FT_Render_Glyph(face->glyph, FT_RENDER_MODE_MONO) == 0;
}

int32_t advance(TextContext& context, uint32_t code) {
  return loadGlyph(context, code, false) ? static_cast<int32_t>((context.face->glyph->advance.x + 32) >> 6) : 0;
}

// Walks the characters of a text with their codes and byte ends.
template <typename Visit>
void forEachCharacter(const char* text, int32_t length, Visit visit) {
  for (size_t i = 0; i < static_cast<size_t>(length);) {
    size_t next = sjis::next(text, i, static_cast<size_t>(length));
    if (!visit(decode(text + i, next - i), next)) return;
    i = next;
  }
}

void setPixel(TextSurface& plane, int64_t x, int64_t y, bool ink) {
  if (x < 0 || y < 0 || x >= plane.width || y >= plane.height) return;
  uint8_t& byte = plane.bits[static_cast<size_t>(y) * plane.pitch + static_cast<size_t>(x >> 3)];
  uint8_t bit = static_cast<uint8_t>(0x80 >> (x & 7));
  byte = ink ? byte | bit : byte & ~bit;
}

bool available() {
  std::lock_guard<std::mutex> hold(sessionLock);
  static const bool ready = FcInit() && FT_Init_FreeType(&library) == 0;
  if (ready && decoder == reinterpret_cast<iconv_t>(-1)) decoder = iconv_open("UTF-32LE", "CP932");
  return ready;
}

TextSurface* createSurface(int32_t width, int32_t height) {
  if (width <= 0 || height <= 0) return nullptr;
  size_t pitch = static_cast<size_t>(dibPitch(width, 1));
  auto* surface = new (std::nothrow) TextSurface{width, height, pitch, {}};
  if (!surface) return nullptr;
  try {
    surface->bits.assign(pitch * static_cast<size_t>(height), 0);
  } catch (const std::bad_alloc&) {
    delete surface;
    return nullptr;
  }
  return surface;
}

void deleteSurface(TextSurface* surface) { delete surface; }

TextContext* begin(TextSurface* surface, HFONT font) {
  sessionLock.lock();
  HFONT__ request = font ? *font : HFONT__{kDefaultCellHeight, 700, "", true};
  auto* context = new TextContext{surface, openFace(findFaceFile(request.face, request.variablePitch)), 0, 0,
                                  request.weight > 550};
  if (!context->face || !setHeight(*context, request.height)) {
    delete context;
    sessionLock.unlock();
    return nullptr;
  }
  return context;
}

bool fit(TextContext* context, const char* text, int32_t length, int32_t maxWidth, int32_t* fitBytes,
         int32_t* height) {
  int64_t width = 0;
  *fitBytes = 0;
  forEachCharacter(text, length, [&](uint32_t code, size_t end) {
    width += advance(*context, code);
    if (width > maxWidth) return false;
    *fitBytes = static_cast<int32_t>(end);
    return true;
  });
  *height = context->height;
  return true;
}

SIZE extent(TextContext* context, const char* text, int32_t length) {
  int64_t width = 0;
  forEachCharacter(text, length, [&](uint32_t code, size_t) {
    width += advance(*context, code);
    return true;
  });
  return {static_cast<LONG>(std::min<int64_t>(width, INT32_MAX)), length > 0 ? context->height : 0};
}

void draw(TextContext* context, int32_t x, int32_t y, const char* text, int32_t length) {
  TextSurface& plane = *context->surface;
  // Opaque: the cell behind the text is cleared first.
  SIZE cell = extent(context, text, length);
  for (int64_t row = y; row < int64_t{y} + cell.cy; ++row)
    for (int64_t column = x; column < int64_t{x} + cell.cx; ++column) setPixel(plane, column, row, false);
  int64_t penX = x;
  forEachCharacter(text, length, [&](uint32_t code, size_t) {
    if (!loadGlyph(*context, code, true)) return true;
    const FT_GlyphSlot glyph = context->face->glyph;
    const FT_Bitmap& bitmap = glyph->bitmap;
    int64_t left = penX + glyph->bitmap_left, top = int64_t{y} + context->ascent - glyph->bitmap_top;
    for (unsigned row = 0; row < bitmap.rows; ++row) {
      const uint8_t* bits = bitmap.buffer + static_cast<ptrdiff_t>(row) * bitmap.pitch;
      for (unsigned column = 0; column < bitmap.width; ++column)
        if (bits[column >> 3] & (0x80 >> (column & 7))) setPixel(plane, left + column, top + row, true);
    }
    penX += (glyph->advance.x + 32) >> 6;
    return true;
  });
}

void end(TextContext* context, uint8_t* pixels) {
  const TextSurface& plane = *context->surface;
  for (int32_t row = 0; row < plane.height; ++row)
    std::memcpy(pixels + static_cast<size_t>(plane.height - 1 - row) * plane.pitch,
                plane.bits.data() + static_cast<size_t>(row) * plane.pitch, plane.pitch);
  delete context;
  sessionLock.unlock();
}

}  // namespace

extern const TextRasterizer kFreeTypeRasterizer = {"freetype", available, createSurface, deleteSurface, begin,
                                                   fit, extent, draw, end};
