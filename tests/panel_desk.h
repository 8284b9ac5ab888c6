#pragma once
// A session kept open across script runs, so that a test can drive a panel
// by script and then look at what a script can't show (a selection, a
// font, what went to the printer).
#include <gtest/gtest.h>

#include <string>

#include "panels/script.h"
#include "panels/session.h"
#include "platform/headless_platform.h"
#include "platform/transcript.h"
#include "test_util.h"

namespace vexmor::test {

class PanelDesk {
 public:
  PanelDesk() : platform([this](const std::string& line) { out += line + "\n"; }), session(platform, state) {
    platform.SetRecordOnly(true);
    session.onShown = [this](Form& form) { out += transcript::Opened(form.Name()) + "\n"; };
    session.onHidden = [this](Form& form) { out += transcript::Closed(form.Name()) + "\n"; };
  }
  // Runs the lines; gives the transcript they wrote.
  std::string Run(const std::string& script) {
    out.clear();
    ScriptRunner runner(session, platform.Answers(), [this](const std::string& line) { out += line + "\n"; });
    runner.Run(ParseScript(script));
    // The runner starts on no panel: later runs name theirs with `use`.
    return out;
  }
  Control& C(const std::string& panel, const std::string& control) { return (*session.Find(panel))[control]; }

  KeepCurrentFolder keep;
  std::string out;
  HeadlessPlatform platform;
  SharedState state;
  Session session;
};

}  // namespace vexmor::test
