#pragma once
// oyo: OYO McSeis 170 records (modified SEG-1), one file for each shot, to
// one SU file. Each file's text block (oyo_format.h) gives the record
// number, delay, filters and source position of all its traces. Every
// statement of its operations that fails is passed over without a message.
#include <span>
#include <vector>

#include "importers/seismograph/oyo_format.h"
#include "importers/seismograph/su_trace_writer.h"
#include "panels/form.h"
#include "panels/session.h"

namespace vexmor {

class BinaryFile;

std::span<const ControlDef> OyoControls();

struct Oyo {
  explicit Oyo(Session& session);

  Session& session;
  SharedState& state;
  Platform& platform;
  Form form;
  Control& List1 = form["List1"];
  Control& Text1 = form["Text1"];
  Control& Text2 = form["Text2"];
  Control& Text3 = form["Text3"];
  Control& Text4 = form["Text4"];
  Control& Text5 = form["Text5"];
  Control& Text6 = form["Text6"];
  Control& sinteger = form["sinteger"];
  Control& linterger = form["linterger"];
  Control& ProgressBar1 = form["ProgressBar1"];

  // The shared record index of the trace being written.
  int32_t TraceIndex = 0;

  void Select_i();
  void Command4_Click();
  void Command1_Click();
  void Command2_Click();
  // The way to the McSeis 3 selection panel, the same maker's newer
  // instrument, which the main panel has no option for.
  void Command5_Click();

 private:
  // The input array (by the chosen sample type) and the output array,
  // sized once for each conversion.
  struct TraceBuffers {
    SampleType type = SampleType::Int32;
    std::vector<uint8_t> raw;
    std::vector<float> samples;
  };
  void ReadProbe(const std::string& probe);
  void ReadControls();
  bool ReplaceExistingOutput();
  void ConvertFile(int f, BinaryFile* output, TraceBuffers& buffers);
  void WriteTraceHeader(SuTraceWriter& writer, const OyoTextBlock& block, int t);
};

}  // namespace vexmor
