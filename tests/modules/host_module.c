/* The main test module: reports each check as a line "ok NAME" or "FAIL NAME" in run.log in
 * the working directory, from its initialiser (main thread), its StartingProc (module
 * thread) and its finaliser (main thread again). */
#include <windows.h>

#include <runa1.h>

static KFILE logFile;
static unsigned long initThread;
uint32_t counter = 41;

/* The message of a failed ZPK_GetProcedureAddress, 内部関数が見つかりませんでした。, in Shift-JIS. */
static const char kProcedureNotFound[] =
    "\x93\xE0\x95\x94\x8A\xD6\x90\x94\x82\xAA\x8C\xA9\x82\xC2\x82\xA9\x82\xE8\x82\xDC\x82\xB9\x82\xF1\x82\xC5\x82\xB5\x82\xBD\x81\x42";

static uint32_t length(const char* text) {
  uint32_t count = 0;
  while (text[count]) ++count;
  return count;
}

static int same(const char* a, const char* b) {
  while (*a && *a == *b) ++a, ++b;
  return *a == *b;
}

static void report(const char* name, int passed) {
  File_Write(logFile, passed ? "ok " : "FAIL ", passed ? 3 : 5);
  File_Write(logFile, name, length(name));
  File_Write(logFile, "\n", 1);
}

void __stdcall ModuleInit(void) {
  logFile = File_OpenFile("run.log", FILE_WRITE | FILE_CREATE);
  initThread = GetCurrentThreadId();
  report("init", logFile != 0);
}

void __stdcall ModuleFini(void) {
  report("fini-on-main-thread", GetCurrentThreadId() == initThread);
  File_CloseFile(logFile);
}

uint32_t __stdcall StartingProc(ZPKMODULE module);

static void checkResources(ZPKMODULE module) {
  char text[32] = {0};
  uint32_t id = ZPK_GetResourceID(module, "greeting");
  KFILE file = ZPK_OpenResource(module, (int32_t)id);
  report("resource-length", ZPK_GetResourceLength(module, (int32_t)id) == 13);
  report("resource-embedded", file && File_Read(file, text, 13) == 13 && same(text, "hello, module"));
  File_CloseFile(file);

  char outside[32] = {0};
  uint32_t externalId = ZPK_GetResourceID(module, "outside");
  KFILE external = ZPK_OpenResource(module, (int32_t)externalId);
  report("resource-external", external && File_Read(external, outside, 7) == 7 && same(outside, "outside"));
  File_CloseFile(external);
  report("resource-missing", ZPK_GetResourceID(module, "nothing") == 0xFFFFFFFF);
}

static void checkSecondModule(void) {
  report("load-missing-module", ZPK_LoadZPKModuleFile("missing.zpe") == 0);
  ZPKMODULE second = ZPK_LoadZPKModuleFile("second.zpe");
  report("load-second-module", second != 0);
  if (!second) return;
  uint32_t* initialized = (uint32_t*)ZPK_GetVariableAddress(second, "initialized");
  report("second-initialised", initialized && *initialized == 1);

  uint32_t args[3] = {100, 20, 3};
  report("call-stdcall", ZPK_CallProcedure(ZPK_GetProcedureAddress(second, "Add3"), 3, args, ZPK_CALL_STDCALL) == 123);
  report("call-cdecl", ZPK_CallProcedure(ZPK_GetProcedureAddress(second, "Sub2"), 2, args, ZPK_CALL_CDECL) == 80);
  uint32_t object = 7;
  uint32_t members[2] = {(uint32_t)&object, 6};
  report("call-thiscall",
         ZPK_CallProcedure(ZPK_GetProcedureAddress(second, "Multiply"), 2, members, ZPK_CALL_THISCALL) == 42);
  report("call-wrong-convention",
         ZPK_CallProcedure(ZPK_GetProcedureAddress(second, "Add3"), 3, args, ZPK_CALL_CDECL) == 123 &&
             ZPK_CallProcedure(ZPK_GetProcedureAddress(second, "Sub2"), 2, args, ZPK_CALL_STDCALL) == 80);
  report("call-no-arguments", ZPK_CallProcedure(ZPK_GetProcedureAddress(second, "Seven"), 0, 0, ZPK_CALL_STDCALL) == 7);
  report("delete-second-module", ZPK_DeleteZPKModule(second) == 0);
}

uint32_t __stdcall StartingProc(ZPKMODULE module) {
  report("own-thread", GetCurrentThreadId() != initThread);
  report("handle", ZPK_GetProcedureAddress(module, "StartingProc") == (void*)StartingProc);
  report("variable", ZPK_GetVariableAddress(module, "counter") == &counter && counter == 41);
  report("missing-procedure", ZPK_GetProcedureAddress(module, "Nothing") == 0 &&
                                  same(ZPK_GetLastErrorMessage(module), kProcedureNotFound));
  const char* base = ZPK_GetBaseDirectory(module);
  report("base-directory", base[0] && base[length(base) - 1] == '\\');
  checkResources(module);
  checkSecondModule();
  return 0;
}
