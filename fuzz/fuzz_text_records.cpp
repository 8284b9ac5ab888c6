// The text records: a Dolang info file and channel file, a PASI record and
// an Ambrogeo record, all from the same bytes.
#include <cstddef>
#include <cstdint>
#include <string>
#include <vector>

#include "core/failure.h"
#include "importers/seismograph/ambrogeo_format.h"
#include "importers/seismograph/dolang_format.h"
#include "importers/seismograph/pasi_format.h"

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size) {
  const std::string text(reinterpret_cast<const char*>(data), size);
  const std::vector<std::string> fields = vexmor::ReadAdtFields(text);
  try {
    (void)vexmor::DolangInterval(vexmor::AdtNumber(fields[vexmor::kAdtRecordingTime]),
                                 vexmor::AdtNumber(fields[vexmor::kAdtSamples]));
  } catch (const vexmor::RunTimeFailure&) {
  }
  std::vector<float> trace(64);
  (void)vexmor::ReadChannelTrace(text, trace);
  vexmor::PasiReader pasi(text);
  for (int t = 0; t < 4; ++t) (void)pasi.ReadTrace(trace);
  const std::vector<std::string> lines = vexmor::AmbrogeoProbeLines(text);
  (void)vexmor::AmbrogeoProposedRate(lines);
  std::vector<std::vector<int16_t>> matrix(12, std::vector<int16_t>(32));
  const vexmor::AmbrogeoRecord record = vexmor::ReadAmbrogeoRecord(text, 32, matrix);
  if (record.headerLines.size() >= 6) (void)vexmor::DecodeAmbrogeoDate(record.headerLines[4], record.headerLines[5]);
  return 0;
}
