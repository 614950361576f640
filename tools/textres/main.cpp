// textres: the text-resource compiler of the SDK.
#include <algorithm>
#include <cstdio>
#include <cstring>
#include <fstream>
#include <iterator>
#include <memory>
#include <string>

#include "base/os/os.h"
#include "files/file_obj.h"
#include "files/text_resource.h"
#include "tools/textres/text_compiler.h"

namespace {

constexpr char kUsage[] =
    "usage: textres [options] SOURCE -o RESOURCE\n"
    "       textres --list RESOURCE\n"
    "\n"
    "Compiles a text with label markers into a text resource, which a game module reads with\n"
    "TextRes_ReadText and enters with TextRes_MoveToLabel(label number).\n"
    "\n"
    "Source format, line by line:\n"
    "  @name      a label: it points at the start of the next text line. Names are letters,\n"
    "             digits and _, not starting with a digit, and unique. Labels are numbered\n"
    "             0, 1, 2, ... in the order they appear.\n"
    "  @@text     a text line that starts with \"@text\" (one @ dropped)\n"
    "  @#text     a comment, dropped\n"
    "  other      a text line, kept byte for byte with its line end (LF or CR LF)\n"
    "Marker and comment lines are dropped with their line ends. The text is stored in\n"
    "Shift-JIS; each label also records its source line.\n"
    "\n"
    "Options:\n"
    "  -o, --output FILE     the resource to write\n"
    "  -e, --encoding ENC    the source's encoding: auto (default: UTF-8 when the source is\n"
    "                        valid UTF-8 or starts with a byte order mark, else Shift-JIS),\n"
    "                        utf-8, or shift-jis\n"
    "  --header FILE         also write a C header with one #define per label number\n"
    "  --prefix TEXT         prefix of the header's names (default TEXT_)\n"
    "  --list RESOURCE       show the labels of a compiled resource and the line each leads to\n"
    "  -h, --help            show this help\n";

int fail(const std::string& message) {
  std::fprintf(stderr, "textres: error: %s\n", message.c_str());
  return 1;
}

bool readFile(const std::string& path, std::string* bytes) {
  std::ifstream in(path, std::ios::binary);
  if (!in) return false;
  bytes->assign(std::istreambuf_iterator<char>(in), {});
  return !in.bad();
}

bool writeFile(const std::string& path, const std::string& bytes) {
  std::ofstream out(path, std::ios::binary | std::ios::trunc);
  out.write(bytes.data(), static_cast<std::streamsize>(bytes.size()));
  out.close();
  return !out.fail();
}

// Prints each label of a compiled resource with the text line it leads to, read back through
// the engine's own reader.
int list(const std::string& path) {
  KRawFile file;
  if (file.Open(path.c_str(), FILE_READ) != 0) return fail("cannot open " + path);
  std::unique_ptr<TextResource> resource(TextResource::ReadText(&file));
  if (!resource) return fail(path + " is not a text resource: it is shorter than it declares");
  for (int32_t label = 0; label < resource->GetLabelCount(); ++label) {
    int32_t index = resource->GetLabelIndex(label);
    resource->SetIndex(index);
    std::unique_ptr<StringStream> line(resource->GetLine(false));
    std::printf("%d: index %d: %s\n", label, index,
                line ? os::shiftJisToUtf8(std::string(line->GetBuffer(), line->GetLength())).c_str() : "");
  }
  std::printf("%d labels, %d bytes of text\n", std::max(resource->GetLabelCount(), 0), resource->GetLength());
  return 0;
}

}  // namespace

int main(int argc, char** argv) {
  std::string source;
  std::string output;
  std::string header;
  std::string prefix = "TEXT_";
  std::string listed;
  textres::Encoding encoding = textres::Encoding::Auto;
  for (int i = 1; i < argc; ++i) {
    std::string arg = argv[i];
    auto value = [&](std::string* into) {
      if (i + 1 >= argc) return false;
      *into = argv[++i];
      return true;
    };
    std::string encodingName;
    if (arg == "-h" || arg == "--help") {
      std::fputs(kUsage, stdout);
      return 0;
    } else if (arg == "-o" || arg == "--output") {
      if (!value(&output)) return fail(arg + " needs a file name");
    } else if (arg == "--header") {
      if (!value(&header)) return fail(arg + " needs a file name");
    } else if (arg == "--prefix") {
      if (!value(&prefix)) return fail(arg + " needs a text");
    } else if (arg == "--list") {
      if (!value(&listed)) return fail(arg + " needs a file name");
    } else if (arg == "-e" || arg == "--encoding") {
      if (!value(&encodingName)) return fail(arg + " needs auto, utf-8 or shift-jis");
      if (encodingName == "auto") encoding = textres::Encoding::Auto;
      else if (encodingName == "utf-8" || encodingName == "utf8") encoding = textres::Encoding::Utf8;
      else if (encodingName == "shift-jis" || encodingName == "sjis") encoding = textres::Encoding::ShiftJis;
      else return fail("unknown encoding \"" + encodingName + "\": use auto, utf-8 or shift-jis");
    } else if (arg.size() > 1 && arg[0] == '-') {
      return fail("unknown option " + arg + " (see --help)");
    } else if (source.empty()) {
      source = arg;
    } else {
      return fail("more than one source: " + source + " and " + arg);
    }
  }
  if (!listed.empty()) return list(listed);
  if (source.empty()) return fail("no source given (see --help)");
  if (output.empty()) return fail("no output given: use -o RESOURCE");

  std::string bytes;
  if (!readFile(source, &bytes)) return fail("cannot read " + source);
  textres::Compiled compiled;
  std::string error;
  if (!textres::compile(bytes, encoding, &compiled, &error)) return fail(source + ": " + error);
  if (!writeFile(output, textres::serialize(compiled))) return fail("cannot write " + output);
  if (!header.empty() && !writeFile(header, textres::labelHeader(compiled, prefix))) {
    return fail("cannot write " + header);
  }
  return 0;
}
