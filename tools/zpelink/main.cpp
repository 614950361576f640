// zpelink: links i386 COFF objects and static archives into a game module (.zpe).
#include <algorithm>
#include <cstdio>
#include <cstring>
#include <filesystem>
#include <fstream>
#include <iterator>
#include <string>
#include <vector>

#include "tools/zpelink/coff.h"
#include "tools/zpelink/linker.h"
#include "tools/zpelink/zpe_writer.h"

namespace {

constexpr const char kHelp[] = R"(usage: zpelink [options] -o MODULE.zpe INPUT...

Links i386 COFF objects and static archives, as `i686-w64-mingw32-gcc -c` and `ar` make
them, into a game module for runa1.exe.

Inputs
  FILE.o / FILE.obj   linked whole; its global symbols form the module's procedure table
                      (symbols in code) and variable table (symbols in data), undecorated:
                      _Name@8 and _Name both become Name
  FILE.a / FILE.lib   archive members are linked when they define a symbol that is still
                      undefined (libgcc.a for 64-bit division, ___chkstk_ms and the like)

Options
  -o FILE                 the module to write (required)
  --entry NAME            the procedure the host runs on the module thread (default
                          StartingProc: `uint32_t __stdcall StartingProc(void* module)`)
  --no-entry              the module has no StartingProc (a module that others load with
                          ZPK_LoadZPKModuleFile)
  --init NAME             procedure the loader calls after loading (no arguments, stdcall)
  --fini NAME             procedure the loader calls before unloading
  --import-dll DLL=NAME[,NAME...]
                          binds the imports NAME (undecorated) to the system library DLL,
                          e.g. --import-dll KERNEL32.dll=GetTickCount,CreateFileA; the DLL
                          is loaded with the module and the names are looked up in it
  --resource NAME=FILE    embeds FILE as resource NAME
  --external NAME=FILE    resource NAME is the file FILE of its own, found at run time
                          relative to the module's base directory; its length is taken now
  --debug-record FILE     also writes the module's debug record (FILE.drt, beside the module
                          for the debugger to find it): the procedures with the source file
                          of each, from the objects' .file symbols, and the variables; its
                          layout is in sdk/debug_record.md
  --source-dir DIR        where the debug record looks for the sources, which the objects
                          name without their directory: the first DIR that holds one gives
                          its path (may be given more than once)
  --help                  this text

Imports
  Every `__imp_` symbol gets one slot of the module's import table. A module calls the host
  through <runa1.h>, whose declarations are dllimport: `__imp__File_Read@12` binds to the
  host's export "_File_Read@12". Win32 functions declared dllimport (windows.h) bind to the
  library named for them with --import-dll; any other import is looked up in the host and
  then in every listed library.

Module code
  Modules get no C runtime. Compile with
    i686-w64-mingw32-gcc -c -O2 -malign-data=abi -ffreestanding -fno-builtin
      -fno-asynchronous-unwind-tables -fno-stack-protector -I sdk/include
  and link the SDK support functions (sdk/support/runa1_support.c: memcpy, memmove, memset,
  memcmp, strlen; as an archive, so that they stay out of the tables) and libgcc.a (`i686-w64-mingw32-gcc -print-libgcc-file-name`) for what the
  compiler calls by itself. Other C library functions come from system libraries through
  --import-dll, or from the host's exports. CMake builds all of this with one line:
  add_zpe_module(name sources...) from sdk/cmake/zpe_module.cmake.

The module image is the import table, the code, then the data (.data, .rdata, .bss); all
addresses are image offsets fixed up by the loader. The image base is aligned to 16 bytes, so
sections may ask for at most 16 (-malign-data=abi keeps the compiler's data within that).
)";

bool readFile(const std::string& path, std::vector<uint8_t>* bytes) {
  std::ifstream in(path, std::ios::binary);
  if (!in) return false;
  bytes->assign(std::istreambuf_iterator<char>(in), {});
  return true;
}

bool writeFile(const std::string& path, const std::vector<uint8_t>& bytes) {
  std::ofstream out(path, std::ios::binary);
  out.write(reinterpret_cast<const char*>(bytes.data()), static_cast<std::streamsize>(bytes.size()));
  return static_cast<bool>(out.flush());
}

// The assembler keeps this many characters of a source's name in an object's .file symbol.
constexpr size_t kFileSymbolName = 14;

