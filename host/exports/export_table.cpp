#include "host/exports/export_table.h"

#include <algorithm>
#include <array>
#include <cstring>

#include "host/exports/archive.h"
#include "host/exports/file.h"

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
    RUNA1_EXPORT_ROW(VRFFile_SetDefaultVRFID, 4),
    RUNA1_EXPORT_ROW(KORALArchive_Open, 8),
    RUNA1_EXPORT_ROW(KORALArchive_Close, 4),
    RUNA1_EXPORT_ROW(KORALArchive_DescendDirectory, 8),
    RUNA1_EXPORT_ROW(KORALArchive_AscendDirectory, 4),
    RUNA1_EXPORT_ROW(KORALArchive_GetCurrentDirecotry, 4),
    RUNA1_EXPORT_ROW(KORALArchive_DescendFile, 8),
    RUNA1_EXPORT_ROW(KORALArchive_AscendFile, 4),
    RUNA1_EXPORT_ROW(KORALArchive_GetFileHandle, 4),
    RUNA1_EXPORT_ROW(KORALArchive_GetRawFile, 4),
    // String stream and text resources
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
