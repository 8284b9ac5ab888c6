#pragma once
// abem: ABEM Mark 3 records, one file for each shot, to one SU file. The
// record's own header gives the sample interval and the channels, the
// samples per trace follow from the file's size (abem_format.h); the panel
// shows them and the user may correct them before "Convert".
#include <span>

#include "importers/seismograph/abem_format.h"
#include "panels/form.h"
#include "panels/session.h"

namespace vexmor {

std::span<const ControlDef> AbemControls();

struct Abem {
  explicit Abem(Session& session);

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
  Control& ProgressBar1 = form["ProgressBar1"];

  // Date and time of the probe file's header; no SU word takes them.
  AbemDateTime RecordDate;

  void Select_i();
  void Command3_Click();
  void Command1_Click();
  void Command2_Click();

 private:
  void ReadProbe(const std::string& probe);
  void Convert();
};

}  // namespace vexmor
