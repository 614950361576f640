#include "debugger/pane_text.h"

#include <cstdarg>
#include <cstdio>
#include <cstring>
#include <memory>

#include "files/string_stream.h"

namespace pane_text {

namespace {

constexpr uint32_t kCellWidth = 8;
constexpr uint32_t kBytesPerRow = 16;
// "履歴はありません"
constexpr const char kNoHistory[] = "\x97\x9a\x97\xf0\x82\xcd\x82\xa0\x82\xe8\x82\xdc\x82\xb9\x82\xf1";

std::string format(const char* pattern, ...) __attribute__((format(printf, 1, 2)));
std::string format(const char* pattern, ...) {
  char text[256];
  va_list arguments;
  va_start(arguments, pattern);
  std::vsnprintf(text, sizeof text, pattern, arguments);
  va_end(arguments);
  return text;
}

uint32_t little(const uint8_t* bytes, uint32_t width) {
  uint32_t value = 0;
  for (uint32_t i = width; i-- > 0;) value = value << 8 | bytes[i];
  return value;
}

// One unit of a variable's row in its format.
std::string unitText(const uint8_t* bytes, uint32_t width, bool decimal) {
  uint32_t value = little(bytes, width);
  switch (width) {
    case 4: return decimal ? format("%11d,", static_cast<int32_t>(value)) : format("%08X ", value);
    case 2: return decimal ? format("%6d,", static_cast<int16_t>(value)) : format("%04X ", value);
    default: return decimal ? format("%4d,", static_cast<int8_t>(value)) : format("%02X ", value);
  }
}

}  // namespace

std::string historyRow(const CZPKDebugSession& session, uint32_t row) {
  int32_t procedure = session.HistoryRow(row);
  return procedure < 0 ? kNoHistory : session.ProcedureName(procedure);
}

std::array<std::string, 4> registerRows(const CONTEXT& c) {
  auto u = [](DWORD value) { return static_cast<unsigned>(value); };  // DWORD is a long on Win32
  return {format(" CS:EIP = %04X:%08X , EFLAGS = %08X", u(c.SegCs), u(c.Eip), u(c.EFlags)),
          format(" EAX = %08X , EBX = %08X , ECX = %08X , EDX = %08X", u(c.Eax), u(c.Ebx), u(c.Ecx), u(c.Edx)),
          format(" ESI = %08X , EDI = %08X , EBP = %08X , ESP = %08X", u(c.Esi), u(c.Edi), u(c.Ebp), u(c.Esp)),
          format(" DS = %04X , ES = %04X , FS = %04X , GS = %04X", u(c.SegDs), u(c.SegEs), u(c.SegFs), u(c.SegGs))};
}

StackRow stackRow(uint32_t esp, uint32_t row, MemoryReader read) {
  StackRow text{format(" +%08X :", row * 16), {}};
  for (uint32_t column = 0; column < 4; ++column) {
    uint32_t word;
    text.columns[column] = read(esp + row * 16 + column * 4, &word, 4) ? format("%08X", word) : "--------";
  }
  return text;
}

std::string memoryRow(uint32_t address, MemoryReader read) {
  std::string text = format("%08X : ", address);
  char shown[kBytesPerRow + 1] = {};
  for (uint32_t i = 0; i < kBytesPerRow; ++i) {
    uint8_t byte;
    bool readable = read(address + i, &byte, 1);
    text += readable ? format("%02X ", byte) : std::string("-- ");
    shown[i] = !readable ? ' ' : (byte < 0x20 || byte > 0x7F) ? '.' : static_cast<char>(byte);
  }
  return text + format("%16s", shown);
}

uint32_t memoryTopRow(const char* addressText) {
  std::unique_ptr<StringStream> text(StringStream::Create(addressText, static_cast<int32_t>(std::strlen(addressText))));
  uint32_t address = text ? static_cast<uint32_t>(text->GetInteger()) : 0;
  return (address >> 4) & 0x0FFFFFFF;
}

std::string memoryAddressText(uint32_t topRow) { return format("%08XH", topRow * kBytesPerRow); }

uint32_t unitWidth(uint32_t size, const VariableFormat& format) {
  uint32_t width = size % 4 == 0 ? 4 : size % 2 == 0 ? 2 : 1;
  return width < format.maxWidth ? width : format.maxWidth;
}

std::vector<std::string> variableRows(uint32_t address, const uint8_t* bytes, uint32_t size,
                                      const VariableFormat& format) {
  uint32_t width = unitWidth(size, format);
  std::vector<std::string> rows;
  for (uint32_t start = 0; start < size; start += kBytesPerRow) {
    std::string row = pane_text::format(" : %08X :", address + start);
    for (uint32_t at = start; at < start + kBytesPerRow && at + width <= size; at += width)
      row += unitText(bytes + at, width, format.decimal);
    row.pop_back();
    rows.push_back(row);
  }
  return rows;
}

int32_t variableNameX(uint32_t longestName, uint32_t length, int32_t left) {
  return (static_cast<int32_t>(longestName) - static_cast<int32_t>(length) - left) * static_cast<int32_t>(kCellWidth) +
         16;
}

uint32_t variableRange(uint32_t longestName, const VariableFormat& format) {
  return longestName + kBytesPerRow * (format.decimal ? 4 : 3) + 17;
}

}  // namespace pane_text
