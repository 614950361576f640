#include "files/string_stream_format.h"

#include <algorithm>
#include <cinttypes>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <string>

namespace {

// Reads the cells of the module's argument list one value at a time.
class ArgumentCells {
 public:
  explicit ArgumentCells(const void* at) : at_(static_cast<const uint8_t*>(at)) {}

  uint32_t Cell() {
    uint32_t value;
    std::memcpy(&value, at_, sizeof value);
    at_ += sizeof value;
    return value;
  }
  uint64_t TwoCells() {
    uint64_t low = Cell();
    return low | static_cast<uint64_t>(Cell()) << 32;
  }
  double Double() {
    uint64_t bits = TwoCells();
    double value;
    std::memcpy(&value, &bits, sizeof value);
    return value;
  }
  const void* Pointer() {
    const void* value;
    std::memcpy(&value, at_, sizeof value);
    at_ += (sizeof value + 3) & ~size_t{3};
    return value;
  }

 private:
  const uint8_t* at_;
};

enum class Size { Char, Short, Int, LongLong };

// Appends the output of one host conversion to `out`.
class Writer {
 public:
  explicit Writer(char* out) : start_(out), out_(out) {}

  template <typename T>
  void Convert(const std::string& spec, T value) {
    int count = std::snprintf(nullptr, 0, spec.c_str(), value);
    if (count <= 0) return;
    std::snprintf(out_, static_cast<size_t>(count) + 1, spec.c_str(), value);
    out_ += count;
  }
  void Copy(const char* from, size_t count) {
    std::memcpy(out_, from, count);
    out_ += count;
  }
  int32_t Finish() {
    *out_ = '\0';
    return static_cast<int32_t>(out_ - start_);
  }

 private:
  char* start_;
  char* out_;
};

// Reads a width or precision: digits, or '*' taken from the cells (which may be negative).
// -1 when neither stands.
int32_t ReadCount(const char*& at, ArgumentCells& cells) {
  if (*at == '*') {
    ++at;
    return static_cast<int32_t>(cells.Cell());
  }
  if (*at < '0' || *at > '9') return -1;
  int64_t count = 0;
  for (; *at >= '0' && *at <= '9'; ++at) count = std::min<int64_t>(count * 10 + (*at - '0'), INT32_MAX);
  return static_cast<int32_t>(count);
}

Size ReadSize(const char*& at) {
  auto take = [&at](const char* prefix) {
    size_t length = std::strlen(prefix);
    if (std::strncmp(at, prefix, length) != 0) return false;
    at += length;
    return true;
  };
  if (take("hh")) return Size::Char;
  if (take("h")) return Size::Short;
  if (take("ll") || take("I64") || take("j")) return Size::LongLong;
  // The module's int, long, size_t and pointer difference are one cell; its long double is a
  // double, read in two cells like every floating argument.
  (void)(take("I32") || take("I") || take("l") || take("L") || take("z") || take("t") || take("w"));
  return Size::Int;
}

int64_t SignedValue(ArgumentCells& cells, Size size) {
  switch (size) {
    case Size::Char: return static_cast<int8_t>(cells.Cell());
    case Size::Short: return static_cast<int16_t>(cells.Cell());
    case Size::Int: return static_cast<int32_t>(cells.Cell());
    case Size::LongLong: return static_cast<int64_t>(cells.TwoCells());
  }
  return 0;
}

uint64_t UnsignedValue(ArgumentCells& cells, Size size) {
  switch (size) {
    case Size::Char: return static_cast<uint8_t>(cells.Cell());
    case Size::Short: return static_cast<uint16_t>(cells.Cell());
    case Size::Int: return cells.Cell();
    case Size::LongLong: return cells.TwoCells();
  }
  return 0;
}

}  // namespace

int32_t FormatStringStreamArguments(char* buffer, const char* format, const void* arguments) {
  Writer writer(buffer);
  ArgumentCells cells(arguments);
  const char* at = format;
  while (*at) {
    const char* percent = std::strchr(at, '%');
    if (!percent) percent = at + std::strlen(at);
    writer.Copy(at, static_cast<size_t>(percent - at));
    at = percent;
    if (!*at) break;

    const char* directive = at++;
    std::string flags;
    for (; *at && std::strchr("-+ #0", *at); ++at) flags += *at;
    bool widthFromCells = *at == '*';
    int32_t width = ReadCount(at, cells);
    if (widthFromCells && width < 0) {
      flags += '-';  // a negative width from the cells means left-aligned
      width = width == INT32_MIN ? INT32_MAX : -width;
    }
    int32_t precision = -1;
    if (*at == '.') {
      ++at;
      bool precisionFromCells = *at == '*';
      precision = ReadCount(at, cells);
      // A lone '.' means 0; a negative precision from the cells means none.
      if (precision < 0) precision = precisionFromCells ? -1 : 0;
    }
    Size size = ReadSize(at);

    std::string spec = "%" + flags;
    if (width >= 0) spec += std::to_string(width);
    if (precision >= 0) spec += "." + std::to_string(precision);
    char conversion = *at ? *at++ : '\0';
    switch (conversion) {
      case 'd':
      case 'i':
        writer.Convert(spec + "lld", static_cast<long long>(SignedValue(cells, size)));
        break;
      case 'u':
      case 'o':
      case 'x':
      case 'X':
        writer.Convert(spec + "ll" + conversion, static_cast<unsigned long long>(UnsignedValue(cells, size)));
        break;
      case 'c':
        writer.Convert(spec + 'c', static_cast<int>(static_cast<uint8_t>(cells.Cell())));
        break;
      case 's': {
        const char* text = static_cast<const char*>(cells.Pointer());
        writer.Convert(spec + 's', text ? text : "(null)");
        break;
      }
      case 'p': {
        char digits[2 * sizeof(void*) + 1];
        std::snprintf(digits, sizeof digits, "%0*" PRIXPTR, static_cast<int>(2 * sizeof(void*)),
                      reinterpret_cast<uintptr_t>(cells.Pointer()));
        writer.Convert(spec + 's', static_cast<const char*>(digits));
        break;
      }
      case 'e': case 'E': case 'f': case 'F': case 'g': case 'G': case 'a': case 'A':
        writer.Convert(spec + conversion, cells.Double());
        break;
      case 'n':
        cells.Pointer();
        break;
      case '%':
        writer.Copy("%", 1);
        break;
      default:
        writer.Copy(directive, static_cast<size_t>(at - directive));
        break;
    }
  }
  return writer.Finish();
}
