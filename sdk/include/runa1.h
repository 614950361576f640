/* runa1.h: the host's exports as a game module imports them (32-bit x86, module name RUNA1).
 * Every export is __stdcall and imported through a pointer slot (__imp__Name@bytes), which the
 * module linker binds to the host. Handles are opaque 32-bit values.
 * Include this header after <windows.h> when a module uses both: a few flag names of the
 * engine are also Windows macros with other values, and the engine's win here. */
#ifndef RUNA1_H
#define RUNA1_H

#include <stdint.h>

#ifdef __cplusplus
extern "C" {
#endif

#define RUNA1_IMPORT(type) __declspec(dllimport) type __stdcall

typedef void* RUNA1_HANDLE;

/* ---- File objects ------------------------------------------------------------------------- */
#undef FILE_CREATE
#undef FILE_SHARE_READ
#undef FILE_SHARE_WRITE
#define FILE_CREATE 0x01
#define FILE_READ 0x02
#define FILE_WRITE 0x04
#define FILE_SHARE_READ 0x10
#define FILE_SHARE_WRITE 0x20

typedef RUNA1_HANDLE KFILE; /* any file object: raw file, record, archive member */

RUNA1_IMPORT(KFILE) File_OpenFile(const char* path, uint32_t flags);
RUNA1_IMPORT(uint32_t) File_CloseFile(KFILE file);
RUNA1_IMPORT(uint32_t) File_Read(KFILE file, void* buffer, uint32_t bytes);
RUNA1_IMPORT(uint32_t) File_Write(KFILE file, const void* buffer, uint32_t bytes);
RUNA1_IMPORT(uint32_t) File_Seek(KFILE file, int32_t offset, uint32_t method);
RUNA1_IMPORT(uint32_t) File_GetLength(KFILE file);
RUNA1_IMPORT(uint32_t) File_GetPosition(KFILE file);
RUNA1_IMPORT(uint32_t) File_GetFileName(KFILE file, char* buffer);
RUNA1_IMPORT(uint32_t) File_GetFilePath(KFILE file, char* buffer);
RUNA1_IMPORT(void*) File_GetFileHandle(KFILE file);

/* ---- Module loader and host services ------------------------------------------------------ */
typedef RUNA1_HANDLE ZPKMODULE; /* a loaded module; StartingProc receives its own */

/* Conventions of ZPK_CallProcedure. */
#define ZPK_CALL_STDCALL 0  /* the callee pops */
#define ZPK_CALL_CDECL 1    /* the caller pops */
#define ZPK_CALL_THISCALL 2 /* arguments[0] in ECX, the rest pushed */

RUNA1_IMPORT(ZPKMODULE) ZPK_LoadZPKModuleFile(const char* path);
RUNA1_IMPORT(uint32_t) ZPK_DeleteZPKModule(ZPKMODULE module);
RUNA1_IMPORT(void*) ZPK_GetProcedureAddress(ZPKMODULE module, const char* name);
RUNA1_IMPORT(void*) ZPK_GetVariableAddress(ZPKMODULE module, const char* name);
RUNA1_IMPORT(uint32_t) ZPK_CallProcedure(void* procedure, uint32_t count, const uint32_t* arguments,
                                         uint32_t convention);
RUNA1_IMPORT(const char*) ZPK_GetLastErrorMessage(ZPKMODULE module);
RUNA1_IMPORT(const char*) ZPK_GetBaseDirectory(ZPKMODULE module);
RUNA1_IMPORT(uint32_t) ZPK_GetResourceID(ZPKMODULE module, const char* name);
RUNA1_IMPORT(uint32_t) ZPK_GetResourceLength(ZPKMODULE module, int32_t id);
RUNA1_IMPORT(KFILE) ZPK_OpenResource(ZPKMODULE module, int32_t id);

/* Profile: per-user values under company, application, section, entry. The company is
 * "Orvik Soft" until ZPK_SetRegistryKey names another. ZPK_GetProfileString returns a copy on
 * the process heap (HeapFree(GetProcessHeap(), 0, text) when done). Writing a null value
 * deletes the entry; a null entry deletes the section. */
RUNA1_IMPORT(uint32_t) ZPK_SetRegistryKey(const char* company, const char* application);
RUNA1_IMPORT(uint32_t) ZPK_GetProfileInt(const char* section, const char* entry, uint32_t defaultValue);
RUNA1_IMPORT(uint32_t) ZPK_WriteProfileInt(const char* section, const char* entry, uint32_t value);
RUNA1_IMPORT(char*) ZPK_GetProfileString(const char* section, const char* entry, const char* defaultValue);
RUNA1_IMPORT(uint32_t) ZPK_WriteProfileString(const char* section, const char* entry, const char* value);
RUNA1_IMPORT(uint32_t) ZPK_IsShowCursor(void);
RUNA1_IMPORT(uint32_t) ZPK_SetShowCursor(int32_t show);
/* Fills width and height of the screen; returns the height. */
RUNA1_IMPORT(uint32_t) ZPK_GetDisplaySize(void* size);
RUNA1_IMPORT(uint32_t) ZPK_GetDisplayBitsPerPixel(void);
/* 0 if the display has the mode, 1 if not; a depth of 0 is the desktop's. */
RUNA1_IMPORT(uint32_t) ZPK_TestDisplayMode(uint32_t width, uint32_t height, uint32_t bitsPerPixel);
/* Atomic: if *target == comparand it becomes exchange; returns the previous *target. */
RUNA1_IMPORT(uint32_t) ZPK_CompareExchange(volatile uint32_t* target, uint32_t comparand, uint32_t exchange);

/* Start of the system. Both block until the main window stands and is visible. InitializeSystem
 * centres a client area of *size on the screen with the display switched to that size; it
 * returns 2 when the display has no such mode (at bitsPerPixel nor at the desktop's depth),
 * and the module may try another size. A null size only stores the title and the class.
 * InitializeMainWindow creates a window of the rectangle given, with no display change. A
 * second successful call of either returns 0 and does nothing. */
RUNA1_IMPORT(uint32_t) InitializeSystem(const WNDCLASSA* windowClass, const SIZE* size, const char* title,
                                        uint32_t bitsPerPixel);
RUNA1_IMPORT(uint32_t) InitializeMainWindow(const char* title, uint32_t style, uint32_t exStyle, const RECT* rect);
/* Fills the default class "Vomar Game System" (DefWindowProcA, arrow cursor, black brush). */
RUNA1_IMPORT(uint32_t) GetDefaultWndClass(WNDCLASSA* windowClass);
/* Grows a client rectangle to the window rectangle of a captioned, thick-framed window. */
RUNA1_IMPORT(uint32_t) CalcDefaultWindowRect(RECT* rect);

/* Service threads, attached to the host's library for their whole life, so they can call every
 * export. ZPK_EndThread only gives up the object: end the thread first and wait for it through
 * its handle. */
typedef struct ZPKThreadObject* ZPKTHREAD;
typedef uint32_t(__stdcall* ZPKTHREADPROC)(uint32_t argument);
RUNA1_IMPORT(ZPKTHREAD) ZPK_BeginThread(ZPKTHREADPROC procedure, uint32_t argument, int32_t priority, uint32_t stackSize);
RUNA1_IMPORT(void) ZPK_EndThread(ZPKTHREAD thread);
RUNA1_IMPORT(void*) ZPK_GetThreadHandle(ZPKTHREAD thread);
RUNA1_IMPORT(uint32_t) ZPK_GetThreadId(ZPKTHREAD thread);

/* The main window. Its messages reach the module's hooks after the window's own handling, in
 * this order: the top procedure of the stack (only the top one: the stack is for screens that
 * come and go in strict nesting), the main procedure, and the procedure of that message, which
 * is silent while the game is in the background except for WM_ACTIVATE. Results of hooks are
 * thrown away. Hooks run on the main thread; a hook may close itself. WM_CLOSE only beeps: the
 * module sees it and decides. Timer 1 sends WM_TIMER once a second. Without a main window the
 * hook exports give 0 and the three window operations give 1. */
typedef uint32_t(__stdcall* ZPKWNDPROC)(HWND window, uint32_t message, uint32_t wParam, int32_t lParam);
typedef uint32_t(__stdcall* ZPKWNDPROCEX)(void* context, HWND window, uint32_t message, uint32_t wParam,
                                           int32_t lParam);
RUNA1_IMPORT(HWND) ZPK_GetMainWindow(void);
/* Returns the previous main procedure. */
RUNA1_IMPORT(ZPKWNDPROC) ZPK_SetMainWndProc(ZPKWNDPROC procedure);
RUNA1_IMPORT(uint32_t) ZPK_OpenMainWndProcEx(ZPKWNDPROCEX procedure, void* context);
/* 0 when the top record has this context (it is removed) or the stack is empty, else 1. */
RUNA1_IMPORT(uint32_t) ZPK_CloseMainWndProcEx(void* context);
/* Null removes; returns the message's previous procedure or 0. */
RUNA1_IMPORT(ZPKWNDPROC) ZPK_SetWndMessageProc(uint32_t message, ZPKWNDPROC procedure);
/* Window operations, allowed only while the message loop is stopped (else refused with 1):
 * stop the loop; change the mode; restart the loop. ZPK_ClipCursor returns the previous clip
 * flag. ZPK_ChangeDisplayMode gives full screen at that size (1 if the display refuses); while
 * the game is in the background it happens on the next activation. Full screen leaves when the
 * game goes to the background and comes back with it. */
RUNA1_IMPORT(uint32_t) ZPK_ClipCursor(int32_t enable);
RUNA1_IMPORT(uint32_t) ZPK_ChangeDisplayMode(uint32_t width, uint32_t height);
RUNA1_IMPORT(uint32_t) ZPK_RestoreDisplayMode(void);
/* Stops nest: the main thread dispatches again after as many restarts as stops. */
RUNA1_IMPORT(uint32_t) ZPK_StopMessageLoop(void);
RUNA1_IMPORT(uint32_t) ZPK_RestartMessageLoop(void);

/* ---- Numeric helpers ---------------------------------------------------------------------- */
/* Floats travel as their 32-bit patterns (RUNA1_FLOAT), doubles by pointer: the first
 * operand is also the place of the result, and is returned. No floating-point code is needed in
 * the module. float_Scale returns its first argument unchanged; double_Scale stores b * 2^trunc(a)
 * in a. The compares give 0 for equal or unordered, -1 for less, 1 for greater. */
typedef uint32_t RUNA1_FLOAT;

RUNA1_IMPORT(void) float_Init(void);
RUNA1_IMPORT(RUNA1_FLOAT) float_Round(RUNA1_FLOAT a);
RUNA1_IMPORT(RUNA1_FLOAT) float_Abs(RUNA1_FLOAT a);
RUNA1_IMPORT(RUNA1_FLOAT) float_ChS(RUNA1_FLOAT a);
RUNA1_IMPORT(RUNA1_FLOAT) float_Add(RUNA1_FLOAT a, RUNA1_FLOAT b);
RUNA1_IMPORT(RUNA1_FLOAT) float_Sub(RUNA1_FLOAT a, RUNA1_FLOAT b);
RUNA1_IMPORT(RUNA1_FLOAT) float_Mul(RUNA1_FLOAT a, RUNA1_FLOAT b);
RUNA1_IMPORT(RUNA1_FLOAT) float_Div(RUNA1_FLOAT a, RUNA1_FLOAT b);
RUNA1_IMPORT(RUNA1_FLOAT) float_IAdd(RUNA1_FLOAT a, int32_t n);
RUNA1_IMPORT(RUNA1_FLOAT) float_ISub(RUNA1_FLOAT a, int32_t n);
RUNA1_IMPORT(RUNA1_FLOAT) float_IMul(RUNA1_FLOAT a, int32_t n);
RUNA1_IMPORT(RUNA1_FLOAT) float_IDiv(RUNA1_FLOAT a, int32_t n);
RUNA1_IMPORT(RUNA1_FLOAT) float_2XM1(RUNA1_FLOAT a);
RUNA1_IMPORT(RUNA1_FLOAT) float_YL2X(RUNA1_FLOAT a, RUNA1_FLOAT b);
RUNA1_IMPORT(RUNA1_FLOAT) float_Scale(RUNA1_FLOAT a, RUNA1_FLOAT b);
RUNA1_IMPORT(int32_t) float_Com(RUNA1_FLOAT a, RUNA1_FLOAT b);
RUNA1_IMPORT(int32_t) float_ICom(RUNA1_FLOAT a, int32_t n);
RUNA1_IMPORT(int32_t) float_Test(RUNA1_FLOAT a);
RUNA1_IMPORT(RUNA1_FLOAT) float_Sqrt(RUNA1_FLOAT a);
RUNA1_IMPORT(RUNA1_FLOAT) float_Sin(RUNA1_FLOAT a);
RUNA1_IMPORT(RUNA1_FLOAT) float_Cos(RUNA1_FLOAT a);
RUNA1_IMPORT(RUNA1_FLOAT) float_ILD(int32_t n);
RUNA1_IMPORT(int32_t) float_Int(RUNA1_FLOAT a);
RUNA1_IMPORT(RUNA1_FLOAT) float_LD1(void);
RUNA1_IMPORT(RUNA1_FLOAT) float_Zero(void);
RUNA1_IMPORT(RUNA1_FLOAT) float_PI(void);
/* Exported as "__stdcallfloat_Log2T": the import symbol adds one underscore to the label. */
RUNA1_IMPORT(RUNA1_FLOAT) float_Log2T(void) __asm__("_stdcallfloat_Log2T");
RUNA1_IMPORT(RUNA1_FLOAT) float_Log2(void);
RUNA1_IMPORT(double*) double_Round(double* a);
RUNA1_IMPORT(double*) double_Abs(double* a);
RUNA1_IMPORT(double*) double_ChS(double* a);
RUNA1_IMPORT(double*) double_Add(double* a, const double* b);
RUNA1_IMPORT(double*) double_Sub(double* a, const double* b);
RUNA1_IMPORT(double*) double_Mul(double* a, const double* b);
RUNA1_IMPORT(double*) double_Div(double* a, const double* b);
RUNA1_IMPORT(double*) double_IAdd(double* a, int32_t n);
RUNA1_IMPORT(double*) double_ISub(double* a, int32_t n);
RUNA1_IMPORT(double*) double_IMul(double* a, int32_t n);
RUNA1_IMPORT(double*) double_IDiv(double* a, int32_t n);
RUNA1_IMPORT(double*) double_2XM1(double* a);
RUNA1_IMPORT(double*) double_YL2X(double* a, const double* b);
RUNA1_IMPORT(double*) double_Scale(double* a, const double* b);
RUNA1_IMPORT(int32_t) double_Com(const double* a, const double* b);
RUNA1_IMPORT(int32_t) double_ICom(const double* a, int32_t n);
RUNA1_IMPORT(int32_t) double_Test(const double* a);
RUNA1_IMPORT(double*) double_Sqrt(double* a);
RUNA1_IMPORT(double*) double_Sin(double* a);
RUNA1_IMPORT(double*) double_Cos(double* a);
RUNA1_IMPORT(double*) double_ILD(double* a, int32_t n);
RUNA1_IMPORT(int32_t) double_Int(const double* a);
RUNA1_IMPORT(double*) double_LD1(double* a);
RUNA1_IMPORT(double*) double_Zero(double* a);
RUNA1_IMPORT(double*) double_PI(double* a);
RUNA1_IMPORT(double*) double_Log2T(double* a);
RUNA1_IMPORT(double*) double_Log2(double* a);
/* registers: EAX, EBX, ECX, EDX in and out; all zero without CPUID. */
RUNA1_IMPORT(void) ZPK_CPUID(uint32_t* registers);

/* ---- Record files and archives ------------------------------------------------------------ */
typedef RUNA1_HANDLE KARCHIVE; /* also a KFILE: after KORALArchive_DescendFile it reads the member */

RUNA1_IMPORT(void) VRFFile_SetDefaultVRFID(const void* id);
RUNA1_IMPORT(KARCHIVE) KORALArchive_Open(const char* path, uint32_t quiet);
RUNA1_IMPORT(void) KORALArchive_Close(KARCHIVE archive);
RUNA1_IMPORT(uint32_t) KORALArchive_DescendDirectory(KARCHIVE archive, const char* name);
RUNA1_IMPORT(uint32_t) KORALArchive_AscendDirectory(KARCHIVE archive);
RUNA1_IMPORT(char*) KORALArchive_GetCurrentDirecotry(KARCHIVE archive); /* process heap, caller frees */
RUNA1_IMPORT(uint32_t) KORALArchive_DescendFile(KARCHIVE archive, const char* name);
RUNA1_IMPORT(uint32_t) KORALArchive_AscendFile(KARCHIVE archive);
RUNA1_IMPORT(void*) KORALArchive_GetFileHandle(KARCHIVE archive);
RUNA1_IMPORT(KFILE) KORALArchive_GetRawFile(KARCHIVE archive);

/* ---- String stream and text resources ----------------------------------------------------- */
typedef RUNA1_HANDLE STRMSTR; /* a string stream; a text resource is one too */
typedef RUNA1_HANDLE TEXTRES;

RUNA1_IMPORT(STRMSTR) strmstr_Create(const char* text, int32_t length); /* length 0: up to the NUL */
RUNA1_IMPORT(STRMSTR) strmstr_LoadText(KFILE file);
RUNA1_IMPORT(uint32_t) strmstr_Delete(STRMSTR stream);
RUNA1_IMPORT(const char*) strmstr_GetBuffer(STRMSTR stream);
RUNA1_IMPORT(int32_t) strmstr_GetLength(STRMSTR stream);
RUNA1_IMPORT(int32_t) strmstr_GetIndex(STRMSTR stream);
RUNA1_IMPORT(int32_t) strmstr_GetLastIndex(STRMSTR stream);
RUNA1_IMPORT(uint32_t) strmstr_SetIndex(STRMSTR stream, int32_t index);
RUNA1_IMPORT(uint32_t) strmstr_GetChar(STRMSTR stream);
RUNA1_IMPORT(uint32_t) strmstr_GetCurrentChar(STRMSTR stream);
RUNA1_IMPORT(uint32_t) strmstr_DisableSpace(STRMSTR stream);
/* The three getters give a new stream that the caller deletes. */
RUNA1_IMPORT(STRMSTR) strmstr_GetString(STRMSTR stream, uint32_t move);
RUNA1_IMPORT(STRMSTR) strmstr_GetLine(STRMSTR stream, uint32_t move);
RUNA1_IMPORT(STRMSTR) strmstr_GetEnclosedString(STRMSTR stream, uint32_t open, uint32_t close);
/* A float, given back as its bit pattern. */
RUNA1_IMPORT(uint32_t) strmstr_GetValue(STRMSTR stream);
RUNA1_IMPORT(uint32_t) strmstr_IsNumberString(STRMSTR stream);
RUNA1_IMPORT(int32_t) strmstr_GetInteger(STRMSTR stream);
RUNA1_IMPORT(uint32_t) strmstr_SetSpaceCode(STRMSTR stream, const char* codes);
RUNA1_IMPORT(uint32_t) strmstr_SetSeparateCode(STRMSTR stream, const char* codes);
RUNA1_IMPORT(uint32_t) strmstr_IsOverflowIndex(STRMSTR stream);
RUNA1_IMPORT(uint32_t) strmstr_IsSeparatorCode(STRMSTR stream, uint32_t code);
RUNA1_IMPORT(uint32_t) strmstr_IsSeparator(STRMSTR stream);
/* vsprintf: `arguments` is a va_list. */
RUNA1_IMPORT(int32_t) strmstr_Format(char* buffer, const char* format, const void* arguments);

RUNA1_IMPORT(TEXTRES) TextRes_ReadText(KFILE file);
RUNA1_IMPORT(uint32_t) TextRes_Delete(TEXTRES res);
RUNA1_IMPORT(int32_t) TextRes_GetLabelIndex(TEXTRES res, int32_t label);
RUNA1_IMPORT(uint32_t) TextRes_MoveToLabel(TEXTRES res, int32_t label);

/* ---- Images, views, fonts, z-buffer ------------------------------------------------------- */
/* Images are Windows device-independent bitmaps, rows bottom-up; colours are 0x00RRGGBB.
 * Rectangles have inclusive right and bottom. Needs <windows.h> for the bitmap types. */
typedef RUNA1_HANDLE GRAPHIC;
typedef RUNA1_HANDLE ZBUFFER; /* 32-bit depth cells, smaller is nearer, 0xFFFFFFFF far */

typedef struct ImageInfo {
  uint32_t size; /* 32 */
  uint8_t* pixels; /* first byte of the bottom row */
  int32_t width;
  int32_t height;
  uint32_t bits;
  int32_t pitch;
  uint32_t imageSize;
  uint32_t reserved;
} ImageInfo;

/* Conversion modes of graphic_SetDefConversion8BitColor. */
#define GRAPHIC_CONVERSION_NONE 0
#define GRAPHIC_CONVERSION_GREY 1
#define GRAPHIC_CONVERSION_FIXED_PALETTE 2

RUNA1_IMPORT(GRAPHIC) graphic_AllocNewBitmap(void);
RUNA1_IMPORT(GRAPHIC) graphic_CreateBitmap(int32_t width, int32_t height, uint32_t bits);
RUNA1_IMPORT(GRAPHIC) graphic_ReadBitmap(KFILE file);
RUNA1_IMPORT(uint32_t) graphic_WriteBitmap(GRAPHIC image, KFILE file);
RUNA1_IMPORT(uint32_t) graphic_DeleteBitmap(GRAPHIC image);
RUNA1_IMPORT(uint32_t) graphic_AttachDIBitmap(GRAPHIC image, const BITMAPINFO* info, void* bits);
RUNA1_IMPORT(uint32_t) graphic_DetachDIBitmap(GRAPHIC image);
RUNA1_IMPORT(uint32_t) graphic_GetDIBitmap(GRAPHIC image, BITMAPINFOHEADER* header, void** bits);
RUNA1_IMPORT(uint32_t) graphic_ReleaseDIBitmap(GRAPHIC image);
RUNA1_IMPORT(uint32_t) graphic_GetImageInfo(GRAPHIC image, ImageInfo* info);
RUNA1_IMPORT(uint32_t) graphic_InvalidateRect(GRAPHIC image, const RECT* rect);
RUNA1_IMPORT(uint32_t) graphic_SetPaletteTone(GRAPHIC image, int32_t red, int32_t green, int32_t blue);
RUNA1_IMPORT(uint32_t) graphic_SetPaletteEntries(GRAPHIC image, uint32_t first, uint32_t count,
                                                 const RGBQUAD* colours);
RUNA1_IMPORT(uint32_t) graphic_GetPaletteEntries(GRAPHIC image, uint32_t first, uint32_t count,
                                                 RGBQUAD* colours);
RUNA1_IMPORT(uint32_t) graphic_UpdatePalette(GRAPHIC image);
RUNA1_IMPORT(uint32_t) graphic_RealizePalette(GRAPHIC image, HDC dc, int32_t background);
RUNA1_IMPORT(uint32_t) graphic_GetViewRectangle(GRAPHIC image, RECT* rect);
RUNA1_IMPORT(uint32_t) graphic_SetViewRectangle(GRAPHIC image, int32_t left, int32_t top,
                                                int32_t right, int32_t bottom);
RUNA1_IMPORT(uint32_t) graphic_IsPointHit(GRAPHIC image, int32_t x, int32_t y);
RUNA1_IMPORT(int32_t) graphic_DrawBitmapToDC(GRAPHIC image, HDC dc, int32_t x, int32_t y,
                                             const SIZE* size, const RECT* rect);
RUNA1_IMPORT(uint32_t) graphic_SelectZBuffer(GRAPHIC image, ZBUFFER zBuffer);
RUNA1_IMPORT(uint32_t) graphic_AttachAlphaPlane(GRAPHIC image, const ImageInfo* alpha);
RUNA1_IMPORT(uint32_t) graphic_DetachAlphaPlane(GRAPHIC image);
RUNA1_IMPORT(uint32_t) graphic_AttachMaskPattern(GRAPHIC image, void* bits);
RUNA1_IMPORT(uint32_t) graphic_DetachMakePattern(GRAPHIC image);
RUNA1_IMPORT(ImageInfo*) graphic_GetAlphaPlaneInfo(GRAPHIC image);
/* Transparency t: 0 opaque, 255 almost invisible, 256 and above draws nothing. The source's
 * alpha plane (premultiplied colours) or mask and its z-buffer take part; a pixel is drawn where
 * its depth cell is not nearer than z, and the cell takes z. */
RUNA1_IMPORT(uint32_t) graphic_DrawBitmapToBitmap(GRAPHIC source, GRAPHIC destination, int32_t x,
                                                  int32_t y, const RECT* rect, uint32_t t,
                                                  uint32_t z);
RUNA1_IMPORT(uint32_t) graphic_DrawFullRectangle(GRAPHIC image, RECT* rect, uint32_t colour,
                                                 uint32_t t, uint32_t z);
RUNA1_IMPORT(int32_t) graphic_GetDefConversion8BitColor(void);
RUNA1_IMPORT(int32_t) graphic_SetDefConversion8BitColor(int32_t mode);
/* Screens: each shows a rectangle of an image (the port) in a rectangle of the main window's
 * client area (the window), stretched if the sizes differ. The main window paints them in list
 * order, later ones covering earlier ones; 1 means there is no main window yet. Position of
 * View_AttachScreen with a reference: 0 replaces it, negative goes before it, positive behind
 * it; a null reference appends. */
typedef RUNA1_HANDLE SCREEN;
RUNA1_IMPORT(SCREEN) View_Create(GRAPHIC image, const RECT* window, const RECT* port);
RUNA1_IMPORT(uint32_t) View_Delete(SCREEN screen);
RUNA1_IMPORT(uint32_t) View_AttachScreen(SCREEN screen, SCREEN reference, int32_t position);
RUNA1_IMPORT(uint32_t) View_DetachScreen(SCREEN screen);
RUNA1_IMPORT(uint32_t) View_DetachAllScreen(void);
RUNA1_IMPORT(SCREEN) View_GetFirstScreen(void);
RUNA1_IMPORT(SCREEN) View_GetNextScreen(SCREEN screen);
RUNA1_IMPORT(uint32_t) View_GetViewWindow(SCREEN screen, RECT* window);
RUNA1_IMPORT(uint32_t) View_GetViewPort(SCREEN screen, RECT* port);
RUNA1_IMPORT(uint32_t) View_SetViewWindow(SCREEN screen, const RECT* window);
RUNA1_IMPORT(uint32_t) View_SetViewPort(SCREEN screen, const RECT* port);
/* dx, dy in image pixels: positive moves the picture right and down. */
RUNA1_IMPORT(uint32_t) View_ScrollViewWindow(SCREEN screen, int32_t dx, int32_t dy);
RUNA1_IMPORT(ZBUFFER) ZBuffer_Create(int32_t width, int32_t height);
RUNA1_IMPORT(uint32_t) ZBuffer_Delete(ZBUFFER buffer);
RUNA1_IMPORT(uint32_t) ZBuffer_Initialize(ZBUFFER buffer, uint32_t value);
RUNA1_IMPORT(uint32_t) ZBuffer_InitializeEqual(ZBUFFER buffer, uint32_t newValue, uint32_t oldValue);
RUNA1_IMPORT(uint32_t) ZBuffer_InitializeNonEqual(ZBUFFER buffer, uint32_t newValue,
                                                  uint32_t oldValue);

/* ---- Drawing core ------------------------------------------------------------------------- */
/* Flags of MOLAQ_SetDefInterface: 0x20000 uses the vector kernels whatever the processor,
 * 0x2 never uses them. */
RUNA1_IMPORT(uint32_t) MOLAQ_SetDefInterface(uint32_t flags);
/* Reads a picture file, or a BMP if it is none; scale 1 to 3 blows a 24-bit picture up by 2, 4
 * or 8. The result is an image object like graphic_ReadBitmap's, null on failure. */
RUNA1_IMPORT(GRAPHIC) MOLAQImage_ReadImageFile(const char* path, int32_t scale);

/* ---- Font images -------------------------------------------------------------------------- */
/* A font image is an image (GRAPHIC) whose pixels are a 1-bit mask, palette black and white:
 * Shift-JIS text is drawn into it white on black and laid out in a clip rectangle (inclusive),
 * from the pen on: breaks where the text fits, at line feeds, before a Latin word (or behind
 * its third letter from the break, with a hyphen), and never before a prohibited character,
 * which takes the two bytes before it to the next line. Blit the mask onto a picture with
 * graphic_DrawBitmapToBitmap. A font whose face the system lacks is drawn with an installed
 * Japanese face of the same height and weight. FontGrph_DrawText gives -1 when all the text
 * fitted, else the bytes drawn before the pen ran below the clip (go on from there on a new
 * page), and 1 on failure. Drawing adds to the mask; FontGrph_Create makes a clean one. */
RUNA1_IMPORT(GRAPHIC) FontGrph_Create(int32_t width, int32_t height);
RUNA1_IMPORT(uint32_t) FontGrph_Delete(GRAPHIC image);
/* Line height 0 takes the font's; the result is the former font. */
RUNA1_IMPORT(HFONT) FontGrph_SelectFont(GRAPHIC image, HFONT font, int32_t lineHeight);
RUNA1_IMPORT(int32_t) FontGrph_DrawText(GRAPHIC image, const char* text);
RUNA1_IMPORT(uint32_t) FontGrph_LocateText(GRAPHIC image, int32_t x, int32_t y);
RUNA1_IMPORT(uint32_t) FontGrph_GetTextLocation(GRAPHIC image, POINT* location);
RUNA1_IMPORT(uint32_t) FontGrph_SetTextClip(GRAPHIC image, int32_t left, int32_t top, int32_t right,
                                            int32_t bottom);
/* The characters that may not begin a line, replacing the former ones. */
RUNA1_IMPORT(uint32_t) FontGrph_SetProbitChars(GRAPHIC image, const char* text);

/* ---- 3D ----------------------------------------------------------------------------------- */
/* A view space has the eye at the origin and looks along +z; screen y grows downward. There are
 * no matrices: a view is a rotation about Y followed by one about X. Rotations may work in
 * place. Rectangles are left, top, right, bottom, inclusive; centres are x, y. */
typedef struct K3DVector {
  double x, y, z;
} K3DVector;
typedef struct K3DPoint {
  double x, y;
} K3DPoint;
typedef struct K3DRevolution {
  double sine, cosine;
} K3DRevolution;
RUNA1_IMPORT(void) k3dRevolveXAxis(K3DVector* dst, const K3DVector* src, const K3DRevolution* angle,
                                   uint32_t count);
RUNA1_IMPORT(void) k3dRevolveYAxis(K3DVector* dst, const K3DVector* src, const K3DRevolution* angle,
                                   uint32_t count);
/* Turns the other way round than the X and Y rotations. */
RUNA1_IMPORT(void) k3dRevolveZAxis(K3DVector* dst, const K3DVector* src, const K3DRevolution* angle,
                                   uint32_t count);
/* The two angles that turn `direction` onto +z: Y first, then X. */
RUNA1_IMPORT(void) k3dGetRevolutionYXAxis(K3DRevolution* yAngle, K3DRevolution* xAngle,
                                          const K3DVector* direction);
/* Keeps the polygon's part at z >= zNear; dst (not src) has room for count + 1 vertices. */
RUNA1_IMPORT(uint32_t) k3dClipZBelow(K3DVector* dst, const K3DVector* src, uint32_t count,
                                     int32_t zNear);
RUNA1_IMPORT(void) k3dProject2DScreen(K3DPoint* dst, const K3DVector* src, uint32_t count,
                                      const int32_t center[2], int32_t focal);
/* dst has room for 4 * count points. */
RUNA1_IMPORT(uint32_t) k3dClipDispRect(K3DPoint* dst, const K3DPoint* src, uint32_t count,
                                       const int32_t rect[4]);
/* Splits a convex polygon into the left and the right chain from its top to its bottom. */
RUNA1_IMPORT(void) k3dNormalizeForDrawPolygon(K3DPoint* first, uint32_t* firstCount,
                                              K3DPoint* second, uint32_t* secondCount,
                                              const K3DPoint* polygon, uint32_t count);
/* Fills a convex screen polygon (clipped to the destination) from an 8-bit texture lying on a
 * plane in view space: texel (u, v) at origin + u * axisU + v * axisV. Both images are 8 bits
 * per pixel; texels outside the texture leave the pixel alone. */
RUNA1_IMPORT(void) k3dDrawTexturePlygon(ImageInfo* destination, K3DPoint* polygon, uint32_t count,
                                        ImageInfo* texture, K3DVector* origin, K3DVector* axisU,
                                        K3DVector* axisV, int32_t center[2], int32_t focal);
/* The map scene: the map image lies on the ground, texel (u, v) at (u, 0, v); a camera above it
 * has a negative y. Draws one frame into clip (inclusive) of an 8-bit image: black (the palette
 * index nearest to it), then what the camera at eye sees of the map when it looks at target. */
RUNA1_IMPORT(void) k3dDrawAFrameScreen(GRAPHIC destination, int32_t clip[4], int32_t center[2],
                                       int32_t focal, GRAPHIC map, K3DVector* eye, K3DVector* target);
/* The selection of a place on the map, in `rect` of the client area: the keypad, the arrows,
 * Enter or Space and the mouse (as a joystick around the window's centre, left button to
 * decide) fly the camera from place to place and up and down (height steps 0 to 6; -1 starts
 * at 3). places and labelOffsets are pairs (x, z; the label's point that goes to the centre).
 * Returns at a decision with *place and *height; the listener's slot 1 (a member function
 * taking two int32) is called with two zeros then. The screens of the main view are detached. */
RUNA1_IMPORT(void) k3dSelectPlaceOnMap(int32_t rect[4], GRAPHIC map, int32_t* places,
                                       GRAPHIC* labels, int32_t* labelOffsets, int32_t placeCount,
                                       int32_t* place, int32_t* height, void* listener);

/* ---- Wave mixer and sounds ---------------------------------------------------------------- */
/* The mixer: buffers of bufferMs, mixed ahead on a timer of timerMs, in one PCM format (1 or 2
 * channels, 8 or 16 bits). Before WaveMixer_Open each sound plays on a device of its own.
 * Master volumes are 0 to 0xFFFF per side. */
RUNA1_IMPORT(uint32_t) WaveMixer_Open(uint32_t bufferMs, uint32_t timerMs, uint32_t rate, int32_t channels,
                                      int32_t bits);
RUNA1_IMPORT(uint32_t) WaveMixer_Close(void);
RUNA1_IMPORT(uint32_t) WaveMixer_GetTotalVolume(uint32_t volumes[2]);
RUNA1_IMPORT(uint32_t) WaveMixer_SetTotalVolume(uint32_t left, uint32_t right);

typedef RUNA1_HANDLE KPCMSOUND; /* a RIFF wave in memory, PCM or compressed */

/* Null when the file is no wave (ZPK_GetLastErrorMessage does not apply; the library's record
 * keeps the reason). */
RUNA1_IMPORT(KPCMSOUND) PCM_ReadWave(KFILE file);
RUNA1_IMPORT(uint32_t) PCM_Delete(KPCMSOUND sound);
RUNA1_IMPORT(uint32_t) PCM_WriteWave(KPCMSOUND sound, KFILE file);
/* `event` (may be 0) is set when a sound that does not loop has been played. */
RUNA1_IMPORT(uint32_t) PCM_PlayWave(KPCMSOUND sound, int32_t looped, HANDLE event);
/* Plays to the frame loopSample, then loops from there to the end (0: the whole wave). */
RUNA1_IMPORT(uint32_t) PCM_PlayMusic(KPCMSOUND sound, uint32_t loopSample, int32_t looped, HANDLE event);
RUNA1_IMPORT(const WAVEFORMATEX*) PCM_GetWaveFormat(KPCMSOUND sound);
RUNA1_IMPORT(uint32_t) PCM_GetCurrentPosition(KPCMSOUND sound);
/* A GlobalAlloc block for GlobalFree: word 0 the count of spans, then a level per span. */
RUNA1_IMPORT(uint32_t*) PCM_GetVolumeStream(KPCMSOUND sound, uint32_t spanSamples, uint32_t percent,
                                            uint32_t maxLevel, uint32_t decayDivisor);
RUNA1_IMPORT(uint32_t) PCM_StopWave(KPCMSOUND sound);
/* 65535 is unity gain. */
RUNA1_IMPORT(uint32_t) PCM_SetVolume(KPCMSOUND sound, uint32_t left, uint32_t right);
RUNA1_IMPORT(uint32_t) PCM_IsPlaying(KPCMSOUND sound);

/* ---- MIDI music --------------------------------------------------------------------------- */
/* A Standard MIDI File played through the system's MIDI stream. An empty system exclusive event
 * in the song marks where a looped song starts again. Volumes are 0 to 65535 and scale the
 * song's own channel volumes. Results: 0, or 1 on failure. */
typedef RUNA1_HANDLE MIDIMUSIC;
/* With 0 makes a new object; opens the stream if it can, and gives the object either way. */
RUNA1_IMPORT(MIDIMUSIC) MIDI_OpenMidi(MIDIMUSIC music);
/* With 0 makes a new object. Null for a file that is not a MIDI file: the object, also a given
 * one, is deleted then. */
RUNA1_IMPORT(MIDIMUSIC) MIDI_ReadMidi(MIDIMUSIC music, KFILE file);
RUNA1_IMPORT(uint32_t) MIDI_Delete(MIDIMUSIC music);
RUNA1_IMPORT(uint32_t) MIDI_PlayMidi(MIDIMUSIC music, int32_t looped);
RUNA1_IMPORT(uint32_t) MIDI_PauseMidi(MIDIMUSIC music);
RUNA1_IMPORT(uint32_t) MIDI_RestartMidi(MIDIMUSIC music);
/* Stops and closes the stream; the song stays and plays again from its start. */
RUNA1_IMPORT(uint32_t) MIDI_StopMidi(MIDIMUSIC music);
RUNA1_IMPORT(uint32_t) MIDI_SetVolume(MIDIMUSIC music, uint32_t volume);
/* Messages sent at once; 0 without a stream. */
RUNA1_IMPORT(uint32_t) MIDI_OutShortMsg(MIDIMUSIC music, uint32_t message);
RUNA1_IMPORT(uint32_t) MIDI_OutLongMsg(MIDIMUSIC music, const void* data, uint32_t bytes);
RUNA1_IMPORT(uint32_t) MIDI_IsPlaying(MIDIMUSIC music);

/* ---- Timers ------------------------------------------------------------------------------- */
/* Count-up timers: the count is the number of whole intervals (milliseconds each) since the
 * start, held at the limit; it is brought up to date whenever it is read. A timer is created
 * stopped with the count 0; a start after a pause begins a fresh interval. */
typedef RUNA1_HANDLE KTIMER;
RUNA1_IMPORT(KTIMER) Timer_Create(uint32_t interval, uint32_t limitLow, uint32_t limitHigh);
RUNA1_IMPORT(void) Timer_Delete(KTIMER timer);
RUNA1_IMPORT(void) Timer_ResetCounter(KTIMER timer, uint32_t interval, uint32_t limitLow,
                                      uint32_t limitHigh);
RUNA1_IMPORT(void) Timer_StartTimer(KTIMER timer);
RUNA1_IMPORT(void) Timer_PauseTimer(KTIMER timer);
RUNA1_IMPORT(void) Timer_SetCounter(KTIMER timer, uint32_t low, uint32_t high);
RUNA1_IMPORT(uint32_t) Timer_GetCounter(KTIMER timer, uint64_t* counter);
/* Sleeps and gives the milliseconds that really passed. */
RUNA1_IMPORT(uint32_t) Timer_Sleep(uint32_t milliseconds);

/* ---- Movie -------------------------------------------------------------------------------- */
/* Plays a movie file in a child window that covers `parent`'s client area (`destination`: the
 * video's rectangle inside it), under a message loop of the calling thread's own, and returns
 * at its end: 0, or 0 at once when `allowSkip` and Escape or the right button ends it early.
 * 1 on failure, with the reason in `errorText` (at most `errorSize` bytes; null: none wanted).
 * The three reserved words are not read. */
RUNA1_IMPORT(uint32_t) PlayMCIMovieFile(HWND parent, const char* fileName, RECT* destination,
                                        uint32_t reserved1, uint32_t reserved2, uint32_t reserved3,
                                        int32_t allowSkip, char* errorText, uint32_t errorSize);

/* ---- Menu screens ------------------------------------------------------------------------- */
/* Each screen draws into `target`, the image the module shows in the main window, runs until
 * the player chooses, and gives the choice or -1. Their files: the archive and the cursor files
 * "Arrow.cur" and "GripHand.cur" in the folder of the profile's "Installed" "BinDir"; the save
 * files "nodali<page><slot>.sav" in "Installed" "SaveDir". Save and load: ten slots on each of
 * the pages 1 to 5; the result is page * 10 + slot. */
RUNA1_IMPORT(int32_t) Nodali_SaveContextMenu(GRAPHIC target, int32_t page);
RUNA1_IMPORT(int32_t) Nodali_LoadContextMenu(GRAPHIC target, int32_t page);
/* Main menu ("MainMenu.arc"): 0, 1, 2, or 4 and 5 after a confirmation box, or -1; its help
 * button opens "HELP\INDEX.HTML" of the screens' folder with the system's default action.
 * Title screen ("Startup.arc") of `kind` 1 to 3: 0 to 3, or -1 (also for another `kind`).
 * Bonus menu ("Startup.arc"): 0 or 1, or -1. */
RUNA1_IMPORT(int32_t) Nodali_MainMenu(GRAPHIC target, GRAPHIC background);
RUNA1_IMPORT(int32_t) Nodali_StartupMenu(GRAPHIC target, int32_t kind);
RUNA1_IMPORT(int32_t) Nodali_OmakeSelectMenu(GRAPHIC target);
/* Sound configuration ("SoundCfg.arc"): writes "Config" "BgmSelection", "VolumeOfBGM",
 * "VolumeOfVoice" and "MessageSpeed" when the player leaves; the music volume (0xFFFF >> (8 -
 * step)) acts at once on `midi` and `wave`, either of which may be null. */
RUNA1_IMPORT(void) Nodali_SoundConfigMenu(GRAPHIC target, GRAPHIC background, MIDIMUSIC midi, KPCMSOUND wave);

#ifdef __cplusplus
}
#endif

#endif /* RUNA1_H */
