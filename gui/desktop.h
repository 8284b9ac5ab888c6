#pragma once
// The desktop front: a window for each panel the session shows, placed
// beside MainPanel and never modal; the user's closing a window unloads its
// panel, and closing MainPanel ends the program.
#include <QPixmap>
#include <QPointer>
#include <functional>
#include <iosfwd>
#include <map>
#include <string>
#include <string_view>

#include "panel_window.h"
#include "panels/script.h"
#include "panels/session.h"
#include "qt_platform.h"

namespace vexmor {

class Desktop {
 public:
  // With a sink, the opening and closing of panels is written to it.
  Desktop(Session& session, bool scripted, TranscriptSink sink = {});
  ~Desktop();
  Desktop(const Desktop&) = delete;
  Desktop& operator=(const Desktop&) = delete;

  PanelWindow* WindowOf(std::string_view panel) const;
  // Keeps a picture of each window as it closes: a screenshot asked for a
  // panel that its script closed draws it as the user last saw it.
  void KeepLastPictures() { keepPictures_ = true; }
  const QPixmap* LastPicture(std::string_view panel) const;
  // What a script's user does, done on the widgets.
  UserActions Actions();

 private:
  void Shown(Form& form);
  void Hidden(Form& form);
  void Place(PanelWindow& window);

  Session& session_;
  bool scripted_;
  TranscriptSink sink_;
  std::map<Form*, QPointer<PanelWindow>> windows_;
  bool keepPictures_ = false;
  std::map<std::string, QPixmap, std::less<>> lastPictures_;
};

// `vexmor --script`: the panel script on the real windows, the transcript
// on out, a script error as "line N: REASON" on err. 0 when the script ran
// to its end, 2 on a script error.
// atEnd runs once the script is through, before the windows go.
// atStart runs once the windows' front is set up, before the first line.
int RunScriptOnScreen(std::string_view text, std::ostream& out, std::ostream& err,
                      const std::function<void(Desktop&)>& atEnd = {},
                      const std::function<void(Desktop&, QtPlatform&)>& atStart = {});

// `vexmor --screenshot`: opens the system and the panel, saves its window.
int SaveScreenshot(const std::string& panel, const std::string& file, std::ostream& err);
// The same after a panel script has run (its transcript on out): the window
// as the script left it; a panel that the script closed as it was just
// before closing, with the last message box beside it (FILE-message.png).
int SaveScreenshotAfter(std::string_view script, const std::string& panel, const std::string& file,
                        std::ostream& out, std::ostream& err);

// The size the windows of later screenshots are given before they are
// drawn (never below their least size); 0 x 0 keeps the opening size.
void SetScreenshotSize(int width, int height);

// `vexmor`: MainPanel on screen until it closes.
int RunDesktop();

}  // namespace vexmor