// The path of a source named by an object: in the first directory that holds it, else as named.
// A name the assembler cut short is the first file, by name, that begins with it.
std::string locateSource(const std::string& name, const std::vector<std::string>& directories) {
  for (const std::string& directory : directories) {
    std::filesystem::path path = std::filesystem::path(directory) / name;
    if (std::filesystem::is_regular_file(path)) return path.string();
  }
  if (name.size() != kFileSymbolName) return name;
  for (const std::string& directory : directories) {
    std::error_code error;
    std::vector<std::filesystem::path> candidates;
    for (const auto& entry : std::filesystem::directory_iterator(directory, error))
      if (entry.is_regular_file() && entry.path().filename().string().starts_with(name)) candidates.push_back(entry.path());
    if (!candidates.empty()) return std::min_element(candidates.begin(), candidates.end())->string();
  }
  return name;
}

int fail(const std::string& message) {
  std::fprintf(stderr, "zpelink: %s\n", message.c_str());
  return 1;
}

bool splitPair(const std::string& text, std::string* name, std::string* value) {
  size_t at = text.find('=');
  if (at == std::string::npos || at == 0 || at + 1 == text.size()) return false;
  *name = text.substr(0, at);
  *value = text.substr(at + 1);
  return true;
}

std::vector<std::string> splitList(const std::string& text) {
  std::vector<std::string> items;
  size_t start = 0;
  while (start <= text.size()) {
    size_t end = text.find(',', start);
    if (end == std::string::npos) end = text.size();
    if (end > start) items.push_back(text.substr(start, end - start));
    start = end + 1;
  }
  return items;
}

}  // namespace

int main(int argc, char** argv) {
  LinkOptions options;
  Linker linker;
  ZpeModule module;
  std::string output;
  std::string debugRecord;
  std::vector<std::string> sourceDirectories;
  bool anyInput = false;
  for (int i = 1; i < argc; ++i) {
    std::string arg = argv[i];
    auto value = [&](std::string* out) {
      if (i + 1 >= argc) return false;
      *out = argv[++i];
      return true;
    };
    std::string text, name, file;
    if (arg == "--help" || arg == "-h") {
      std::fputs(kHelp, stdout);
      return 0;
    } else if (arg == "-o") {
      if (!value(&output)) return fail("-o needs a file name");
    } else if (arg == "--entry") {
      if (!value(&options.entry)) return fail("--entry needs a name");
    } else if (arg == "--no-entry") {
      options.entry.clear();
    } else if (arg == "--init") {
      if (!value(&options.initializer)) return fail("--init needs a name");
    } else if (arg == "--fini") {
      if (!value(&options.finalizer)) return fail("--fini needs a name");
    } else if (arg == "--debug-record") {
      if (!value(&debugRecord)) return fail("--debug-record needs a file name");
    } else if (arg == "--source-dir") {
      if (!value(&text)) return fail("--source-dir needs a directory");
      sourceDirectories.push_back(text);
    } else if (arg == "--import-dll") {
      if (!value(&text) || !splitPair(text, &name, &file)) return fail("--import-dll needs DLL=NAME[,NAME...]");
      options.libraries.push_back({name, splitList(file)});
    } else if (arg == "--resource" || arg == "--external") {
      if (!value(&text) || !splitPair(text, &name, &file)) return fail(arg + " needs NAME=FILE");
      std::vector<uint8_t> bytes;
      if (!readFile(file, &bytes)) return fail("cannot read resource file " + file);
      bool external = arg == "--external";
      module.resources.push_back({name, external, external ? file : std::string(),
                                  external ? std::vector<uint8_t>() : bytes, static_cast<uint32_t>(bytes.size())});
    } else if (!arg.empty() && arg[0] == '-') {
      return fail("unknown option " + arg + " (see --help)");
    } else {
      std::vector<uint8_t> bytes;
      std::string error;
      if (!readFile(arg, &bytes)) return fail("cannot read " + arg);
      anyInput = true;
      if (coff::isArchive(bytes)) {
        std::vector<coff::Member> members;
        if (!coff::parseArchive(bytes, &members, &error)) return fail(arg + ": " + error);
        for (coff::Member& member : members) {
          coff::Object object;
          // Members that are not i386 objects (short import records, other machines) are left out.
          if (coff::parseObject(member.bytes, arg + "(" + member.name + ")", &object, &error))
            linker.addArchiveMember(std::move(object));
        }
      } else {
        coff::Object object;
        if (!coff::parseObject(bytes, arg, &object, &error)) return fail(error);
        linker.addObject(std::move(object));
      }
    }
  }
  if (output.empty() || !anyInput) return fail("no output (-o) or no input given (see --help)");
  std::string error;
  if (!linker.link(options, &module, &error)) return fail(error);
  if (!writeFile(output, writeZpe(module))) return fail("cannot write " + output);
  if (!debugRecord.empty()) {
    drt::DebugRecord record = debugRecordOf(module);
    for (std::string& source : record.sourceFiles) source = locateSource(source, sourceDirectories);
    if (!writeFile(debugRecord, drt::writeDebugRecord(record))) return fail("cannot write " + debugRecord);
  }
  return 0;
}
