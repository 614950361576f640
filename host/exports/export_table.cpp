#include "host/exports/export_table.h"

#include <algorithm>
#include <array>
#include <cstring>

#include "host/exports/file.h"
#include "host/exports/text.h"

namespace {

// One section per family; each row states the argument bytes of the decorated name.
const ExportEntry kRows[] = {
    // File objects
    RUNA1_EXPORT_ROW(File_OpenFile, 8),
    RUNA1_EXPORT_ROW(File_CloseFile, 4),
    RUNA1_EXPORT_ROW(File_Read, 12),
    RUNA1_EXPORT_ROW(File_Write, 12),
    RUNA1_EXPORT_ROW(File_Seek, 12),
    RUNA1_EXPORT_ROW(File_GetLength, 4),
    RUNA1_EXPORT_ROW(File_GetPosition, 4),
    RUNA1_EXPORT_ROW(File_GetFileName, 8),
    RUNA1_EXPORT_ROW(File_GetFilePath, 8),
    RUNA1_EXPORT_ROW(File_GetFileHandle, 4),
    // Module loader and host services
    // Numeric helpers
    // Record files and archives
    // String stream and text resources
    RUNA1_EXPORT_ROW(strmstr_Create, 8),
    RUNA1_EXPORT_ROW(strmstr_LoadText, 4),
    RUNA1_EXPORT_ROW(strmstr_Delete, 4),
    RUNA1_EXPORT_ROW(strmstr_GetBuffer, 4),
    RUNA1_EXPORT_ROW(strmstr_GetLength, 4),
    RUNA1_EXPORT_ROW(strmstr_GetIndex, 4),
    RUNA1_EXPORT_ROW(strmstr_GetLastIndex, 4),
    RUNA1_EXPORT_ROW(strmstr_SetIndex, 8),
    RUNA1_EXPORT_ROW(strmstr_GetChar, 4),
    RUNA1_EXPORT_ROW(strmstr_GetCurrentChar, 4),
    RUNA1_EXPORT_ROW(strmstr_DisableSpace, 4),
    RUNA1_EXPORT_ROW(strmstr_GetString, 8),
    RUNA1_EXPORT_ROW(strmstr_GetLine, 8),
    RUNA1_EXPORT_ROW(strmstr_GetEnclosedString, 12),
    RUNA1_EXPORT_ROW(strmstr_GetValue, 4),
    RUNA1_EXPORT_ROW(strmstr_IsNumberString, 4),
    RUNA1_EXPORT_ROW(strmstr_GetInteger, 4),
    RUNA1_EXPORT_ROW(strmstr_SetSpaceCode, 8),
    RUNA1_EXPORT_ROW(strmstr_SetSeparateCode, 8),
    RUNA1_EXPORT_ROW(strmstr_IsOverflowIndex, 4),
    RUNA1_EXPORT_ROW(strmstr_IsSeparatorCode, 8),
    RUNA1_EXPORT_ROW(strmstr_IsSeparator, 4),
    RUNA1_EXPORT_ROW(strmstr_Format, 12),
    RUNA1_EXPORT_ROW(TextRes_ReadText, 4),
    RUNA1_EXPORT_ROW(TextRes_Delete, 4),
    RUNA1_EXPORT_ROW(TextRes_GetLabelIndex, 8),
    RUNA1_EXPORT_ROW(TextRes_MoveToLabel, 8),
    // Images, views, fonts, z-buffer
    // Drawing core
    // 3D
    // Sound, music, timers, movie
    // Menu screens
};

constexpr size_t kCount = sizeof(kRows) / sizeof(kRows[0]);

bool byName(const ExportEntry& a, const ExportEntry& b) { return std::strcmp(a.name, b.name) < 0; }

const std::array<ExportEntry, kCount>& sortedRows() {
  static const std::array<ExportEntry, kCount> rows = [] {
    std::array<ExportEntry, kCount> sorted;
    std::copy(std::begin(kRows), std::end(kRows), sorted.begin());
    std::sort(sorted.begin(), sorted.end(), byName);
    return sorted;
  }();
  return rows;
}

}  // namespace

std::span<const ExportEntry> exportTable() { return sortedRows(); }

const ExportEntry* findExport(const char* decoratedName) {
  const auto& rows = sortedRows();
  ExportEntry key{decoratedName, nullptr, 0};
  auto it = std::lower_bound(rows.begin(), rows.end(), key, byName);
  return it != rows.end() && std::strcmp(it->name, decoratedName) == 0 ? &*it : nullptr;
}
