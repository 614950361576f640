// The texts of the debug panes, as they are painted: rows of the call history, the registers,
// the stack, the memory and the variables. Shift-JIS, like every text of the host.
#pragma once

#include <array>
#include <cstdint>
#include <string>
#include <vector>

#include "base/os/win32_types.h"
#include "debugger/debug_session.h"

namespace pane_text {

// Row `row` of the call history pane: the procedure's name, or "履歴はありません".
std::string historyRow(const CZPKDebugSession& session, uint32_t row);

std::array<std::string, 4> registerRows(const CONTEXT& context);

// Copies `bytes` at `address` when they can all be read.
using MemoryReader = bool (*)(uint32_t address, void* out, size_t bytes);

// Row `row` of the stack pane from the saved ESP: " +%08X :" with the row's offset, then the
// four words of its columns ("--------" where the place cannot be read).
struct StackRow {
  std::string offset;
  std::array<std::string, 4> columns;
};
StackRow stackRow(uint32_t esp, uint32_t row, MemoryReader read);

// A row of the memory pane: address, 16 bytes and the bytes as text, in which every byte below
// 0x20 or above 0x7F reads as a full stop; bytes that cannot be read show as "--" and blanks.
std::string memoryRow(uint32_t address, MemoryReader read);

// The memory pane's top row from the text of its address edit, in any integer form that the
// text scanner reads ("402000H", "4202496"): the address / 16, within 0x0FFFFFFF.
uint32_t memoryTopRow(const char* addressText);
// The address edit's text for a top row: "%08XH".
std::string memoryAddressText(uint32_t topRow);

// How the variable pane shows the bytes of a variable.
struct VariableFormat {
  uint32_t maxWidth = 4;  // 4, 2 or 1: the widest unit the width may take
  bool decimal = false;
};
// The unit of a variable of `size` bytes: 4 for a multiple of 4, 2 for another even size, 1
// for an odd one, and never more than the format's maximum.
uint32_t unitWidth(uint32_t size, const VariableFormat& format);
// The rows of a variable at `address`, 16 bytes each: " : %08X :" and the units, the row's
// last character dropped. `bytes` are the variable's `size` bytes.
std::vector<std::string> variableRows(uint32_t address, const uint8_t* bytes, uint32_t size,
                                      const VariableFormat& format);
// Where a name of `length` characters starts, right-aligned before the address column, in
// pixels, with the pane scrolled `left` characters.
int32_t variableNameX(uint32_t longestName, uint32_t length, int32_t left);
// The pane's width in characters.
uint32_t variableRange(uint32_t longestName, const VariableFormat& format);

}  // namespace pane_text
