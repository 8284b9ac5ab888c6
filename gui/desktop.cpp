#include "desktop.h"

#include <QAbstractButton>
#include <QAbstractScrollArea>
#include <QAction>
#include <QApplication>
#include <QComboBox>
#include <QKeyEvent>
#include <QLineEdit>
#include <QListWidget>
#include <QMouseEvent>
#include <QPixmap>
#include <QPlainTextEdit>
#include <ostream>

#include "panels/registry.h"
#include "platform/jobs.h"

namespace vexmor {

namespace {

constexpr std::string_view kMainPanel = "MainPanel";

// Lets what the last action set off run, and windows closed meanwhile go.
void Settle() {
  QCoreApplication::processEvents(QEventLoop::AllEvents);
  QCoreApplication::sendPostedEvents(nullptr, QEvent::DeferredDelete);
}

void SendKey(QWidget* w, int key) {
  if (auto* edit = qobject_cast<QLineEdit*>(w)) edit->end(false);
  if (auto* plain = qobject_cast<QPlainTextEdit*>(w)) plain->moveCursor(QTextCursor::End);
  const QChar ch(key);
  const int code = key == 8 ? static_cast<int>(Qt::Key_Backspace) : static_cast<int>(ch.toUpper().unicode());
  QKeyEvent press(QEvent::KeyPress, code, Qt::NoModifier, QString(ch));
  QApplication::sendEvent(w, &press);
  QKeyEvent release(QEvent::KeyRelease, code, Qt::NoModifier, QString(ch));
  QApplication::sendEvent(w, &release);
}

}  // namespace

Desktop::Desktop(Session& session, bool scripted, TranscriptSink sink)
    : session_(session), scripted_(scripted), sink_(std::move(sink)) {
  session_.onShown = [this](Form& form) { Shown(form); };
  session_.onHidden = [this](Form& form) { Hidden(form); };
}

Desktop::~Desktop() {
  session_.onShown = nullptr;
  session_.onHidden = nullptr;
  for (auto& [form, window] : windows_) {
    if (window) {
      window->Detach();
      delete window.data();
    }
  }
}

PanelWindow* Desktop::WindowOf(std::string_view panel) const {
  for (const auto& [form, window] : windows_) {
    if (window && !window->Detached() && window->GetForm().Name() == panel) return window.data();
  }
  return nullptr;
}

void Desktop::Shown(Form& form) {
  if (sink_) sink_(transcript::Opened(form.Name()));
  QPointer<PanelWindow>& window = windows_[&form];
  if (!window) {
    window = new PanelWindow(form, scripted_);
    window->setAttribute(Qt::WA_DeleteOnClose, false);
    window->onUserClose = [this](PanelWindow& w) { session_.Close(w.GetForm().Name()); };
    window->adjustSize();
    Place(*window);
  }
  window->show();
  if (QGuiApplication::platformName() != QStringLiteral("offscreen")) window->raise();
}

void Desktop::Hidden(Form& form) {
  if (sink_) sink_(transcript::Closed(form.Name()));
  const auto it = windows_.find(&form);
  if (it == windows_.end()) return;
  QPointer<PanelWindow> window = it->second;
  if (!window) {
    windows_.erase(it);
    return;
  }
  // Hidden or unloaded, the window goes: the controls keep all the panel
  // shows, and a panel shown again gets a new window from them. (A hidden
  // panel may be unloaded without a word to the front.)
  windows_.erase(it);
  if (keepPictures_ && window->isVisible()) lastPictures_[form.Name()] = window->grab();
  window->Detach();
  window->hide();
  window->deleteLater();
}

const QPixmap* Desktop::LastPicture(std::string_view panel) const {
  const auto it = lastPictures_.find(panel);
  return it == lastPictures_.end() ? nullptr : &it->second;
}

void Desktop::Place(PanelWindow& window) {
  if (window.GetForm().Name() == kMainPanel) return;
  const PanelWindow* main = WindowOf(kMainPanel);
  if (main == nullptr || !main->isVisible()) return;
  // Beside MainPanel, each further panel a step lower.
  int others = 0;
  for (const auto& [form, w] : windows_) {
    if (w && w != &window && w != main && w->isVisible()) ++others;
  }
  const QRect frame = main->frameGeometry();
  window.move(frame.right() + 12 + 28 * others, frame.top() + 28 * others);
}

UserActions Desktop::Actions() {
  UserActions a;
  a.close = [this](Form& form) {
    if (PanelWindow* w = WindowOf(form.Name()); w != nullptr && w->isVisible()) {
      w->close();
    } else {
      session_.Close(form.Name());
    }
  };
  a.click = [this](Control& c) {
    PanelWindow* w = WindowOf(c.Owner().Name());
    if (w != nullptr) {
      if (auto* button = qobject_cast<QAbstractButton*>(w->WidgetOf(c.Name()))) {
        button->click();
        return;
      }
      if (QAction* action = w->ActionOf(c.Name())) {
        action->trigger();
        return;
      }
    }
    // Labels, frames and pictures have no widget of their own to click.
    switch (c.Kind()) {
      case ControlKind::Option: c.SetValue(true); break;
      case ControlKind::Check: c.SetValue(!c.Value()); break;
      default: c.Owner().Raise(c.Name(), "Click"); break;
    }
  };
  a.toolbarClick = [this](Control& c, const std::string& key) {
    PanelWindow* w = WindowOf(c.Owner().Name());
    if (QAction* action = w != nullptr ? w->ActionOf(c.Name(), key) : nullptr) {
      action->trigger();
      return;
    }
    EventArgs args;
    args.itemKey = key;
    c.Owner().Raise(c.Name(), "ButtonClick", args);
  };
  a.set = [this](Control& c, const std::string& text) {
    PanelWindow* w = WindowOf(c.Owner().Name());
    QWidget* widget = w != nullptr ? w->WidgetOf(c.Name()) : nullptr;
    const QString t = QString::fromStdString(text);
    if (auto* edit = qobject_cast<QLineEdit*>(widget)) {
      // Select all and type: one change, as the user makes it.
      edit->selectAll();
      edit->insert(t);
    } else if (auto* plain = qobject_cast<QPlainTextEdit*>(widget)) {
      plain->setPlainText(t);
    } else {
      c.SetText(text);
    }
  };
  a.key = [this](Control& c, int key) {
    PanelWindow* w = WindowOf(c.Owner().Name());
    QWidget* widget = w != nullptr ? w->WidgetOf(c.Name()) : nullptr;
    const bool text = c.Kind() == ControlKind::Text || c.Kind() == ControlKind::RichText;
    if (text && widget != nullptr) {
      SendKey(widget, key);
      return;
    }
    // Other controls only hear the key: a list would search its lines.
    EventArgs args;
    args.key = key;
    c.Owner().Raise(c.Name(), "KeyPress", args);
  };
  a.dblclick = [this](Control& c) {
    if (!c.Owner().Handles(c.Name(), "DblClick")) return;
    PanelWindow* w = WindowOf(c.Owner().Name());
    QWidget* widget = w != nullptr ? w->WidgetOf(c.Name()) : nullptr;
    if (widget == nullptr) {
      c.Owner().Raise(c.Name(), "DblClick");
      return;
    }
    if (auto* area = qobject_cast<QAbstractScrollArea*>(widget)) widget = area->viewport();
    const QPointF at(widget->width() / 2.0, widget->height() / 2.0);
    QMouseEvent event(QEvent::MouseButtonDblClick, at, widget->mapToGlobal(at), Qt::LeftButton, Qt::LeftButton,
                      Qt::NoModifier);
    QApplication::sendEvent(widget, &event);
  };
  a.choose = [this](Control& c, int index) {
    PanelWindow* w = WindowOf(c.Owner().Name());
    QWidget* widget = w != nullptr ? w->WidgetOf(c.Name()) : nullptr;
    if (auto* list = qobject_cast<QListWidget*>(widget)) {
      list->setCurrentRow(index);
    } else if (auto* combo = qobject_cast<QComboBox*>(widget)) {
      combo->setCurrentIndex(index);
    } else {
      c.SetListIndex(index);
    }
  };
  return a;
}

int RunScriptOnScreen(std::string_view text, std::ostream& out, std::ostream& err,
                      const std::function<void(Desktop&)>& atEnd,
                      const std::function<void(Desktop&, QtPlatform&)>& atStart) {
  const auto write = [&out](const std::string& line) { out << line << '\n' << std::flush; };
  QtPlatform platform;
  platform.SetScripted(true);
  platform.SetSink(write);
  SharedState state;
  int status = 0;
  {
    Session session(platform, state);
    Desktop desktop(session, true, write);
    if (atStart) atStart(desktop, platform);
    ScriptRunner runner(session, platform.Answers(), write, desktop.Actions());
    try {
      for (const ScriptLine& line : ParseScript(text)) {
        runner.RunLine(line);
        Settle();
      }
    } catch (const ScriptError& e) {
      err << e.what() << '\n';
      status = 2;
    }
    if (atEnd) atEnd(desktop);
  }
  Settle();
  WaitForJobs();
  platform.SetSink({});
  return status;
}

namespace {

// The size a screenshot asks for, the window's own when it asks for none.
QSize& ShotSize() {
  static QSize size;
  return size;
}

int Grab(const Desktop& desktop, const std::string& panel, const std::string& file, std::ostream& err) {
  PanelWindow* window = desktop.WindowOf(panel);
  if (window == nullptr) {
    err << "vexmor: the panel " << panel << " is not open\n";
    return 1;
  }
  if (ShotSize().isValid()) window->resize(ShotSize().expandedTo(window->minimumSizeHint()));
  Settle();
  if (!window->grab().save(QString::fromStdString(file), "PNG")) {
    err << "vexmor: cannot write " << file << '\n';
    return 1;
  }
  return 0;
}

}  // namespace

void SetScreenshotSize(int width, int height) {
  ShotSize() = width > 0 && height > 0 ? QSize(width, height) : QSize();
}

namespace {

bool SavePicture(const QPixmap& picture, const std::string& file, std::ostream& err) {
  if (picture.save(QString::fromStdString(file), "PNG")) return true;
  err << "vexmor: cannot write " << file << '\n';
  return false;
}

// "out.png" -> "out-message.png", as the tool windows name it.
std::string MessagePictureName(const std::string& file) {
  const size_t dot = file.rfind('.');
  const size_t slash = file.rfind('/');
  const bool hasExtension = dot != std::string::npos && (slash == std::string::npos || dot > slash);
  return hasExtension ? file.substr(0, dot) + "-message" + file.substr(dot) : file + "-message";
}

}  // namespace

int SaveScreenshotAfter(std::string_view script, const std::string& typed, const std::string& file,
                        std::ostream& out, std::ostream& err) {
  const std::string panel = PanelNameAnyCase(typed);
  if (FindPanelType(panel) == nullptr) {
    err << "vexmor: no panel named " << panel << '\n';
    return 2;
  }
  int grabbed = 1;
  QPixmap lastMessage;
  const auto start = [&lastMessage](Desktop& desktop, QtPlatform& platform) {
    desktop.KeepLastPictures();
    platform.onMessageShown = [&lastMessage](QWidget& box) { lastMessage = box.grab(); };
  };
  const auto end = [&](Desktop& desktop) {
    if (desktop.WindowOf(panel) != nullptr) {
      grabbed = Grab(desktop, panel, file, err);
      return;
    }
    // The script closed the panel (a conversion that ends by closing it):
    // the window as it was just before, and the last message shown.
    const QPixmap* before = desktop.LastPicture(panel);
    if (before == nullptr) {
      err << "vexmor: the panel " << panel << " was not open when the script ended\n";
      return;
    }
    grabbed = SavePicture(*before, file, err) ? 0 : 1;
    err << "vexmor: the script closed " << panel << "; " << file << " shows it just before it closed";
    if (grabbed == 0 && !lastMessage.isNull()) {
      const std::string messageFile = MessagePictureName(file);
      if (!SavePicture(lastMessage, messageFile, err)) grabbed = 1;
      err << ", " << messageFile << " the last message";
    }
    err << '\n';
  };
  const int status = RunScriptOnScreen(script, out, err, end, start);
  return status != 0 ? status : grabbed;
}

int SaveScreenshot(const std::string& typed, const std::string& file, std::ostream& err) {
  const std::string panel = PanelNameAnyCase(typed);
  if (FindPanelType(panel) == nullptr) {
    err << "vexmor: no panel named " << panel << '\n';
    return 2;
  }
  // Dialogs that a panel opens on loading are answered as by Enter.
  QtPlatform platform;
  platform.SetScripted(true);
  SharedState state;
  int status = 0;
  {
    Session session(platform, state);
    Desktop desktop(session, true);
    session.Open(kMainPanel);
    if (panel != kMainPanel) session.Open(panel);
    Settle();
    status = Grab(desktop, panel, file, err);
  }
  Settle();
  return status;
}

int RunDesktop() {
  QtPlatform platform;
  SharedState state;
  Session session(platform, state);
  Desktop desktop(session, false);
  session.onEnded = [] { QCoreApplication::quit(); };
  session.Open(kMainPanel);
  if (session.Ended()) return 0;
  const int status = QApplication::exec();
  session.onEnded = nullptr;
  Settle();  // the windows closed with MainPanel
  return status;
}

}  // namespace vexmor
