#pragma once
// DZT2: the guide of the two-step GSSI route. Step 1 starts rtoaw, which
// writes the DZT scans as column text; step 2 opens ASCII2SU on that text.
// A third button leads to the direct reader DZT_old.
#include <span>

#include "panels/form.h"
#include "panels/session.h"

namespace vexmor {

std::span<const ControlDef> Dzt2Controls();

struct DZT2 {
  explicit DZT2(Session& session);

  Session& session;
  SharedState& state;
  Platform& platform;
  Form form;

  void Command3_Click();  // step 1: rtoaw
  void Command1_Click();  // step 2: ASCII2SU
  void Command2_Click();  // the direct conversion
};

}  // namespace vexmor
