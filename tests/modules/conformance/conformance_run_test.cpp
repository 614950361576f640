// Modules run by runa1.exe under Wine, each checking what module code sees of an export.
#include <string>

#include <cmath>
#include <vector>

#include "graphics/molaq_image_encoder.h"
#include "tests/modules/host_run.h"

namespace {

// 「"plain.txt"は無効なアーカイブファイルです。」 in UTF-8, as the trace writes it to stderr.
const std::string kNoArchiveTrace =
    "runa1: trace archive: \"plain.txt\"\xE3\x81\xAF\xE7\x84\xA1\xE5\x8A\xB9\xE3\x81\xAA\xE3\x82\xA2"
    "\xE3\x83\xBC\xE3\x82\xAB\xE3\x82\xA4\xE3\x83\x96\xE3\x83\x95\xE3\x82\xA1\xE3\x82\xA4\xE3\x83\xAB"
    "\xE3\x81\xA7\xE3\x81\x99\xE3\x80\x82\n";

TEST(TraceRunTest, RunaTraceSwitchesTheNamedChannelsOnAndNothingElse) {
  TempDir work;
  Outcome silent = runModuleInWork("trace_module", work);
  expectAllPassed(work.read("run.log"), silent, {"refused"});
  EXPECT_EQ(silent.diagnostics.find("runa1: trace"), std::string::npos) << silent.diagnostics;

  Outcome other = runModuleInWork("trace_module", work, {{"RUNA1_TRACE", "record"}});
  EXPECT_EQ(other.diagnostics.find("runa1: trace"), std::string::npos) << other.diagnostics;

  Outcome traced = runModuleInWork("trace_module", work, {{"RUNA1_TRACE", "record,archive"}});
  expectAllPassed(work.read("run.log"), traced, {"refused"});
  EXPECT_NE(traced.diagnostics.find(kNoArchiveTrace), std::string::npos) << traced.diagnostics;

  Outcome all = runModuleInWork("trace_module", work, {{"RUNA1_TRACE", "all,movie"}});
  EXPECT_NE(all.diagnostics.find(kNoArchiveTrace), std::string::npos) << all.diagnostics;
  EXPECT_NE(all.diagnostics.find("RUNA1_TRACE: no channel named movie"), std::string::npos) << all.diagnostics;
}

TEST(NumericRunTest, ScaleFillsTheSecondSlotAndArithmeticFollowsTheModulesRounding) {
  TempDir work;
  Outcome outcome = runModuleInWork("numeric_module", work);
  expectAllPassed(work.read("run.log"), outcome,
                  {"scale-gives-a", "scale-stores-b-times-2-to-trunc-a", "scale-truncates-a", "add-to-nearest",
                   "add-rounds-up", "int-rounds-up", "sub-rounds-down", "int-rounds-down", "control-word-kept",
                   "init-rounds-to-nearest"});
}

TEST(StartRunTest, AModuleThreadEndedByExitThreadEndsTheHostAtNormalPriority) {
  TempDir work;
  Outcome outcome = runModuleInWork("exit_thread_module", work, {}, 20000);
  expectAllPassed(work.read("run.log"), outcome, {"normal-priority-class"});
  EXPECT_EQ(work.read("fini.log"), "ok fini\n") << "the finaliser runs";
}

TEST(StartRunTest, AClassMenuGivenByIntegerIdStaysAnId) {
  TempDir work;
  Outcome outcome = runModuleInWork("class_menu_module", work);
  expectAllPassed(work.read("run.log"), outcome, {"initialized", "main-window", "registered-with-the-id"});
}

// Writes a textured 24-bit picture into `work`.
void writePicture(const TempDir& work, const char* name) {
  const int32_t width = 96, height = 64, pitch = width * 3;
  std::vector<uint8_t> pixels(static_cast<size_t>(pitch) * height);
  for (int32_t y = 0; y < height; ++y) {
    for (int32_t x = 0; x < width; ++x) {
      uint8_t* p = &pixels[y * pitch + x * 3];
      p[0] = uint8_t(128 + 100 * std::sin(x * 0.37) * std::cos(y * 0.23));
      p[1] = uint8_t(x * 2 + y + (x * y) % 13);
      p[2] = uint8_t((x / 8 + y / 8) % 2 ? 210 : 30);
    }
  }
  BITMAPINFO info{};
  info.bmiHeader = {sizeof(BITMAPINFOHEADER), width, height, 1, 24, BI_RGB, 0, 0, 0, 0, 0};
  MOLAQImageFile file;
  ASSERT_EQ(mqEncodeImageFile(&info, pixels.data(), nullptr, mqEncodeOptionsForQuality(95), &file), 0u);
  ASSERT_EQ(mqWriteImageFile(work.file(name).c_str(), file), 0u);
}

TEST(StartRunTest, TheStartChoosesTheKernelsAnewAfterTheModulesInitialiser) {
  TempDir work;
  writePicture(work, "picture.mq");
  Outcome outcome = runModuleInWork("interface_module", work);
  expectAllPassed(work.read("run.log"), outcome, {"read", "variants-differ", "start-chose-anew"});
}

}  // namespace
