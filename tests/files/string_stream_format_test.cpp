#include <gtest/gtest.h>

#include <cstdarg>
#include <cstdio>
#include <cstring>
#include <string>
#include <vector>

#include "files/string_stream_format.h"
#include "host/exports/string_stream.h"

namespace {

// The variable arguments of a module call laid out by hand, cell by cell.
class Cells {
 public:
  Cells& Int(int32_t value) {
    cells_.push_back(static_cast<uint32_t>(value));
    return *this;
  }
  Cells& Int64(int64_t value) {
    cells_.push_back(static_cast<uint32_t>(value));
    cells_.push_back(static_cast<uint32_t>(static_cast<uint64_t>(value) >> 32));
    return *this;
  }
  Cells& Double(double value) {
    uint64_t bits;
    std::memcpy(&bits, &value, sizeof bits);
    return Int64(static_cast<int64_t>(bits));
  }
  Cells& Pointer(const void* value) {
    uint32_t words[sizeof(void*) / 4];
    std::memcpy(words, &value, sizeof value);
    cells_.insert(cells_.end(), std::begin(words), std::end(words));
    return *this;
  }
  const uint32_t* data() const { return cells_.data(); }

 private:
  std::vector<uint32_t> cells_;
};

std::string format(const char* text, const Cells& cells) {
  char buffer[512];
  std::memset(buffer, 'Z', sizeof buffer);
  int32_t count = strmstr_Format(buffer, text, cells.data());
  EXPECT_EQ(count, static_cast<int32_t>(std::strlen(buffer))) << text;
  return std::string(buffer);
}

TEST(StringStreamFormatTest, IntegersReadOneCellOrTwoBySize) {
  EXPECT_EQ(format("%d %i %u %x %X %o", Cells().Int(-5).Int(7).Int(-1).Int(255).Int(0xABC).Int(8)),
            "-5 7 4294967295 ff ABC 10");
  EXPECT_EQ(format("%ld %lu %Iu %zd", Cells().Int(-2).Int(-2).Int(3).Int(4)), "-2 4294967294 3 4");
  EXPECT_EQ(format("%lld|%I64x|%d", Cells().Int64(-123456789012345LL).Int64(0x1122334455667788LL).Int(9)),
            "-123456789012345|1122334455667788|9");
  EXPECT_EQ(format("%I32d %I64u", Cells().Int(-1).Int64(1)), "-1 1");
  EXPECT_EQ(format("%hd %hu %hhd %hhx", Cells().Int(0x18000).Int(-1).Int(0x1FF).Int(0x1AB)), "-32768 65535 -1 ab");
}

TEST(StringStreamFormatTest, FlagsWidthAndPrecision) {
  EXPECT_EQ(format("[%5d][%-5d][%05d][%+d][% d][%#x][%#o][%.3d]",
                   Cells().Int(42).Int(42).Int(-42).Int(3).Int(3).Int(255).Int(8).Int(7)),
            "[   42][42   ][-0042][+3][ 3][0xff][010][007]");
  EXPECT_EQ(format("[%*d][%*d][%-*d]", Cells().Int(4).Int(1).Int(-4).Int(2).Int(3).Int(3)), "[   1][2   ][3  ]");
  EXPECT_EQ(format("[%.*s][%.*d][%.d]", Cells().Int(2).Pointer("abcdef").Int(-1).Int(5).Int(0)), "[ab][5][]");
}

TEST(StringStreamFormatTest, FloatingPointTakesTwoCells) {
  char expected[128];
  std::snprintf(expected, sizeof expected, "%f|%.2f|%e|%g|%8.3E|%G|%d", 3.25, -1.005, 12345.678, 0.0001, 1e10, 1e-20, 5);
  EXPECT_EQ(format("%f|%.2f|%e|%g|%8.3E|%G|%d",
                   Cells().Double(3.25).Double(-1.005).Double(12345.678).Double(0.0001).Double(1e10).Double(1e-20).Int(5)),
            expected);
  EXPECT_EQ(format("%Lf %.1f", Cells().Double(0.5).Double(2.25)), "0.500000 2.2");
}

TEST(StringStreamFormatTest, TextCharactersAndPointers) {
  const char* sjis = "\x93\xFA\x96\x7B";
  EXPECT_EQ(format("<%s><%6s><%-6s><%.1s><%s>", Cells().Pointer("ab").Pointer("cd").Pointer("ef").Pointer("gh").Pointer(sjis)),
            std::string("<ab><    cd><ef    ><g><") + sjis + ">");
  EXPECT_EQ(format("%s", Cells().Pointer(nullptr)), "(null)");
  EXPECT_EQ(format("%c%c%3c", Cells().Int('a').Int(0x141).Int('z')), "aA  z");
  std::string pointer = format("%p", Cells().Pointer(reinterpret_cast<void*>(0xBEEF)));
  EXPECT_EQ(pointer, std::string(2 * sizeof(void*) - 4, '0') + "BEEF");
}

TEST(StringStreamFormatTest, OddDirectivesNeitherCrashNorShiftTheArguments) {
  int sink = 77;
  EXPECT_EQ(format("a%nb%d", Cells().Pointer(&sink).Int(4)), "ab4");
  EXPECT_EQ(sink, 77) << "%n writes nothing";
  EXPECT_EQ(format("100%% %y %d %", Cells().Int(6)), "100% %y 6 %");
  EXPECT_EQ(format("%-", Cells()), "%-");
  EXPECT_EQ(format("", Cells()), "");
  EXPECT_EQ(format("plain \x82\xA0 text", Cells()), "plain \x82\xA0 text");
}

TEST(StringStreamFormatTest, TheBufferHasNoLimit) {
  std::vector<char> buffer(5000, 'Z');
  int32_t count = FormatStringStreamArguments(buffer.data(), "%4000d|%s", Cells().Int(1).Pointer("end").data());
  EXPECT_EQ(count, 4004);
  EXPECT_EQ(std::string(buffer.data() + 3999, 5), "1|end");
  EXPECT_EQ(buffer[4004], '\0');
  EXPECT_EQ(buffer[4005], 'Z');
}

#if defined(_WIN32) && !defined(_WIN64)
// On the 32-bit target a real va_list is the module's cell layout: the walk must agree with
// the compiler's own stack for every kind of argument.
int32_t formatVariadic(char* buffer, const char* format, ...) {
  va_list arguments;
  va_start(arguments, format);
  int32_t count = strmstr_Format(buffer, format, arguments);
  va_end(arguments);
  return count;
}

TEST(StringStreamFormatTest, ARealArgumentListOfThe32BitTarget) {
  char buffer[256];
  int32_t count = formatVariadic(buffer, "%d|%lld|%.2f|%s|%c|%hd|%I64x|%u", -7, -9000000000LL, 2.5, "sjis",
                                 'q', static_cast<short>(-3), 0xABCDEF0123LL, 4000000000u);
  EXPECT_STREQ(buffer, "-7|-9000000000|2.50|sjis|q|-3|abcdef0123|4000000000");
  EXPECT_EQ(count, static_cast<int32_t>(std::strlen(buffer)));
}
#endif

}  // namespace
