#include "importers/seismograph/oyo_format.h"

#include "core/binary_file.h"
#include "core/numbers.h"
#include "core/su_trace.h"
#include "importers/seismograph/selection.h"

namespace vexmor {

std::string ReadOyoField(BinaryFile& file, OyoField field) {
  std::string text(static_cast<size_t>(field.width), ' ');
  file.Read(field.offset, text.data(), text.size());
  for (char& c : text) {
    if (c == '\0') c = ' ';
  }
  return text;
}

namespace {

template <typename T>
void ReadInto(BinaryFile& file, OyoField field, T& value) {
  SkipOnFailure([&] {
    const double number = LeadingNumber(ReadOyoField(file, field));
    if constexpr (sizeof(T) == 2) {
      value = ToInt16(number);
    } else {
      value = ToInt32(number);
    }
  });
}

void PutField(std::vector<uint8_t>& out, OyoField field, const std::string& text) {
  for (int i = 0; i < field.width; ++i) {
    out[static_cast<size_t>(field.offset + i)] = static_cast<uint8_t>(i < static_cast<int>(text.size()) ? text[static_cast<size_t>(i)] : ' ');
  }
}

}  // namespace

OyoTextBlock ReadOyoTextBlock(BinaryFile& file) {
  OyoTextBlock block;
  // The order in which the fields are taken.
  ReadInto(file, kOyoRecordNumber, block.recordNumber);
  ReadInto(file, kOyoLowCut, block.lowCut);
  ReadInto(file, kOyoHighCut, block.highCut);
  ReadInto(file, kOyoNotch, block.notch);
  ReadInto(file, kOyoDelay, block.delay);
  ReadInto(file, kOyoSourceX, block.sourceX);
  ReadInto(file, kOyoSourceY, block.sourceY);
  SkipOnFailure([&] { block.further1 = LeadingNumber(ReadOyoField(file, kOyoFurther1)); });
  SkipOnFailure([&] { block.further2 = LeadingNumber(ReadOyoField(file, kOyoFurther2)); });
  return block;
}

int64_t OyoTraceOffset(int t, int32_t nbSamples, int sampleBytes) {
  return kOyoDataStart + static_cast<int64_t>(t - 1) * nbSamples * sampleBytes;
}

std::vector<uint8_t> BuildOyoRecord(const OyoRecordContent& record) {
  std::vector<uint8_t> out(kOyoDataStart, 0);
  const char mark[] = "OYO McSEIS-170";
  for (size_t i = 0; i + 1 < sizeof mark; ++i) out[i] = static_cast<uint8_t>(mark[i]);
  // The text block, blank between its fields.
  for (int64_t at = kOyoRecordNumber.offset; at < kOyoFurther2.offset + kOyoFurther2.width; ++at) {
    out[static_cast<size_t>(at)] = ' ';
  }
  PutField(out, kOyoRecordNumber, record.recordNumber);
  PutField(out, kOyoChannels, record.channels);
  PutField(out, kOyoSamples, record.samples);
  PutField(out, kOyoInterval, record.interval);
  PutField(out, kOyoDelay, record.delay);
  PutField(out, kOyoLowCut, record.lowCut);
  PutField(out, kOyoHighCut, record.highCut);
  PutField(out, kOyoNotch, record.notch);
  PutField(out, kOyoSourceX, record.sourceX);
  PutField(out, kOyoSourceY, record.sourceY);
  PutField(out, kOyoFurther1, record.further1);
  PutField(out, kOyoFurther2, record.further2);
  for (const auto& trace : record.traces) {
    for (int32_t v : trace) {
      uint8_t le[4];
      if (record.longSamples) {
        PutLE32(le, v);
        out.insert(out.end(), le, le + 4);
      } else {
        PutLE16(le, static_cast<int16_t>(v));
        out.insert(out.end(), le, le + 2);
      }
    }
  }
  return out;
}

}  // namespace vexmor
