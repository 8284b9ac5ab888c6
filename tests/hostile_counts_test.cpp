// Headers that claim far more than their file holds (65535 traces, 32767
// samples of 8 bytes, 16 channels of 32767 samples): each reader must answer
// from what the file can fill, with a message naming the cause, and never
// size memory or a read from the claim. The files are a few dozen bytes.
#include <gtest/gtest.h>

#include <string>
#include <vector>

#include "core/binary_file.h"
#include "core/su_trace.h"
#include "formats/dzt.h"
#include "formats/seg2.h"
#include "formats/su.h"

namespace vexmor {
namespace {

template <typename Error, typename Read>
std::string MessageOf(Read read) {
  try {
    read();
  } catch (const Error& e) {
    return e.what();
  }
  return "(no error)";
}

// A SEG-2 file descriptor, low byte first: N trace pointers in M bytes.
std::vector<uint8_t> Seg2Start(uint16_t pointerBytes, uint16_t traces, size_t size) {
  std::vector<uint8_t> bytes(size, 0);
  PutLE16(bytes.data(), 0x3A55);
  PutLE16(bytes.data() + 2, 1);
  PutLE16(bytes.data() + 4, static_cast<int16_t>(pointerBytes));
  PutLE16(bytes.data() + 6, static_cast<int16_t>(traces));
  bytes[8] = 1;  // strings end at a NUL
  return bytes;
}

TEST(HostileCounts, Seg2TraceCountAndSampleCountBeyondTheFile) {
  std::vector<uint8_t> bytes = Seg2Start(0xFFFC, 0xFFFF, 64);
  BinaryFile many = BinaryFile::OverMemory(bytes, "many.sg2");
  EXPECT_NE(MessageOf<Seg2Error>([&] {
              ReadSeg2(many);
            }).find("65535 trace pointers run past the end of the file (64 bytes)"),
            std::string::npos);

  // One trace at byte 36 whose descriptor claims 32767 float64 samples
  // (262136 bytes) with 8 bytes behind it: kept, padded, and said so; only
  // the 8 bytes there are read (a trace holds at most 32767 samples, so the
  // padding is bounded by the format, not by the claim).
  bytes = Seg2Start(4, 1, 36 + 32 + 8);
  PutLE32(bytes.data() + 32, 36);
  PutLE16(bytes.data() + 36, 0x4422);
  PutLE16(bytes.data() + 38, 32);
  PutLE32(bytes.data() + 40, 262136);
  PutLE32(bytes.data() + 44, 32767);
  bytes[48] = 5;
  BinaryFile big = BinaryFile::OverMemory(bytes, "big.sg2");
  const Seg2File file = ReadSeg2(big);
  ASSERT_EQ(file.traces.size(), 1u);
  EXPECT_EQ(file.traces[0].presentBytes, 8);
  bool noted = false;
  for (const std::string& note : file.notes)
    noted = noted || note.find("8 of its 262136 sample bytes") != std::string::npos;
  EXPECT_TRUE(noted);
  // Too many samples for a trace at all: refused with its count.
  PutLE32(bytes.data() + 44, 40000);
  BinaryFile tooMany = BinaryFile::OverMemory(bytes, "many-samples.sg2");
  EXPECT_NE(MessageOf<Seg2Error>([&] { ReadSeg2(tooMany); }).find("40000 samples, more than an SU trace holds"),
            std::string::npos);
}

TEST(HostileCounts, DztAndSuCountTheirTracesFromTheFileSize) {
  // 16 channels of 32767 samples of 32 bits claimed in 2 KB: no whole scan.
  std::vector<uint8_t> dzt(2048, 0);
  PutLE16(dzt.data(), 0x00FF);
  PutLE16(dzt.data() + 2, 1);  // one header block
  PutLE16(dzt.data() + 4, 32767);
  PutLE16(dzt.data() + 6, 32);
  PutLE16(dzt.data() + 52, 16);
  BinaryFile dztFile = BinaryFile::OverMemory(dzt, "claims.dzt");
  EXPECT_NE(MessageOf<DztError>([&] { ReadDztHeader(dztFile); }).find("holds no whole scan of 2097088 bytes"),
            std::string::npos);

  // An SU header claiming 65535 samples in 300 bytes: no whole trace, the
  // one there is cut short.
  std::vector<uint8_t> su(300, 0);
  PutLE16(su.data() + 114, -1);
  BinaryFile suFile = BinaryFile::OverMemory(su, "claims.su");
  const SuLayout layout = ReadSuLayout(suFile);
  EXPECT_EQ(layout.ns, 65535);
  EXPECT_EQ(layout.wholeTraces, 0);
  EXPECT_TRUE(layout.lastCutShort);
}

}  // namespace
}  // namespace vexmor
