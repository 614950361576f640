#include <gtest/gtest.h>

#include <string>
#include <utility>
#include <vector>

#include "base/trace.h"
#include "tests/test_support.h"

namespace {

std::vector<std::pair<TraceChannel, std::string>> seen;
void keep(TraceChannel channel, const char* text) { seen.emplace_back(channel, text); }

class TraceTest : public ::testing::Test {
 protected:
  void SetUp() override { seen.clear(); }
  void TearDown() override {
    setTraceSink(nullptr);
    runa1_test::setEnvironment("RUNA1_TRACE", nullptr);
  }
};

constexpr uint32_t kRecord = traceChannelBit(TraceChannel::record);
constexpr uint32_t kArchive = traceChannelBit(TraceChannel::archive);

TEST_F(TraceTest, NamesPickChannelsInAnyCaseAndCollectTheUnknown) {
  std::string unknown;
  EXPECT_EQ(traceChannelsNamed("archive", &unknown), kArchive);
  EXPECT_EQ(traceChannelsNamed(" Record , ARCHIVE ", &unknown), kRecord | kArchive);
  EXPECT_EQ(traceChannelsNamed("all", &unknown), kAllTraceChannels);
  EXPECT_EQ(traceChannelsNamed(",,", &unknown), 0u);
  EXPECT_EQ(unknown, "");
  EXPECT_EQ(traceChannelsNamed("movie,archive,nosuch", &unknown), kArchive);
  EXPECT_EQ(unknown, "movie,nosuch");
  EXPECT_STREQ(traceChannelName(TraceChannel::archive), "archive");
}

TEST_F(TraceTest, OnlyTheChosenChannelsReachTheSink) {
  TraceMessage(TraceChannel::record, "before any sink");
  setTraceSink(keep, kRecord);
  TraceMessage(TraceChannel::archive, "not chosen");
  TraceMessage(TraceChannel::record, "value %d of %s", 7, "eight");
  ASSERT_EQ(seen.size(), 1u);
  EXPECT_EQ(seen[0].first, TraceChannel::record);
  EXPECT_EQ(seen[0].second, "value 7 of eight");
  setTraceSink(nullptr);
  TraceMessage(TraceChannel::record, "after");
  EXPECT_EQ(seen.size(), 1u);
}

TEST_F(TraceTest, TheEnvironmentSendsItsChannelsToStderrAndNamesTheUnknown) {
  runa1_test::setEnvironment("RUNA1_TRACE", "record,nosuch");
  testing::internal::CaptureStderr();
  traceFromEnvironment();
  TraceMessage(TraceChannel::record, "Warring : %s\n", "underflow");
  TraceMessage(TraceChannel::archive, "silent");
  TraceMessage(TraceChannel::record, "\x83\x41 no line end");  // ア, Shift-JIS
  EXPECT_EQ(testing::internal::GetCapturedStderr(),
            "runa1: RUNA1_TRACE: no channel named nosuch (channels: all, record, archive, sound, midi, font)\n"
            "runa1: trace record: Warring : underflow\n"
            "runa1: trace record: \xE3\x82\xA2 no line end\n");
}

TEST_F(TraceTest, WithoutTheVariableNothingIsTraced) {
  setTraceSink(keep);
  runa1_test::setEnvironment("RUNA1_TRACE", nullptr);
  traceFromEnvironment();
  testing::internal::CaptureStderr();
  TraceMessage(TraceChannel::archive, "to the test's sink only");
  EXPECT_EQ(testing::internal::GetCapturedStderr(), "");
  EXPECT_EQ(seen.size(), 1u) << "an unset variable leaves the sink alone";
}

}  // namespace
