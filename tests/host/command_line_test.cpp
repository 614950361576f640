#include <gtest/gtest.h>

#include <string>
#include <vector>

#include "host/app/command_line.h"
#include "host/app/zpk_app.h"
#include "host/module/zpk_text.h"

namespace {

const std::string kDebugLine = std::string(zpk_text::kDebugInRelease) + "\n";
const std::string kSecondName = std::string(zpk_text::kSecondModuleName) + "\n";

TEST(CommandLineTest, ModuleNamesBareOrQuoted) {
  EXPECT_EQ(scanCommandLine("").moduleName, "");
  EXPECT_EQ(scanCommandLine("   ").moduleName, "");
  EXPECT_EQ(scanCommandLine("game.zpe").moduleName, "game.zpe");
  EXPECT_EQ(scanCommandLine("  C:\\Games\\a+b=c.zpe  ").moduleName, "C:\\Games\\a+b=c.zpe") << "separators do not end bare text";
  EXPECT_EQ(scanCommandLine("\"C:\\My Games\\game.zpe\"").moduleName, "C:\\My Games\\game.zpe");
  EXPECT_EQ(scanCommandLine("\"unterminated name").moduleName, "unterminated name");
  EXPECT_EQ(scanCommandLine("\x83Q\x81[\x83\x80.zpe").moduleName, "\x83Q\x81[\x83\x80.zpe") << "Shift-JIS name";
  EXPECT_EQ(scanCommandLine("x").moduleName, "") << "one character at the very end gives an empty name";
}

TEST(CommandLineTest, TheFirstModuleNameWins) {
  CommandLine line = scanCommandLine("first.zpe \"second one.zpe\" third.zpe");
  EXPECT_EQ(line.moduleName, "first.zpe");
  EXPECT_EQ(line.debugLines, (std::vector<std::string>{kSecondName, kSecondName}));
}

TEST(CommandLineTest, SwitchesInAnyCaseBehindHyphenOrSlash) {
  CommandLine line = scanCommandLine("-debug /DrT -DEBUG game.zpe");
  EXPECT_EQ(line.moduleName, "game.zpe");
  EXPECT_EQ(line.debugLines, (std::vector<std::string>{kDebugLine, kDebugLine, kDebugLine}));

  line = scanCommandLine("/what=1 game.zpe");
  ASSERT_EQ(line.debugLines.size(), 2u) << "scanning goes on at the end of the name";
  EXPECT_EQ(line.debugLines[0], std::string(zpk_text::kBadSwitch) + "what\n");
  EXPECT_EQ(line.debugLines[1], kSecondName) << "the rest of the switch is an argument of its own";
  EXPECT_EQ(line.moduleName, "=1");
}

TEST(CommandLineTest, TheDebugConfigurationTakesDebugAndTheRecordsName) {
  CommandLine line = scanCommandLine("/Debug -drt=\"C:\\my records\\game.drt\" game.zpe", true);
  EXPECT_TRUE(line.debug);
  EXPECT_EQ(line.debugRecord, "C:\\my records\\game.drt");
  EXPECT_EQ(line.moduleName, "game.zpe");
  EXPECT_TRUE(line.debugLines.empty()) << "no line of the release configuration";

  CommandLine release = scanCommandLine("game.zpe /DEBUG /DRT=game.drt");
  EXPECT_FALSE(release.debug);
  EXPECT_EQ(release.debugRecord, "");
  EXPECT_EQ(release.moduleName, "game.zpe") << "the value stays behind as a module name of its own";
  ASSERT_EQ(release.debugLines.size(), 3u);
  EXPECT_EQ(release.debugLines[2], kSecondName);

  CommandLine plain = scanCommandLine("game.zpe -DRT:other.drt", true);
  EXPECT_FALSE(plain.debug) << "DRT alone does not start the debugger";
  EXPECT_EQ(plain.debugRecord, "other.drt");
}

TEST(CommandLineTest, BaseDirectoryValues) {
  for (const char* text : {"/BASEDIR=C:\\data", "-basedir:C:\\data", "/BaseDir C:\\data"}) {
    CommandLine line = scanCommandLine(text);
    EXPECT_EQ(line.baseDirectory, "C:\\data") << text;
    EXPECT_TRUE(line.baseDirectoryGiven) << text;
    EXPECT_EQ(line.moduleName, "") << text;
  }
  CommandLine quoted = scanCommandLine("/BASEDIR=\"C:\\My Data\" game.zpe");
  EXPECT_EQ(quoted.baseDirectory, "C:\\My Data");
  EXPECT_EQ(quoted.moduleName, "game.zpe");

  CommandLine atEnd = scanCommandLine("game.zpe /BASEDIR");
  EXPECT_EQ(atEnd.baseDirectory, "");
  EXPECT_FALSE(atEnd.baseDirectoryGiven);
  EXPECT_TRUE(atEnd.debugLines.empty());

  CommandLine spaced = scanCommandLine("/BASEDIR= \"C:\\x\"");
  EXPECT_EQ(spaced.baseDirectory, "") << "only one character is skipped; the value is then empty";
  EXPECT_FALSE(spaced.baseDirectoryGiven);
  EXPECT_EQ(spaced.moduleName, "C:\\x");
}

TEST(CommandLineTest, ASwitchRightBehindAClosingQuoteIsANewArgument) {
  CommandLine line = scanCommandLine("\"a b.zpe\"/DEBUG");
  EXPECT_EQ(line.moduleName, "a b.zpe");
  EXPECT_EQ(line.debugLines, std::vector<std::string>{kDebugLine});
}

TEST(DebugRecordFileNameTest, DirectoryTitleAndExtension) {
  EXPECT_EQ(debugRecordFileNameOf("C:\\games\\my.game.zpe", "C:\\games\\"), "C:\\games\\my.game.drt");
  EXPECT_EQ(debugRecordFileNameOf("C:\\games\\module", "C:\\games\\"), "C:\\games\\module.drt");
  EXPECT_EQ(debugRecordFileNameOf("/tmp/x.zpe", "/tmp/"), "/tmp/x.drt");
  // ソフト\表.zpe: the trail bytes of ソ and 表 have the backslash's code.
  EXPECT_EQ(debugRecordFileNameOf("C:\\\x83\x5C\\\x95\x5C.zpe", "C:\\\x83\x5C\\"), "C:\\\x83\x5C\\\x95\x5C.drt");
  EXPECT_EQ(directoryOf("C:\\\x83\x5C\\\x95\x5C.zpe"), "C:\\\x83\x5C\\");
}

}  // namespace
