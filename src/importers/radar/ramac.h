#pragma once
// Radar_F: one RAMAC profile (.rd3 with its .rad header text) to one SU file.
#include <span>

#include "panels/form.h"
#include "panels/session.h"

namespace vexmor {

std::span<const ControlDef> RadarFControls();

struct Radar_F {
  explicit Radar_F(Session& session);

  Session& session;
  SharedState& state;
  Platform& platform;
  Form form;
  Control& Text1 = form["Text1"];  // input .rd3
  Control& Text5 = form["Text5"];  // output SU
  Control& Text2 = form["Text2"];  // traces
  Control& Text4 = form["Text4"];  // sampling interval, ns
  Control& Text7 = form["Text7"];  // time window, ns
  Control& Text6 = form["Text6"];  // samples per input trace
  Control& Text3 = form["Text3"];  // trace spacing
  Control& Text8 = form["Text8"];  // time-zero point
  Control& RichTextBox1 = form["RichTextBox1"];
  Control& ProgressBar1 = form["ProgressBar1"];

  void Lit_RAMAC();
  void Text1_Change();
  void Command1_Click();

 private:
  void ReadHeaderText(const std::string& headerText);
  bool AskSamplingInterval(int16_t& dt);
  bool AskSamplesPerTrace(int32_t& samples);
};

}  // namespace vexmor
