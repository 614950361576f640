// The library's report channel: every library function ends by vkSetError, which records the
// outcome in the calling thread's record and returns the code (0 for success).
#pragma once

#include <cstdint>

struct VKERRORRECORD {
  uint32_t code;
  uint32_t extra;
  const char* source;
  int32_t line;
  const char* message;
  uint32_t attachCount;  // attach calls of the thread; not part of the report
};

// Error codes. Bit 0x10000 marks errors the caller handles; the others are fatal.
enum : uint32_t {
  VK_OK = 0,
  VK_ERROR_ALLOCATION = 1,
  VK_ERROR_INVALID_VALUE = 2,
  VK_ERROR_INVALID_ADDRESS = 3,
  VK_ERROR_NOT_SUPPORTED = 4,
  VK_ERROR_OVERFLOW = 5,
  VK_ERROR_OTHER = 0x10000,
  VK_ERROR_FILE = 0x10001,
  VK_ERROR_SOUND = 0x10002,
  VK_ERROR_MIDI = 0x10003,
  VK_ERROR_IMAGE = 0x10004,
  VK_ERROR_MOVIE = 0x10005,
};

// Error mode flags: fatal codes raise the error exception; every report is shown in a box.
enum : uint32_t {
  VK_MODE_RAISE_FATAL = 2,
  VK_MODE_SHOW_ALL = 4,
};

// The continuable software exception of fatal reports; its low three bytes spell "VKT".
constexpr uint32_t VK_ERROR_EXCEPTION = 0x00544B56;

// Records a report in this thread's record and returns `code`. Under VK_MODE_RAISE_FATAL,
// a code with bit 0x20000, or a nonzero code without bit 0x10000, raises VK_ERROR_EXCEPTION.
uint32_t vkSetError(uint32_t code, uint32_t extra, const char* source, int32_t line,
                    const char* message);
uint32_t vkGetLastError();
// This thread's record. A thread that never attached gets one on first use, freed when it ends.
VKERRORRECORD* vkGetErrorRecord();
// The English text of an error code; unknown codes give "The unknown error.".
const char* vkGetErrorText(uint32_t code);
// The Shift-JIS text of a drawing-core status; indexes of 6 and more give the last text.
const char* vkGetDrawingErrorText(uint32_t status);
void vkSetErrorMode(uint32_t flags);
// Formats like printf into a 0x4000-byte buffer and shows it in a box captioned
// "VomarKit Message"; gives the button pressed. A longer text is a breakpoint trap, and only
// its beginning is shown.
int vkMessageBox(const char* format, uint32_t flags, ...) __attribute__((format(printf, 1, 3)));

// The success report that closes every library function.
inline uint32_t vkSucceed() { return vkSetError(VK_OK, 0, nullptr, -1, nullptr); }
