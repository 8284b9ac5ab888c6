#pragma once
// HandyViewer: the selection panel of McSeis 3 records (three channels of
// 445 samples on the instrument). It selects the files, proposes the output
// name and reads the sample interval of a record (handy_viewer_format.h);
// it has no conversion, and its "Convert" and "Output file" buttons do
// nothing. The oyo panel's "McSeis 3 files..." button opens it.
#include <span>

#include "panels/form.h"
#include "panels/session.h"

namespace vexmor {

std::span<const ControlDef> HandyViewerControls();

struct HandyViewer {
  explicit HandyViewer(Session& session);

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

  void Command5_Click();
};

}  // namespace vexmor
