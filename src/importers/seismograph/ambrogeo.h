#pragma once
// Ambrogeo: Ambrogeo text records (.dta, ambrogeo_format.h), one or more,
// to one SU file. The probe file's header gives the channels, the samples
// and a proposed sampling rate; each file gives its own date words.
#include <span>

#include "panels/form.h"
#include "panels/session.h"

namespace vexmor {

std::span<const ControlDef> AmbrogeoControls();

struct Ambrogeo {
  explicit Ambrogeo(Session& session);

  Session& session;
  SharedState& state;
  Platform& platform;
  Form form;
  Control& List1 = form["List1"];
  Control& Text1 = form["Text1"];
  Control& Text2 = form["Text2"];
  Control& Text3 = form["Text3"];
  Control& Text4 = form["Text4"];
  Control& Text6 = form["Text6"];
  Control& ProgressBar1 = form["ProgressBar1"];

  void Command5_Click();
  void Command1_Click();
  void Command2_Click();
};

}  // namespace vexmor
