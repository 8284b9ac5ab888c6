#include "core/binary_file.h"

#include <gtest/gtest.h>
#include <sys/stat.h>
#include <unistd.h>

#include <functional>
#include <span>
#include <vector>

#include "core/failure.h"
#include "core/mapped_file.h"
#include "core/su_trace.h"
#include "core/text_reader.h"
#include "test_util.h"

namespace vexmor {
namespace {

using test::ReadBytes;
using test::TempDir;

TEST(BinaryFile, OpenModes) {
  TempDir dir;
  const std::string path = dir / "out.su";
  test::WriteBytes(path, std::vector<uint8_t>(100, 0xAA));
  {
    BinaryFile f(path, BinaryFile::Mode::Update);  // not emptied
    EXPECT_EQ(f.Size(), 100);
    f.WriteI16(0, 0x0102);
  }
  auto bytes = ReadBytes(path);
  ASSERT_EQ(bytes.size(), 100u);
  EXPECT_EQ(bytes[0], 0x02);
  EXPECT_EQ(bytes[1], 0x01);
  EXPECT_EQ(bytes[2], 0xAA);  // the tail stays
  {
    BinaryFile f(path, BinaryFile::Mode::Create);  // emptied
    EXPECT_EQ(f.Size(), 0);
    f.WriteI32(8, -2);
  }
  bytes = ReadBytes(path);
  EXPECT_EQ(bytes, (std::vector<uint8_t>{0, 0, 0, 0, 0, 0, 0, 0, 0xFE, 0xFF, 0xFF, 0xFF}));

  EXPECT_THROW(BinaryFile(dir / "missing", BinaryFile::Mode::Read), RunTimeFailure);
  EXPECT_THROW(BinaryFile(dir / "no/such/folder", BinaryFile::Mode::Create), RunTimeFailure);
  EXPECT_THROW(BinaryFile("", BinaryFile::Mode::Read), RunTimeFailure);
  // A folder is no file, in any mode.
  EXPECT_THROW(BinaryFile(dir.Str(), BinaryFile::Mode::Read), RunTimeFailure);
  EXPECT_THROW(BinaryFile(dir.Str(), BinaryFile::Mode::Update), RunTimeFailure);
  BinaryFile readOnly(path, BinaryFile::Mode::Read);
  EXPECT_THROW(readOnly.WriteI16(0, 1), RunTimeFailure);
}

TEST(BinaryFile, ReadingPastTheEndGivesZeros) {
  TempDir dir;
  test::WriteBytes(dir / "f", {1, 2, 3});
  BinaryFile f(dir / "f", BinaryFile::Mode::Read);
  uint8_t buf[6] = {9, 9, 9, 9, 9, 9};
  EXPECT_EQ(f.Read(1, buf, 6), 2u);
  EXPECT_EQ(buf[0], 2);
  EXPECT_EQ(buf[1], 3);
  EXPECT_EQ(buf[2], 0);
  EXPECT_EQ(buf[5], 0);
  EXPECT_EQ(f.ReadI32(1000), 0);
  EXPECT_THROW(f.Read(-1, buf, 1), RunTimeFailure);
  // A large block past the end, straight from the file.
  std::vector<uint8_t> big(1 << 20, 7);
  EXPECT_EQ(f.Read(0, big.data(), big.size()), 3u);
  EXPECT_EQ(big[3], 0);
}

TEST(BinaryFile, OverMemoryReadsAsAFileAndRefusesWrites) {
  const std::vector<uint8_t> bytes{0x34, 0x12, 0xFF, 0xFF, 0xFF, 0x7F};
  BinaryFile f = BinaryFile::OverMemory(bytes, "mem");
  EXPECT_TRUE(f.IsOpen());
  EXPECT_EQ(f.Size(), 6);
  EXPECT_EQ(f.ReadI16(0), 0x1234);
  EXPECT_EQ(f.ReadI32(2), 0x7FFFFFFF);
  uint8_t buf[4] = {9, 9, 9, 9};
  EXPECT_EQ(f.Read(4, buf, 4), 2u);
  EXPECT_EQ(buf[2], 0);
  EXPECT_EQ(f.Read(1000, buf, 4), 0u);
  EXPECT_EQ(buf[0], 0);
  EXPECT_THROW(f.WriteI16(0, 1), RunTimeFailure);
  BinaryFile moved = std::move(f);
  EXPECT_FALSE(f.IsOpen());
  EXPECT_EQ(moved.ReadU8(1), 0x12);
  const std::vector<uint8_t> none;
  EXPECT_EQ(BinaryFile::OverMemory(none).ReadI32(0), 0);
}

TEST(BinaryFile, HeaderWordsWrittenOneByOneCostNoSystemCallEach) {
  TempDir dir;
  BinaryFile f(dir / "t.su", BinaryFile::Mode::Create);
  std::vector<float> samples(1000, 1.5f);
  for (int trace = 0; trace < 10; ++trace) {
    const int64_t pos = static_cast<int64_t>(TraceSize(1000)) * trace;
    for (const SuWord& w : SuWords()) {
      if (w.width == 2) f.WriteI16(pos + w.offset, static_cast<int16_t>(w.number));
      else f.WriteI32(pos + w.offset, w.number);
    }
    f.Write(pos + 240, samples.data(), samples.size() * 4);
  }
  EXPECT_EQ(f.SystemCalls(), 0);  // all of it still in the window
  f.Flush();
  EXPECT_EQ(f.SystemCalls(), 1);
  f.Close();
  const auto bytes = ReadBytes(dir / "t.su");
  ASSERT_EQ(bytes.size(), 42400u);
  EXPECT_EQ(GetLE16(&bytes[4240 * 9 + 114]), 39);
  EXPECT_EQ(GetLEFloat(&bytes[4240 * 9 + 240]), 1.5f);
}

TEST(BinaryFile, WordsNotWrittenKeepWhatTheFileHeld) {
  TempDir dir;
  const std::string path = dir / "f";
  std::vector<uint8_t> old(3 << 20);
  for (size_t i = 0; i < old.size(); ++i) old[i] = static_cast<uint8_t>(i * 7);
  test::WriteBytes(path, old);
  {
    BinaryFile f(path, BinaryFile::Mode::Update);
    f.WriteI16(10, 0);
    f.WriteI16(20, 0);          // a gap between two words in one window
    f.WriteI16(2'500'000, 0);   // another window
    std::vector<uint8_t> block(700'000, 1);  // a large block across windows
    f.Write(1'000'000, block.data(), block.size());
    EXPECT_EQ(f.ReadI16(10), 0);            // reads see the writes
    EXPECT_EQ(f.ReadU8(1'000'001), 1);
  }
  const auto now = ReadBytes(path);
  ASSERT_EQ(now.size(), old.size());
  for (size_t i = 0; i < now.size(); ++i) {
    const bool written = (i >= 10 && i < 12) || (i >= 20 && i < 22) || (i >= 2'500'000 && i < 2'500'002) ||
                         (i >= 1'000'000 && i < 1'700'000);
    if (!written) {
      ASSERT_EQ(now[i], old[i]) << "byte " << i;
    }
  }
}

TEST(BinaryFile, WritingFarPastTheEndFillsWithZeros) {
  TempDir dir;
  {
    BinaryFile f(dir / "f", BinaryFile::Mode::Create);
    f.WriteI16(5'000'000, 0x0707);
  }
  const auto bytes = ReadBytes(dir / "f");
  ASSERT_EQ(bytes.size(), 5'000'002u);
  EXPECT_EQ(bytes[4'999'999], 0);
  EXPECT_EQ(bytes[5'000'000], 7);
}

TEST(BinaryFile, DirectReadsSeeWritesAndCostOneCallEach) {
  TempDir dir;
  BinaryFile f(dir / "f", BinaryFile::Mode::Create);
  f.WriteI32(3'000'000, 0x01020304);  // still in the window
  uint8_t b[6] = {9, 9, 9, 9, 9, 9};
  const int64_t before = f.SystemCalls();
  EXPECT_EQ(f.ReadDirect(3'000'000, b, 6), 4u);
  EXPECT_EQ(b[0], 4);
  EXPECT_EQ(b[3], 1);
  EXPECT_EQ(b[4], 0);  // past the end
  EXPECT_LE(f.SystemCalls() - before, 3);  // the flush and the read, nothing of a window
  const std::vector<uint8_t> bytes = {1, 2, 3};
  BinaryFile m = BinaryFile::OverMemory(bytes);
  EXPECT_EQ(m.ReadDirect(1, b, 4), 2u);
  EXPECT_EQ(b[0], 2);
  EXPECT_EQ(b[2], 0);
}

}  // namespace
}  // namespace vexmor

namespace vexmor {
namespace {

// Another program cutting a file short while we have it mapped must not
// kill us: the lost pages read as zeros and the map says so.
TEST(MappedFile, AFileCutShortWhileMappedReadsZerosAndSaysSo) {
  TempDir dir;
  const long page = ::sysconf(_SC_PAGESIZE);
  for (const MappedFile::Use use : {MappedFile::Use::Walk, MappedFile::Use::Whole}) {
    test::WriteBytes(dir / "f", std::vector<uint8_t>(static_cast<size_t>(3 * page), 7));
    const MappedFile mapped(dir / "f", use);
    const std::span<const uint8_t> bytes = mapped.Bytes();
    ASSERT_EQ(bytes.size(), size_t(3 * page));
    EXPECT_EQ(bytes[0], 7);
    EXPECT_FALSE(mapped.CutWhileRead());
    ASSERT_EQ(::truncate((dir / "f").c_str(), page), 0);
    EXPECT_EQ(bytes[size_t(page) - 1], 7);          // still in the file
    EXPECT_EQ(bytes[size_t(2 * page) + 5], 0);      // lost: zeros, no SIGBUS
    EXPECT_EQ(bytes[size_t(3 * page) - 1], 0);
    EXPECT_TRUE(mapped.CutWhileRead());
    mapped.Forget();                                // the pages handed back fault again, just as safely
    EXPECT_EQ(bytes[size_t(page) + 1], 0);
    EXPECT_EQ(bytes[1], 7);
  }
  // A file left whole is not said to be cut, and a later map starts clean.
  test::WriteBytes(dir / "g", std::vector<uint8_t>(static_cast<size_t>(page), 1));
  const MappedFile whole(dir / "g");
  EXPECT_EQ(whole.Bytes()[size_t(page) - 1], 1);
  EXPECT_FALSE(whole.CutWhileRead());
}

// A named pipe nobody writes to, a device without an end, a folder and a
// many-GB file picked by mistake: each reader refuses at once with the path,
// where a blocking open or a read to the end would never come back.
TEST(ReadersOfFiles, RefuseWhatIsNoTextOfAKnownEndWithoutWaiting) {
  TempDir dir;
  const std::string fifo = dir / "pipe.su";
  ASSERT_EQ(::mkfifo(fifo.c_str(), 0600), 0);
  const std::string big = dir / "big.asc";
  test::WriteBytes(big, {'1'});
  ASSERT_EQ(::truncate(big.c_str(), kLargestWholeText + 1), 0);
  const auto refusal = [](const std::function<void()>& open) -> std::string {
    try {
      open();
    } catch (const RunTimeFailure& failure) {
      return failure.what();
    }
    return "read";
  };
  EXPECT_EQ(refusal([&] { BinaryFile f(fifo, BinaryFile::Mode::Read); }), fifo + ": not a plain file");
  EXPECT_EQ(refusal([&] { MappedFile m(fifo); }), fifo + ": not a plain file");
  EXPECT_EQ(refusal([&] { ReadWholeFile(fifo); }), fifo + ": not a plain file");
  EXPECT_EQ(refusal([&] { ReadWholeFile("/dev/zero"); }), "/dev/zero: not a plain file");
  EXPECT_EQ(refusal([&] { MappedFile m("/dev/zero"); }), "/dev/zero: not a plain file");
  EXPECT_EQ(refusal([&] { ReadWholeFile(dir.Str()); }), dir.Str() + ": is a folder");
  EXPECT_EQ(refusal([&] { ReadWholeFile(big); }),
            big + ": " + std::to_string(kLargestWholeText + 1) + " bytes, too large to be read whole as a text");
  // A device still opens as a file of no bytes, and a plain file reads whole.
  EXPECT_EQ(BinaryFile("/dev/zero", BinaryFile::Mode::Read).Size(), 0);
  test::WriteBytes(dir / "t.txt", {'a', '\r', '\n', 'b'});
  EXPECT_EQ(ReadWholeFile(dir / "t.txt"), "a\r\nb");
}

}  // namespace
}  // namespace vexmor
