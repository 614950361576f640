#include "base/error.h"

#include <atomic>
#include <cstdarg>
#include <cstdio>

#include "base/internal.h"
#include "base/os/os.h"

namespace {

constexpr vk_internal::CodeText kErrorTexts[] = {
    {0, "The function was successfull."},
    {1, "The allocation for memory failed."},
    {2, "The invalid value was specified."},
    {3, "The invalid address was specified."},
    {4, "The specified function is not supported."},
    {5, "The overflow of internal memory occured."},
    {0x10000, "The other errors."},
    {0x10001, "The error about file operation"},
    {0x10002, "The error about sound operation"},
    {0x10003, "The error about MIDI operation"},
    {0x10004, "The error about image operation"},
    {0x10005, "The error about movie operation"},
    {0xFFFFFFFF, "The unknown error."},
};

// Shift-JIS texts of the drawing core's status codes.
constexpr const char* kDrawingTexts[] = {
    "\x8a\xd6\x90\x94\x82\xaa\x90\xac\x8c\xf7\x82\xb5\x82\xdc\x82\xb5\x82\xbd\x81\x42",
    "\x83\x66\x83\x74\x83\x48\x83\x8b\x83\x67\x83\x47\x83\x89\x81\x5b\x82\xc5\x82\xb7\x81\x42",
    "\x83\x81\x83\x82\x83\x8a\x82\xaa\x95\x73\x91\xab\x82\xb5\x82\xc4\x82\xa2\x82\xdc\x82\xb7\x81\x42",
    "\x8e\x77\x92\xe8\x82\xcc\x8b\x40\x94\x5c\x82\xcd\x83\x54\x83\x7c\x81\x5b\x83\x67\x82\xb3\x82\xea"
    "\x82\xc4\x82\xa2\x82\xdc\x82\xb9\x82\xf1\x81\x42",
    "\x96\xb3\x8c\xf8\x82\xc8\x83\x70\x83\x89\x83\x81\x81\x5b\x83\x5e\x82\xf0\x8e\x77\x92\xe8\x82\xb5"
    "\x82\xc4\x82\xa2\x82\xdc\x82\xb7\x81\x42",
    "\x96\xb3\x8c\xf8\x82\xc8\x83\x41\x83\x68\x83\x8c\x83\x58\x82\xf0\x8e\x77\x92\xe8\x82\xb5\x82\xc4"
    "\x82\xa2\x82\xdc\x82\xb7\x81\x42",
    "\x96\xb3\x8c\xf8\x82\xc8\x83\x47\x83\x89\x81\x5b\x83\x52\x81\x5b\x83\x68\x82\xc5\x82\xb7\x81\x42",
};
constexpr uint32_t kDrawingTextCount = sizeof(kDrawingTexts) / sizeof(kDrawingTexts[0]);

constexpr const char* kCaption = "VomarKit Message";
constexpr size_t kMessageBufferSize = 0x4000;

// Written once before threads start in the product; atomic because tests change it.
std::atomic<uint32_t> errorMode{VK_MODE_RAISE_FATAL};

bool isFatal(uint32_t code) { return (code & 0x20000) || (code != 0 && !(code & 0x10000)); }

const char* orEmpty(const char* text) { return text ? text : ""; }

}  // namespace

uint32_t vkSetError(uint32_t code, uint32_t extra, const char* source, int32_t line,
                    const char* message) {
  VKERRORRECORD* record = vkGetErrorRecord();
  record->code = code;
  record->extra = extra;
  record->source = source;
  record->line = line;
  record->message = message;
  uint32_t mode = errorMode.load(std::memory_order_relaxed);
  // Successes are not shown: a box after every library call would make the mode unusable.
  if ((mode & VK_MODE_SHOW_ALL) && code != VK_OK) {
    vkMessageBox(
        "VomarKit Error Information\n\n%s\n%s\n\nError-Code : %08XH, Extra-Code : %08XH\n"
        "Source-File : %s\nLine-Number : %d",
        MB_ICONINFORMATION | MB_SETFOREGROUND, vkGetErrorText(code), orEmpty(message), code,
        extra, orEmpty(source), line);
  }
  if ((mode & VK_MODE_RAISE_FATAL) && isFatal(code)) os::raiseException(VK_ERROR_EXCEPTION);
  return code;
}

uint32_t vkGetLastError() { return vkGetErrorRecord()->code; }

const char* vkGetErrorText(uint32_t code) {
  return vk_internal::textOfCode(kErrorTexts, code);
}

const char* vkGetDrawingErrorText(uint32_t status) {
  return kDrawingTexts[status < kDrawingTextCount ? status : kDrawingTextCount - 1];
}

void vkSetErrorMode(uint32_t flags) {
  errorMode.store(flags, std::memory_order_relaxed);
  vkSucceed();
}

int vkMessageBox(const char* format, uint32_t flags, ...) {
  char* text = static_cast<char*>(
      vk_internal::allocateWithRetry(kMessageBufferSize, [] { return os::heapAlloc(kMessageBufferSize, true); }));
  if (!text) {
    vkSetError(VK_ERROR_ALLOCATION, 0, "vkMessageBox", __LINE__,
               "The allocation of heap memory was failed.");
    os::breakpointTrap();
    return 0;
  }
  va_list arguments;
  va_start(arguments, flags);
  int length = std::vsnprintf(text, kMessageBufferSize, format, arguments);
  va_end(arguments);
  // vsnprintf stops at the buffer's end; a text that did not fit is still a fault of the caller.
  if (length < 0 || static_cast<size_t>(length) >= kMessageBufferSize) os::breakpointTrap();
  int answer = os::messageBox(text, kCaption, flags);
  os::heapFree(text);
  return answer;
}

namespace vk_internal {

int retryAllocation(size_t requestedBytes) {
  // Formatted here rather than by vkMessageBox, which would need memory itself.
  char text[256];
  std::snprintf(text, sizeof(text),
                "The memory allocation failed.\nThe requested size is %d [bytes].\n"
                "You can close other alplications, and free memory.\nDo you retry the allocation?",
                static_cast<int>(requestedBytes));
  return os::messageBox(text, kCaption, MB_RETRYCANCEL | MB_ICONEXCLAMATION | MB_SETFOREGROUND);
}

}  // namespace vk_internal
