// The text rasteriser over GDI. Text goes to the wide functions converted from code page 932
// one character at a time, and the fit comes back as Shift-JIS bytes, so the layout is the
// same on every system locale. A font whose face the system lacks, and the default font of a
// system that is not Japanese, are drawn with an installed Japanese face of the same height and
// weight, never with a face that shows empty boxes.
#include <algorithm>
#include <cwchar>
#include <map>
#include <mutex>
#include <string>
#include <vector>

#include "base/os/win32_text.h"
#include "graphics/font/shift_jis.h"
#include "graphics/font/text_rasterizer.h"

struct TextSurface {
  HBITMAP bitmap;
  int32_t width, height;
};

struct TextContext {
  HDC dc;
  TextSurface* surface;
  HGDIOBJ formerBitmap = nullptr;
  HGDIOBJ formerFont = nullptr;
  HFONT replacement = nullptr;  // made here for a face the system lacks
  std::wstring wide;  // the last text, one unit per character
  std::vector<int32_t> ends;  // the byte behind each of its characters
};

namespace {

// Katakana middle dot, the default character of code page 932.
constexpr wchar_t kDefaultCharacter = L'\x30FB';

void toWide(TextContext& context, const char* text, int32_t length) {
  context.wide.clear();
  context.ends.clear();
  for (size_t i = 0; i < static_cast<size_t>(length);) {
    size_t next = sjis::next(text, i, static_cast<size_t>(length));
    wchar_t unit = static_cast<uint8_t>(text[i]);
    if (unit >= 0x80 &&
        MultiByteToWideChar(os::kShiftJis, 0, text + i, static_cast<int>(next - i), &unit, 1) != 1)
      unit = kDefaultCharacter;
    context.wide.push_back(unit);
    context.ends.push_back(static_cast<int32_t>(next));
    i = next;
  }
}

// Debian's IPA Gothic through Wine's drive of the Unix root, for a system where GDI sees no
// Japanese face at all.
constexpr wchar_t kFallbackFontFile[] = L"Z:\\usr\\share\\fonts\\opentype\\ipafont-gothic\\ipag.ttf";

struct JapaneseFaces {
  std::wstring fixedPitch, variablePitch;
};

int CALLBACK noteFace(const LOGFONTW*, const TEXTMETRICW*, DWORD, LPARAM found) {
  *reinterpret_cast<bool*>(found) = true;
  return 0;
}

// Horizontal faces that draw Shift-JIS; of each pitch the first by name, so that a system
// always makes the same choice.
int CALLBACK noteJapaneseFace(const LOGFONTW* font, const TEXTMETRICW*, DWORD, LPARAM faces) {
  if (font->lfFaceName[0] == L'@') return 1;
  auto& found = *reinterpret_cast<JapaneseFaces*>(faces);
  std::wstring& slot = (font->lfPitchAndFamily & 3) == FIXED_PITCH ? found.fixedPitch : found.variablePitch;
  if (slot.empty() || std::wcscmp(font->lfFaceName, slot.c_str()) < 0) slot = font->lfFaceName;
  return 1;
}

bool systemHasFace(HDC dc, const wchar_t* face) {
  LOGFONTW query{};
  query.lfCharSet = DEFAULT_CHARSET;
  std::wcsncpy(query.lfFaceName, face, LF_FACESIZE - 1);
  bool found = false;
  EnumFontFamiliesExW(dc, &query, noteFace, reinterpret_cast<LPARAM>(&found), 0);
  return found;
}

JapaneseFaces enumerateJapaneseFaces(HDC dc) {
  LOGFONTW query{};
  query.lfCharSet = SHIFTJIS_CHARSET;
  JapaneseFaces faces;
  EnumFontFamiliesExW(dc, &query, noteJapaneseFace, reinterpret_cast<LPARAM>(&faces), 0);
  return faces;
}

std::mutex facesLock;
std::map<std::wstring, bool> lackedFaces;  // faces asked for: whether the system lacks them

bool systemLacksFace(HDC dc, const wchar_t* face) {
  if (face[0] == 0) return true;
  std::lock_guard<std::mutex> hold(facesLock);
  auto known = lackedFaces.find(face);
  if (known == lackedFaces.end()) known = lackedFaces.emplace(face, !systemHasFace(dc, face)).first;
  return known->second;
}

// An installed Japanese face, of the pitch asked for if there is one; "" if there is none.
std::wstring japaneseFace(HDC dc, BYTE pitchAndFamily) {
  std::lock_guard<std::mutex> hold(facesLock);
  static const JapaneseFaces faces = [dc] {
    JapaneseFaces found = enumerateJapaneseFaces(dc);
    if (found.fixedPitch.empty() && found.variablePitch.empty() &&
        AddFontResourceExW(kFallbackFontFile, FR_PRIVATE, nullptr) > 0)
      found = enumerateJapaneseFaces(dc);
    return found;
  }();
  bool variable = (pitchAndFamily & 3) == VARIABLE_PITCH;
  const std::wstring& preferred = variable ? faces.variablePitch : faces.fixedPitch;
  return preferred.empty() ? (variable ? faces.fixedPitch : faces.variablePitch) : preferred;
}

// A Japanese face of the same height and weight in place of a font that would show empty
// boxes: the module's font when the system lacks its face, the device's default font when it
// has no Shift-JIS (a system that is not Japanese). Null when the font will do.
HFONT makeReplacement(HDC dc, HFONT font) {
  HFONT source = font ? font : static_cast<HFONT>(GetCurrentObject(dc, OBJ_FONT));
  LOGFONTW request{};
  if (GetObjectW(source, sizeof request, &request) != sizeof request) return nullptr;
  bool replace = font ? systemLacksFace(dc, request.lfFaceName) : GetTextCharset(dc) != SHIFTJIS_CHARSET;
  std::wstring face = replace ? japaneseFace(dc, request.lfPitchAndFamily) : std::wstring();
  if (face.empty()) return nullptr;
  std::wcsncpy(request.lfFaceName, face.c_str(), LF_FACESIZE - 1);
  request.lfCharSet = SHIFTJIS_CHARSET;
  return CreateFontIndirectW(&request);
}

bool available() { return true; }

TextSurface* createSurface(int32_t width, int32_t height) {
  // Rows of a device bitmap are padded to 16 bits.
  std::vector<uint8_t> clear((static_cast<size_t>(width) + 15) / 16 * 2 * static_cast<size_t>(height));
  HBITMAP bitmap = CreateBitmap(width, height, 1, 1, clear.data());
  return bitmap ? new TextSurface{bitmap, width, height} : nullptr;
}

void deleteSurface(TextSurface* surface) {
  DeleteObject(surface->bitmap);
  delete surface;
}

TextContext* begin(TextSurface* surface, HFONT font) {
  HDC dc = CreateCompatibleDC(nullptr);
  if (!dc) return nullptr;
  auto* context = new TextContext{dc, surface, nullptr, nullptr, nullptr, {}, {}};
  context->formerBitmap = SelectObject(dc, surface->bitmap);
  context->replacement = makeReplacement(dc, font);
  if (HFONT chosen = context->replacement ? context->replacement : font)
    context->formerFont = SelectObject(dc, chosen);
  SetBkColor(dc, RGB(0, 0, 0));
  SetBkMode(dc, OPAQUE);
  SetTextColor(dc, RGB(255, 255, 255));
  return context;
}

bool fit(TextContext* context, const char* text, int32_t length, int32_t maxWidth, int32_t* fitBytes,
         int32_t* height) {
  toWide(*context, text, length);
  int fitCharacters = 0;
  SIZE size{};
  // GDI takes a negative width for no limit; here nothing fits it.
  if (!GetTextExtentExPointW(context->dc, context->wide.data(), static_cast<int>(context->wide.size()),
                             std::max(maxWidth, 0), &fitCharacters, nullptr, &size))
    return false;
  *fitBytes = maxWidth < 0 || fitCharacters <= 0 ? 0 : context->ends[static_cast<size_t>(fitCharacters) - 1];
  *height = size.cy;
  return true;
}

SIZE extent(TextContext* context, const char* text, int32_t length) {
  toWide(*context, text, length);
  SIZE size{};
  if (!context->wide.empty())
    GetTextExtentPoint32W(context->dc, context->wide.data(), static_cast<int>(context->wide.size()), &size);
  return size;
}

void draw(TextContext* context, int32_t x, int32_t y, const char* text, int32_t length) {
  toWide(*context, text, length);
  TextOutW(context->dc, x, y, context->wide.data(), static_cast<int>(context->wide.size()));
}

void end(TextContext* context, uint8_t* pixels) {
  HDC dc = context->dc;
  // GetDIBits wants the bitmap out of the device context.
  SelectObject(dc, context->formerBitmap);
  if (context->formerFont) SelectObject(dc, context->formerFont);
  struct {
    BITMAPINFOHEADER header;
    RGBQUAD colours[2];
  } info{};
  info.header = {sizeof(BITMAPINFOHEADER), context->surface->width, context->surface->height, 1, 1, BI_RGB,
                 0, 0, 0, 2, 2};
  info.colours[1] = {255, 255, 255, 0};
  GetDIBits(dc, context->surface->bitmap, 0, static_cast<UINT>(context->surface->height), pixels,
            reinterpret_cast<BITMAPINFO*>(&info), DIB_RGB_COLORS);
  DeleteDC(dc);
  if (context->replacement) DeleteObject(context->replacement);
  delete context;
}

}  // namespace

extern const TextRasterizer kGdiRasterizer = {"gdi", available, createSurface, deleteSurface, begin, fit,
                                              extent, draw, end};
