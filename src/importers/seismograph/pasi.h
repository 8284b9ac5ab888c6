#pragma once
// pasi: PASI LCM-12 ASCII records (pasi_format.h), one or more files, to
// one SU file. The files carry no header: the user states the traces per
// record, the samples per trace and the sample rate, and each file gives
// its traces in turn.
#include <span>

#include "panels/form.h"
#include "panels/session.h"

namespace vexmor {

std::span<const ControlDef> PasiControls();

struct Pasi {
  explicit Pasi(Session& session);

  Session& session;
  SharedState& state;
  Platform& platform;
  Form form;
  Control& List1 = form["List1"];
  Control& Text2 = form["Text2"];
  Control& Text3 = form["Text3"];
  Control& Text4 = form["Text4"];
  Control& Text5 = form["Text5"];
  Control& Text6 = form["Text6"];
  Control& Label8 = form["Label8"];

  void Command5_Click();
  void Command4_Click();
  void Command1_Click();
  void Command2_Click();
};

}  // namespace vexmor
