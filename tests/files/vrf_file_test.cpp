#include <gtest/gtest.h>

#include <atomic>
#include <string>
#include <vector>

#include "base/error.h"
#include "base/trace.h"
#include "files/koral_archive.h"
#include "host/exports/record_file.h"
#include "tests/files/memory_file.h"
#include "tests/files/record_bytes.h"
#include "tests/temp_dir.h"

namespace {

constexpr uint64_t kOuter = vrfId("OuterRec");
constexpr uint64_t kInner = vrfId("InnerRec");
constexpr uint64_t kEmpty = vrfId("EmptyRec");
constexpr uint64_t kOther = vrfId("OtherRec");

std::vector<std::string> traces;
void keepTrace(const char* text) { traces.push_back(text); }

void expectReport(uint32_t result, const char* message) {
  EXPECT_EQ(result, VK_ERROR_FILE);
  const VKERRORRECORD* record = vkGetErrorRecord();
  EXPECT_EQ(record->code, VK_ERROR_FILE);
  EXPECT_STREQ(record->source, "KFileObj");
  EXPECT_STREQ(record->message, message);
}

std::string readAll(KFileObj& file) {
  std::string bytes(file.GetLength() + 8, '\0');
  bytes.resize(file.Read(bytes.data(), static_cast<uint32_t>(bytes.size())));
  return bytes;
}

class VRFFileTest : public ::testing::Test {
 protected:
  void SetUp() override {
    traces.clear();
    setTraceSink(keepTrace);
  }
  void TearDown() override { setTraceSink(nullptr); }

