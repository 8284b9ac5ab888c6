#pragma once
// MainPanel: the board of radio options, one for each route. It is the
// first panel loaded and the only permanent one; closing it ends the system.
#include <span>

#include "panels/form.h"
#include "panels/session.h"

namespace vexmor {

std::span<const ControlDef> MainPanelControls();

struct MainPanel {
  explicit MainPanel(Session& session);

  Session& session;
  SharedState& state;
  Platform& platform;
  Form form;
  Control& Check1 = form["Check1"];

  void Form_Load();
  void Form_Unload();
  // Acts on every selected option of every frame, in the board's fixed order.
  void Lance();
  void Option25_Click();
  void Option26_Click();
  void Option27_Click();
  void Command2_Click();
  void Command3_Click();
  void Command4_Click();

 private:
  void LaunchViewer(const std::string& program);
};

}  // namespace vexmor
