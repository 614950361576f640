// SoundFont 2 files: the test's sine font and the Debian GM font read; bad files refused with a
// message that says what is wrong.
#include <gtest/gtest.h>

#include <string>
#include <vector>

#include "sound/synth/soundfont.h"
#include "tests/sound/synth/soundfont_bytes.h"

namespace {

std::string loadError(const std::string& bytes) {
  SoundFont font;
  std::string error;
  bool loaded = font.load(reinterpret_cast<const uint8_t*>(bytes.data()), bytes.size(), &error);
  return loaded ? "" : error;
}

// The sine font with `replacement` written over its bytes at the first place of `anchor`, plus
// `offset`.
std::string patched(const std::string& anchor, size_t offset, const std::string& replacement) {
  std::string bytes = sineSoundFont();
  size_t at = bytes.find(anchor);
  EXPECT_NE(at, std::string::npos) << anchor;
  bytes.replace(at + offset, replacement.size(), replacement);
  return bytes;
}

TEST(SoundFontTest, PresetsLeadThroughInstrumentsToSamples) {
  std::string bytes = sineSoundFont();
  SoundFont font;
  std::string error;
  ASSERT_TRUE(font.load(reinterpret_cast<const uint8_t*>(bytes.data()), bytes.size(), &error)) << error;
  ASSERT_EQ(font.presets().size(), 2u);
  ASSERT_EQ(font.samples().size(), 1u);
  EXPECT_EQ(font.samples()[0].name, "sine");
  EXPECT_EQ(font.samples()[0].end, kSineFrames);
  EXPECT_EQ(font.samples()[0].originalPitch, 69);
  ASSERT_NE(font.preset(128, 0), nullptr);
  EXPECT_EQ(font.preset(128, 0)->name, "Sine Drums");
  EXPECT_EQ(font.preset(0, 1), nullptr);
  std::vector<SoundFontRegion> regions;
  font.regions(*font.preset(0, 0), 60, 100, &regions);
  ASSERT_EQ(regions.size(), 1u);
  EXPECT_EQ(regions[0].sample, &font.samples()[0]);
  EXPECT_EQ(regions[0].value[kGenSampleModes], 1);
  EXPECT_EQ(regions[0].value[kGenFilterCutoff], 13500) << "defaults where the file says nothing";
  EXPECT_EQ(regions[0].value[kGenReleaseVolEnv], -12000);
}

TEST(SoundFontTest, TheDebianGeneralMidiFontReads) {
  SoundFont font;
  std::string error;
  ASSERT_TRUE(font.loadFile("/usr/share/sounds/sf2/TimGM6mb.sf2", &error)) << error;
  for (uint16_t program = 0; program < 128; ++program) EXPECT_NE(font.preset(0, program), nullptr) << program;
  ASSERT_NE(font.preset(128, 0), nullptr);
  std::vector<SoundFontRegion> regions;
  font.regions(*font.preset(128, 0), 38, 100, &regions);
  EXPECT_FALSE(regions.empty()) << "the standard kit has a snare";
}

TEST(SoundFontTest, BadFilesAreRefusedWithAMessage) {
  EXPECT_EQ(loadError(""), "not a SoundFont 2 file (no RIFF 'sfbk' header)");
  EXPECT_EQ(loadError("RIFF\4\0\0\0WAVE"), "not a SoundFont 2 file (no RIFF 'sfbk' header)");
  EXPECT_EQ(loadError(patched("RIFF", 4, le(0xFFFFFFFF, 4))), "the RIFF chunk runs past the end of the file");
  EXPECT_EQ(loadError(patched("smpl", 4, le(0x7FFFFFF0, 4))), "chunk 'smpl' in 'sdta' runs past its end");
  EXPECT_EQ(loadError(patched("phdr", 4, le(0xFFFFFFF0, 4))), "chunk 'phdr' in 'pdta' runs past its end");
  EXPECT_EQ(loadError(patched("pdta", 0, "xdta")), "the file has no 'pdta' list");
  EXPECT_EQ(loadError(patched("igen", 0, "iXen")), "the file has no 'igen' chunk");
  // Indices and ranges beyond what the file holds.
  EXPECT_EQ(loadError(patched("Sine\0", 24, le(9, 2))), "preset 'Sine' has zone indices out of order or out of range");
  EXPECT_EQ(loadError(patched("pgen", 8 + 2, le(7, 2))), "preset 'Sine' names an instrument that does not exist");
  EXPECT_EQ(loadError(patched("igen", 8 + 6, le(3, 2))), "instrument 'Sine' names a sample that does not exist");
  EXPECT_EQ(loadError(patched("ibag", 8, le(200, 2))), "instrument 'Sine' has generator indices out of order or out of range");
  EXPECT_EQ(loadError(patched("shdr", 8 + 24, le(0x7FFFFFFF, 4))), "sample 'sine' lies outside the sample data");
  EXPECT_EQ(loadError(patched("shdr", 8 + 36, le(0, 4))), "sample 'sine' has a rate of 0");
}

TEST(SoundFontTest, EveryTruncationIsRefusedWithAMessage) {
  std::string bytes = sineSoundFont();
  for (size_t length = 0; length < bytes.size(); ++length) {
    std::string error = loadError(bytes.substr(0, length));
    EXPECT_FALSE(error.empty()) << length;
  }
}

}  // namespace
