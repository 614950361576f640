#include "host/exports/export_table.h"

#include <algorithm>
#include <array>
#include <cstring>

#include "host/exports/archive.h"
#include "host/exports/drawing_core.h"
#include "host/exports/file.h"
#include "host/exports/font.h"
#include "host/exports/galleries.h"
#include "host/exports/graphic.h"
#include "host/exports/k3d.h"
#include "host/exports/main_window.h"
#include "host/exports/menus.h"
#include "host/exports/midi.h"
#include "host/exports/module.h"
#include "host/exports/molaq_image.h"
#include "host/exports/movie.h"
#include "host/exports/numeric.h"
#include "host/exports/record_file.h"
#include "host/exports/screens.h"
#include "host/exports/sequences.h"
#include "host/exports/pcm.h"
#include "host/exports/services.h"
#include "host/exports/string_stream.h"
#include "host/exports/system.h"
#include "host/exports/text_resource.h"
#include "host/exports/timer.h"
#include "host/exports/view.h"
#include "host/exports/zbuffer.h"
#include "host/exports/wave_mixer.h"

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
    RUNA1_EXPORT_ROW(ZPK_LoadZPKModuleFile, 4),
    RUNA1_EXPORT_ROW(ZPK_DeleteZPKModule, 4),
    RUNA1_EXPORT_ROW(ZPK_GetProcedureAddress, 8),
    RUNA1_EXPORT_ROW(ZPK_GetVariableAddress, 8),
    RUNA1_EXPORT_ROW(ZPK_CallProcedure, 16),
    RUNA1_EXPORT_ROW(ZPK_GetLastErrorMessage, 4),
    RUNA1_EXPORT_ROW(ZPK_GetBaseDirectory, 4),
    RUNA1_EXPORT_ROW(ZPK_GetResourceID, 8),
    RUNA1_EXPORT_ROW(ZPK_GetResourceLength, 8),
    RUNA1_EXPORT_ROW(ZPK_OpenResource, 8),
    RUNA1_EXPORT_ROW(ZPK_SetRegistryKey, 8),
    RUNA1_EXPORT_ROW(ZPK_GetProfileInt, 12),
    RUNA1_EXPORT_ROW(ZPK_WriteProfileInt, 12),
    RUNA1_EXPORT_ROW(ZPK_GetProfileString, 12),
    RUNA1_EXPORT_ROW(ZPK_WriteProfileString, 12),
    RUNA1_EXPORT_ROW(ZPK_IsShowCursor, 0),
    RUNA1_EXPORT_ROW(ZPK_SetShowCursor, 4),
    RUNA1_EXPORT_ROW(ZPK_GetDisplaySize, 4),
    RUNA1_EXPORT_ROW(ZPK_GetDisplayBitsPerPixel, 0),
    RUNA1_EXPORT_ROW(ZPK_TestDisplayMode, 12),
    RUNA1_EXPORT_ROW(ZPK_CompareExchange, 12),
    RUNA1_EXPORT_ROW(InitializeSystem, 16),
    RUNA1_EXPORT_ROW(InitializeMainWindow, 16),
    RUNA1_EXPORT_ROW(GetDefaultWndClass, 4),
    RUNA1_EXPORT_ROW(CalcDefaultWindowRect, 4),
    RUNA1_EXPORT_ROW(ZPK_BeginThread, 16),
    RUNA1_EXPORT_ROW(ZPK_EndThread, 4),
    RUNA1_EXPORT_ROW(ZPK_GetThreadHandle, 4),
    RUNA1_EXPORT_ROW(ZPK_GetThreadId, 4),
    // Main window and message loop
    RUNA1_EXPORT_ROW(ZPK_GetMainWindow, 0),
    RUNA1_EXPORT_ROW(ZPK_SetMainWndProc, 4),
    RUNA1_EXPORT_ROW(ZPK_OpenMainWndProcEx, 8),
    RUNA1_EXPORT_ROW(ZPK_CloseMainWndProcEx, 4),
    RUNA1_EXPORT_ROW(ZPK_SetWndMessageProc, 8),
    RUNA1_EXPORT_ROW(ZPK_ClipCursor, 4),
    RUNA1_EXPORT_ROW(ZPK_ChangeDisplayMode, 8),
    RUNA1_EXPORT_ROW(ZPK_RestoreDisplayMode, 0),
    RUNA1_EXPORT_ROW(ZPK_StopMessageLoop, 0),
    RUNA1_EXPORT_ROW(ZPK_RestartMessageLoop, 0),
    // Numeric helpers
    RUNA1_EXPORT_ROW(float_Init, 0),
    RUNA1_EXPORT_ROW(float_Round, 4),
    RUNA1_EXPORT_ROW(float_Abs, 4),
    RUNA1_EXPORT_ROW(float_ChS, 4),
    RUNA1_EXPORT_ROW(float_Add, 8),
    RUNA1_EXPORT_ROW(float_Sub, 8),
    RUNA1_EXPORT_ROW(float_Mul, 8),
    RUNA1_EXPORT_ROW(float_Div, 8),
    RUNA1_EXPORT_ROW(float_IAdd, 8),
    RUNA1_EXPORT_ROW(float_ISub, 8),
    RUNA1_EXPORT_ROW(float_IMul, 8),
    RUNA1_EXPORT_ROW(float_IDiv, 8),
    RUNA1_EXPORT_ROW(float_2XM1, 4),
    RUNA1_EXPORT_ROW(float_YL2X, 8),
    RUNA1_EXPORT_ROW(float_Scale, 8),
    RUNA1_EXPORT_ROW(float_Com, 8),
    RUNA1_EXPORT_ROW(float_ICom, 8),
    RUNA1_EXPORT_ROW(float_Test, 4),
    RUNA1_EXPORT_ROW(float_Sqrt, 4),
    RUNA1_EXPORT_ROW(float_Sin, 4),
    RUNA1_EXPORT_ROW(float_Cos, 4),
    RUNA1_EXPORT_ROW(float_ILD, 4),
    RUNA1_EXPORT_ROW(float_Int, 4),
    RUNA1_EXPORT_ROW(float_LD1, 0),
    RUNA1_EXPORT_ROW(float_Zero, 0),
    RUNA1_EXPORT_ROW(float_PI, 0),
    RUNA1_EXPORT_ROW_NAMED("__stdcallfloat_Log2T", float_Log2T, 0),
    RUNA1_EXPORT_ROW(float_Log2, 0),
    RUNA1_EXPORT_ROW(double_Round, 4),
    RUNA1_EXPORT_ROW(double_Abs, 4),
    RUNA1_EXPORT_ROW(double_ChS, 4),
    RUNA1_EXPORT_ROW(double_Add, 8),
    RUNA1_EXPORT_ROW(double_Sub, 8),
    RUNA1_EXPORT_ROW(double_Mul, 8),
    RUNA1_EXPORT_ROW(double_Div, 8),
    RUNA1_EXPORT_ROW(double_IAdd, 8),
    RUNA1_EXPORT_ROW(double_ISub, 8),
    RUNA1_EXPORT_ROW(double_IMul, 8),
    RUNA1_EXPORT_ROW(double_IDiv, 8),
    RUNA1_EXPORT_ROW(double_2XM1, 4),
    RUNA1_EXPORT_ROW(double_YL2X, 8),
    RUNA1_EXPORT_ROW(double_Scale, 8),
    RUNA1_EXPORT_ROW(double_Com, 8),
    RUNA1_EXPORT_ROW(double_ICom, 8),
    RUNA1_EXPORT_ROW(double_Test, 4),
    RUNA1_EXPORT_ROW(double_Sqrt, 4),
    RUNA1_EXPORT_ROW(double_Sin, 4),
    RUNA1_EXPORT_ROW(double_Cos, 4),
    RUNA1_EXPORT_ROW(double_ILD, 8),
    RUNA1_EXPORT_ROW(double_Int, 4),
    RUNA1_EXPORT_ROW(double_LD1, 4),
    RUNA1_EXPORT_ROW(double_Zero, 4),
    RUNA1_EXPORT_ROW(double_PI, 4),
    RUNA1_EXPORT_ROW(double_Log2T, 4),
    RUNA1_EXPORT_ROW(double_Log2, 4),
    RUNA1_EXPORT_ROW(ZPK_CPUID, 4),
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
    RUNA1_EXPORT_ROW(graphic_AllocNewBitmap, 0),
    RUNA1_EXPORT_ROW(graphic_CreateBitmap, 12),
    RUNA1_EXPORT_ROW(graphic_ReadBitmap, 4),
    RUNA1_EXPORT_ROW(graphic_WriteBitmap, 8),
    RUNA1_EXPORT_ROW(graphic_DeleteBitmap, 4),
    RUNA1_EXPORT_ROW(graphic_AttachDIBitmap, 12),
    RUNA1_EXPORT_ROW(graphic_DetachDIBitmap, 4),
    RUNA1_EXPORT_ROW(graphic_GetDIBitmap, 12),
    RUNA1_EXPORT_ROW(graphic_ReleaseDIBitmap, 4),
    RUNA1_EXPORT_ROW(graphic_GetImageInfo, 8),
    RUNA1_EXPORT_ROW(graphic_InvalidateRect, 8),
    RUNA1_EXPORT_ROW(graphic_SetPaletteTone, 16),
    RUNA1_EXPORT_ROW(graphic_SetPaletteEntries, 16),
    RUNA1_EXPORT_ROW(graphic_GetPaletteEntries, 16),
    RUNA1_EXPORT_ROW(graphic_UpdatePalette, 4),
    RUNA1_EXPORT_ROW(graphic_RealizePalette, 12),
    RUNA1_EXPORT_ROW(graphic_GetViewRectangle, 8),
    RUNA1_EXPORT_ROW(graphic_SetViewRectangle, 20),
    RUNA1_EXPORT_ROW(graphic_IsPointHit, 12),
    RUNA1_EXPORT_ROW(graphic_DrawBitmapToDC, 24),
    RUNA1_EXPORT_ROW(graphic_SelectZBuffer, 8),
    RUNA1_EXPORT_ROW(graphic_AttachAlphaPlane, 8),
    RUNA1_EXPORT_ROW(graphic_DetachAlphaPlane, 4),
    RUNA1_EXPORT_ROW(graphic_AttachMaskPattern, 8),
    RUNA1_EXPORT_ROW(graphic_DetachMakePattern, 4),
    RUNA1_EXPORT_ROW(graphic_GetAlphaPlaneInfo, 4),
    RUNA1_EXPORT_ROW(graphic_DrawBitmapToBitmap, 28),
    RUNA1_EXPORT_ROW(graphic_DrawFullRectangle, 20),
    RUNA1_EXPORT_ROW(graphic_GetDefConversion8BitColor, 0),
    RUNA1_EXPORT_ROW(graphic_SetDefConversion8BitColor, 4),
    RUNA1_EXPORT_ROW(View_Create, 12),
    RUNA1_EXPORT_ROW(View_Delete, 4),
    RUNA1_EXPORT_ROW(View_AttachScreen, 12),
    RUNA1_EXPORT_ROW(View_DetachScreen, 4),
    RUNA1_EXPORT_ROW(View_DetachAllScreen, 0),
    RUNA1_EXPORT_ROW(View_GetFirstScreen, 0),
    RUNA1_EXPORT_ROW(View_GetNextScreen, 4),
    RUNA1_EXPORT_ROW(View_GetViewWindow, 8),
    RUNA1_EXPORT_ROW(View_GetViewPort, 8),
    RUNA1_EXPORT_ROW(View_SetViewWindow, 8),
    RUNA1_EXPORT_ROW(View_SetViewPort, 8),
    RUNA1_EXPORT_ROW(View_ScrollViewWindow, 12),
    RUNA1_EXPORT_ROW(ZBuffer_Create, 8),
    RUNA1_EXPORT_ROW(ZBuffer_Delete, 4),
    RUNA1_EXPORT_ROW(ZBuffer_Initialize, 8),
    RUNA1_EXPORT_ROW(ZBuffer_InitializeEqual, 12),
    RUNA1_EXPORT_ROW(ZBuffer_InitializeNonEqual, 12),
    // Drawing core
    RUNA1_EXPORT_ROW(MOLAQ_SetDefInterface, 4),
    RUNA1_EXPORT_ROW(MOLAQImage_ReadImageFile, 8),
    // Font images
    RUNA1_EXPORT_ROW(FontGrph_Create, 8),
    RUNA1_EXPORT_ROW_NAMED("_FontGrph_Delete@4", graphic_DeleteBitmap, 4),
    RUNA1_EXPORT_ROW(FontGrph_SelectFont, 12),
    RUNA1_EXPORT_ROW(FontGrph_DrawText, 8),
    RUNA1_EXPORT_ROW(FontGrph_LocateText, 12),
    RUNA1_EXPORT_ROW(FontGrph_GetTextLocation, 8),
    RUNA1_EXPORT_ROW(FontGrph_SetTextClip, 20),
    RUNA1_EXPORT_ROW(FontGrph_SetProbitChars, 8),
    // 3D
    RUNA1_EXPORT_ROW(k3dRevolveXAxis, 16),
    RUNA1_EXPORT_ROW(k3dRevolveYAxis, 16),
    RUNA1_EXPORT_ROW(k3dRevolveZAxis, 16),
    RUNA1_EXPORT_ROW(k3dGetRevolutionYXAxis, 12),
    RUNA1_EXPORT_ROW(k3dClipZBelow, 16),
    RUNA1_EXPORT_ROW(k3dProject2DScreen, 20),
    RUNA1_EXPORT_ROW(k3dClipDispRect, 16),
    RUNA1_EXPORT_ROW(k3dNormalizeForDrawPolygon, 24),
    RUNA1_EXPORT_ROW(k3dDrawTexturePlygon, 36),
    RUNA1_EXPORT_ROW(k3dDrawAFrameScreen, 28),
    RUNA1_EXPORT_ROW(k3dSelectPlaceOnMap, 36),
    // Wave mixer and sounds
    RUNA1_EXPORT_ROW(WaveMixer_Open, 20),
    RUNA1_EXPORT_ROW(WaveMixer_Close, 0),
    RUNA1_EXPORT_ROW(WaveMixer_GetTotalVolume, 4),
    RUNA1_EXPORT_ROW(WaveMixer_SetTotalVolume, 8),
    RUNA1_EXPORT_ROW(PCM_ReadWave, 4),
    RUNA1_EXPORT_ROW(PCM_Delete, 4),
    RUNA1_EXPORT_ROW(PCM_WriteWave, 8),
    RUNA1_EXPORT_ROW(PCM_PlayWave, 12),
    RUNA1_EXPORT_ROW(PCM_PlayMusic, 16),
    RUNA1_EXPORT_ROW(PCM_GetWaveFormat, 4),
    RUNA1_EXPORT_ROW(PCM_GetCurrentPosition, 4),
    RUNA1_EXPORT_ROW(PCM_GetVolumeStream, 20),
    RUNA1_EXPORT_ROW(PCM_StopWave, 4),
    RUNA1_EXPORT_ROW(PCM_SetVolume, 12),
    RUNA1_EXPORT_ROW(PCM_IsPlaying, 4),
    // MIDI music
    RUNA1_EXPORT_ROW(MIDI_OpenMidi, 4),
    RUNA1_EXPORT_ROW(MIDI_ReadMidi, 8),
    RUNA1_EXPORT_ROW(MIDI_Delete, 4),
    RUNA1_EXPORT_ROW(MIDI_PlayMidi, 8),
    RUNA1_EXPORT_ROW(MIDI_PauseMidi, 4),
    RUNA1_EXPORT_ROW(MIDI_RestartMidi, 4),
    RUNA1_EXPORT_ROW(MIDI_StopMidi, 4),
    RUNA1_EXPORT_ROW(MIDI_SetVolume, 8),
    RUNA1_EXPORT_ROW(MIDI_OutShortMsg, 8),
    RUNA1_EXPORT_ROW(MIDI_OutLongMsg, 12),
    RUNA1_EXPORT_ROW(MIDI_IsPlaying, 4),
    // Timers
    RUNA1_EXPORT_ROW(Timer_Create, 12),
    RUNA1_EXPORT_ROW(Timer_Delete, 4),
    RUNA1_EXPORT_ROW(Timer_ResetCounter, 16),
    RUNA1_EXPORT_ROW(Timer_StartTimer, 4),
    RUNA1_EXPORT_ROW(Timer_PauseTimer, 4),
    RUNA1_EXPORT_ROW(Timer_SetCounter, 12),
    RUNA1_EXPORT_ROW(Timer_GetCounter, 8),
    RUNA1_EXPORT_ROW(Timer_Sleep, 4),
    // Movie
    RUNA1_EXPORT_ROW(PlayMCIMovieFile, 36),
    // Menu screens
    RUNA1_EXPORT_ROW(Nodali_SaveContextMenu, 8),
    RUNA1_EXPORT_ROW(Nodali_LoadContextMenu, 8),
    RUNA1_EXPORT_ROW(Nodali_MainMenu, 8),
    RUNA1_EXPORT_ROW(Nodali_StartupMenu, 8),
    RUNA1_EXPORT_ROW(Nodali_OmakeSelectMenu, 4),
    RUNA1_EXPORT_ROW(Nodali_SoundConfigMenu, 16),
    RUNA1_EXPORT_ROW(Nodali_PerformOpening, 16),
    RUNA1_EXPORT_ROW(Nodali_PerformEnding, 16),
    RUNA1_EXPORT_ROW(Nodali_MusicMode, 8),
    RUNA1_EXPORT_ROW(Nodali_CGMode, 16),
};

constexpr size_t kCount = sizeof(kRows) / sizeof(kRows[0]);
static_assert(kCount == 255, "modules bind to the host's 255 functions, every one of them a row");

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