  // OuterRec { InnerRec "inner body", EmptyRec {} }, OtherRec "tail"
  MemoryFile nested{vrfHeaderBytes() +
                    recordBytes(kOuter, recordBytes(kInner, "inner body") + recordBytes(kEmpty, "")) +
                    recordBytes(kOther, "tail")};
};

TEST_F(VRFFileTest, ReadingShowsTheInnermostRecordAsAWholeFile) {
  VRFFile file;
  ASSERT_EQ(file.Open(&nested, nullptr), 0u);
  EXPECT_EQ(file.GetHeader().fileType, 0x02000000u);
  EXPECT_EQ(file.GetLength(), nested.GetLength() - 64);
  ASSERT_EQ(file.DescendRecord(&kOuter), 0u);
  EXPECT_EQ(file.GetLength(), 16u + 10 + 16);
  EXPECT_EQ(file.GetPosition(), 0u);
  ASSERT_EQ(file.DescendRecord(&kInner), 0u);
  EXPECT_EQ(readAll(file), "inner body") << "reads stop at the record's end";
  ASSERT_EQ(file.Seek(6, kSeekBegin), 6u);
  EXPECT_EQ(readAll(file), "body");
  ASSERT_EQ(file.AscendRecord(), 0u);
  EXPECT_EQ(file.GetPosition(), 26u) << "ascending puts the file behind the body";

  // A record with an empty body is found, and reads give nothing.
  ASSERT_EQ(file.DescendRecord(nullptr), 0u);
  EXPECT_EQ(file.GetLength(), 0u);
  char byte;
  EXPECT_EQ(file.Read(&byte, 1), 0u);
  ASSERT_EQ(file.AscendRecord(), 0u);
  ASSERT_EQ(file.AscendRecord(), 0u);
  ASSERT_EQ(file.DescendRecord(&kOther), 0u);
  EXPECT_EQ(readAll(file), "tail");
}

TEST_F(VRFFileTest, SearchesRunForwardOnlyAndStopAtTheRecordsEnd) {
  VRFFile file;
  ASSERT_EQ(file.Open(&nested, nullptr), 0u);
  ASSERT_EQ(file.DescendRecord(&kOther), 0u) << "the search skips the records before";
  ASSERT_EQ(file.AscendRecord(), 0u);
  expectReport(file.DescendRecord(&kOuter), "Not found VRF record.");
  EXPECT_EQ(file.GetPosition(), file.GetLength()) << "the search stops at the end";
  file.Seek(0, kSeekBegin);
  EXPECT_EQ(file.DescendRecord(&kOuter), 0u) << "after a seek to 0 the record is found";

  // Inside the empty record nothing can be found; the position stays at its end.
  ASSERT_EQ(file.DescendRecord(&kEmpty), 0u);
  expectReport(file.DescendRecord(nullptr), "Not found VRF record.");
  EXPECT_EQ(file.GetPosition(), 0u);
  ASSERT_EQ(file.AscendRecord(), 0u);
  // A record of the outer level is not found from inside.
  expectReport(file.DescendRecord(&kInner), "Not found VRF record.");
}

TEST_F(VRFFileTest, RecordLengthsBeyondTheEnclosingRecordAreRefused) {
  // High word set, although the file would be long enough for the low word.
  std::string body(32, 'x');
  MemoryFile high(vrfHeaderBytes() + recordBytes(kInner, body, (1ull << 32) | 4));
  VRFFile file;
  ASSERT_EQ(file.Open(&high, nullptr), 0u);
  expectReport(file.DescendRecord(nullptr), "VRF record length is invalid was found.");
  EXPECT_EQ(file.GetPosition(), 16u) << "the position stands behind the bad header";

  MemoryFile tooLong(vrfHeaderBytes() + recordBytes(kOuter, recordBytes(kInner, "abc", 4)));
  ASSERT_EQ(file.Open(&tooLong, nullptr), 0u);
  ASSERT_EQ(file.DescendRecord(&kOuter), 0u);
  expectReport(file.DescendRecord(&kInner), "VRF record length is invalid was found.");
  ASSERT_EQ(file.AscendRecord(), 0u) << "the failed frame is not linked";
  expectReport(file.AscendRecord(), "Can't ascend from top VRF record.");
}

TEST_F(VRFFileTest, WrongFileIdFailsAndLeavesNoRecord) {
  std::string bytes = vrfHeaderBytes() + recordBytes(kInner, "abc");
  bytes[5] = 0x1B;
  MemoryFile wrong(bytes);
  VRFFile file;
  expectReport(file.Open(&wrong, nullptr), "Invalid VRF file header ID!");
  EXPECT_EQ(file.GetLength(), 0u);
  char buffer[4];
  EXPECT_EQ(file.Read(buffer, 4), 0u);
  expectReport(file.DescendRecord(nullptr), "Not found VRF record.");
  MemoryFile shortFile(std::string("Vom"));
  expectReport(file.Open(&shortFile, nullptr), "Invalid VRF file header ID!");
}

TEST_F(VRFFileTest, SeeksAreHeldInsideTheRecordWithTraceTexts) {
  VRFFile file;
  ASSERT_EQ(file.Open(&nested, nullptr), 0u);
  ASSERT_EQ(file.DescendRecord(&kOuter), 0u);
  ASSERT_EQ(file.DescendRecord(&kInner), 0u);
  EXPECT_EQ(file.Seek(-3, kSeekBegin), 0u);
  EXPECT_EQ(file.Seek(4, kSeekBegin), 4u);
  EXPECT_EQ(file.Seek(-2, kSeekCurrent), 2u);
  EXPECT_EQ(file.Seek(-4, kSeekEnd), 6u);
  EXPECT_EQ(file.Seek(5, kSeekEnd), 10u);
  EXPECT_EQ(file.Seek(99, kSeekBegin), 10u);
  EXPECT_EQ(file.Seek(7, 9), 0u) << "an unknown method goes to the body's start";
  EXPECT_EQ(traces, (std::vector<std::string>{"Warring : VRF record boundary underflow.\n",
                                              "Warring : VRF record boundary overflow.\n",
                                              "Warring : VRF record boundary overflow.\n"}));
  EXPECT_EQ(vkGetLastError(), 0u) << "the texts do not touch the error state";

  setTraceSink(nullptr);
  EXPECT_EQ(file.Seek(-3, kSeekBegin), 0u) << "without a sink tracing does nothing";
  EXPECT_EQ(traces.size(), 3u);
}

TEST_F(VRFFileTest, WritesInReadingModeAreCutAtTheRecordsEnd) {
  VRFFile file;
  ASSERT_EQ(file.Open(&nested, nullptr), 0u);
  ASSERT_EQ(file.DescendRecord(&kOuter), 0u);
  ASSERT_EQ(file.DescendRecord(&kInner), 0u);
  file.Seek(6, kSeekBegin);
  EXPECT_EQ(file.Write("WXYZ1234", 8), 4u);
  file.Seek(0, kSeekBegin);
  EXPECT_EQ(readAll(file), "inner WXYZ");
  ASSERT_EQ(file.AscendRecord(), 0u);
  ASSERT_EQ(file.DescendRecord(&kEmpty), 0u) << "the next record's header is untouched";
}

TEST_F(VRFFileTest, WritingGrowsLengthsAndRewritesInPlace) {
  MemoryFile out({}, FILE_WRITE);
  VRFFileHeader header = {};
  std::memcpy(header.fileId, kVRFFileId, 8);
  header.fileType = 0x02000100;
  VRFFile file;
  expectReport(file.Open(&out, nullptr), "Invalid VRF file header ID!");
  ASSERT_EQ(file.Open(&out, &header), 0u);
  ASSERT_TRUE(file.IsWriting());
  ASSERT_EQ(file.DescendRecord(&kOuter), 0u);
  ASSERT_EQ(file.DescendRecord(&kInner), 0u);
  EXPECT_EQ(file.GetLength(), 0u);
  EXPECT_EQ(file.Write("0123456789", 10), 10u);
  EXPECT_EQ(file.GetLength(), 10u);
  file.Seek(2, kSeekBegin);
  EXPECT_EQ(file.Write("ab", 2), 2u);
  EXPECT_EQ(file.GetLength(), 10u) << "rewriting never shortens a record";
  EXPECT_EQ(file.Seek(40, kSeekBegin), 40u) << "writing has no upper bound";
  file.Seek(4, kSeekBegin);
  ASSERT_EQ(file.AscendRecord(), 0u);
  EXPECT_EQ(file.GetPosition(), 26u) << "ascending goes behind the body, not to the last write";
  EXPECT_EQ(file.GetLength(), 26u) << "the outer length covers the closed record";
  ASSERT_EQ(file.DescendRecord(&kEmpty), 0u);
  ASSERT_EQ(file.AscendRecord(), 0u);
  ASSERT_EQ(file.AscendRecord(), 0u);

  // Seeking back and descending again rewrites a record over the old bytes.
  file.Seek(0, kSeekBegin);
  ASSERT_EQ(file.DescendRecord(&kOther), 0u);
  file.Write("ZZ", 2);
  ASSERT_EQ(file.AscendRecord(), 0u);
  file.Close();

  // Header, OtherRec of 2 bytes over the old outer header, then the old bytes from the inner
  // record's header on.
  ASSERT_EQ(out.bytes().size(), 64u + 16 + 42);
  EXPECT_EQ(out.bytes().substr(0, 64), std::string(reinterpret_cast<const char*>(&header), 64));
  EXPECT_EQ(out.bytes().substr(64, 18), recordBytes(kOther, "ZZ"));
  EXPECT_EQ(out.bytes().substr(96, 10), "01ab456789");
  EXPECT_EQ(out.bytes().substr(106), recordBytes(kEmpty, ""));
}

TEST_F(VRFFileTest, WrittenFilesReadBack) {
  MemoryFile out({}, FILE_WRITE | FILE_READ);
  VRFFileHeader header = {};
  std::memcpy(header.fileId, kVRFFileId, 8);
  VRFFile writer;
  ASSERT_EQ(writer.Open(&out, &header), 0u);
  writer.DescendRecord(&kOuter);
  writer.DescendRecord(&kInner);
  writer.Write("payload", 7);
  writer.AscendRecord();
  writer.DescendRecord(&kEmpty);
  writer.AscendRecord();
  writer.AscendRecord();
  writer.Close();

  MemoryFile in(out.bytes());
  VRFFile reader;
  ASSERT_EQ(reader.Open(&in, nullptr), 0u);
  ASSERT_EQ(reader.DescendRecord(&kOuter), 0u);
  EXPECT_EQ(reader.GetLength(), 16u + 7 + 16);
  ASSERT_EQ(reader.DescendRecord(&kInner), 0u);
  EXPECT_EQ(readAll(reader), "payload");
  reader.AscendRecord();
  ASSERT_EQ(reader.DescendRecord(&kEmpty), 0u);
  EXPECT_EQ(reader.GetLength(), 0u);
}

TEST_F(VRFFileTest, DuplicateReadsFromTheTopLevelAndSharesThePosition) {
  MemoryFile prefixed("junk" + nested.bytes());
  prefixed.Seek(4, kSeekBegin);
  VRFFile file;
  ASSERT_EQ(file.Open(&prefixed, nullptr), 0u);
  ASSERT_EQ(file.DescendRecord(&kOuter), 0u);
  ASSERT_EQ(file.DescendRecord(&kInner), 0u);
  KFileObj* copy = file.Duplicate();
  ASSERT_NE(copy, nullptr);
  VRFFile* records = dynamic_cast<VRFFile*>(copy);
  ASSERT_NE(records, nullptr);
  EXPECT_FALSE(records->IsWriting());
  EXPECT_EQ(prefixed.GetPosition(), 68u) << "the copy moved the shared position";
  EXPECT_EQ(copy->GetLength(), prefixed.GetLength() - 68) << "the copy stands at the top level";
  EXPECT_EQ(copy->GetPosition(), 0u);
  ASSERT_EQ(records->DescendRecord(&kOther), 0u);
  EXPECT_EQ(readAll(*copy), "tail");
  delete copy;

  KORALArchive archive;
  MemoryFile bytes(vrfHeaderBytes() + recordBytes(kDirEntryId, littleBytes(0, 4)));
  ASSERT_EQ(archive.Open(&bytes, nullptr), 0u);
  KFileObj* plain = archive.Duplicate();
  ASSERT_NE(plain, nullptr);
  EXPECT_EQ(dynamic_cast<KORALArchive*>(plain), nullptr) << "an archive duplicates as a plain record file";
  delete plain;
}

TEST_F(VRFFileTest, BackgroundReadFillsTheBufferAndReportsTheOtherWayRound) {
  VRFFile file;
  EXPECT_FALSE(file.IsReading());
  EXPECT_FALSE(file.WaitForRead(0));
  ASSERT_EQ(file.Open(&nested, nullptr), 0u);
  ASSERT_EQ(file.DescendRecord(&kOther), 0u);
  char buffer[16] = {};
  expectReport(file.BeginRead(buffer, sizeof buffer), "Failed to create thread.");
  EXPECT_TRUE(file.IsReading());
  char next[4];
  EXPECT_EQ(file.Read(next, 4), 0u) << "Read waits for the background read, which took all";
  EXPECT_FALSE(file.WaitForRead(os::kWaitForever));
  EXPECT_STREQ(buffer, "tail");
  EXPECT_TRUE(file.IsReading()) << "the handle stays until the next start or Close";
  file.Seek(0, kSeekBegin);
  file.BeginRead(buffer, 2);
  file.Close();
  EXPECT_FALSE(file.IsReading());
  EXPECT_EQ(std::string(buffer, 4), "tail");
}

// ---- VRFDirectReader ----

class VRFDirectReaderTest : public ::testing::Test {
 protected:
  TempDir dir;
};

TEST_F(VRFDirectReaderTest, ReadsRecordsStraightFromTheFile) {
  std::string path = dir.write("nested.vrf", vrfHeaderBytes(0x01000100) +
                                                 recordBytes(kOuter, recordBytes(kInner, "inner body") +
                                                                         recordBytes(kEmpty, "")) +
                                                 recordBytes(kOther, "tail"));
  VRFDirectReader reader;
  ASSERT_EQ(reader.Open(path.c_str(), VRFDirectReader::kRead, nullptr), 0u);
  EXPECT_EQ(reader.GetHeader().fileType, 0x01000100u);
  ASSERT_EQ(reader.DescendRecord(&kOther), 0u);
  char buffer[16] = {};
  EXPECT_EQ(reader.Read(buffer, sizeof buffer), 4u);
  EXPECT_STREQ(buffer, "tail");
  ASSERT_EQ(reader.AscendRecord(), 0u);
  EXPECT_EQ(reader.AscendRecord(), 1u) << "no ascent from the top";
  EXPECT_EQ(reader.DescendRecord(&kOuter), 1u) << "the search goes forward only";

  ASSERT_EQ(reader.Open(path.c_str(), VRFDirectReader::kRead, nullptr), 0u);
  ASSERT_EQ(reader.DescendRecord(nullptr), 0u);
  ASSERT_EQ(reader.DescendRecord(&kInner), 0u);
  EXPECT_EQ(reader.Read(buffer, 5), 5u);
  ASSERT_EQ(reader.AscendRecord(), 0u);
  EXPECT_EQ(reader.GetPosition(), 26u);
  EXPECT_EQ(reader.DescendRecord(&kEmpty), 1u) << "fewer than 17 bytes left: not searched";
  EXPECT_EQ(reader.Open(dir.file("missing.vrf").c_str(), VRFDirectReader::kRead, nullptr), 1u);
}

TEST_F(VRFDirectReaderTest, ComparesTheDefaultIdThatTheExportSets) {
  std::string bytes = vrfHeaderBytes() + recordBytes(kInner, "x");
  std::memcpy(bytes.data(), "OtherID!", 8);
  std::string path = dir.write("other.vrf", bytes);
  VRFDirectReader reader;
  EXPECT_EQ(reader.Open(path.c_str(), VRFDirectReader::kRead, nullptr), 1u);
  VRFFile_SetDefaultVRFID(reinterpret_cast<const uint8_t*>("OtherID!"));
  EXPECT_EQ(reader.Open(path.c_str(), VRFDirectReader::kRead, nullptr), 0u);
  EXPECT_EQ(reader.DescendRecord(&kInner), 0u);
  MemoryFile same(bytes);
  VRFFile file;
  expectReport(file.Open(&same, nullptr), "Invalid VRF file header ID!");
  VRFFile_SetDefaultVRFID(kVRFFileId);
}

TEST_F(VRFDirectReaderTest, WrittenRecordsReadBackThroughVRFFile) {
  VRFFileHeader header = {};
  std::memcpy(header.fileId, kVRFFileId, 8);
  std::string path = dir.file("written.vrf");
  {
    VRFDirectReader writer;
    EXPECT_EQ(writer.Open(path.c_str(), VRFDirectReader::kWrite | VRFDirectReader::kCreate, nullptr), 1u);
    ASSERT_EQ(writer.Open(path.c_str(), VRFDirectReader::kWrite | VRFDirectReader::kCreate, &header), 0u);
    writer.DescendRecord(&kOuter);
    writer.DescendRecord(&kInner);
    writer.Write("abc", 3);
    writer.AscendRecord();
    writer.AscendRecord();
  }
  EXPECT_EQ(dir.read("written.vrf"), std::string(reinterpret_cast<const char*>(&header), 64) +
                                         recordBytes(kOuter, recordBytes(kInner, "abc")));
}

}  // namespace
