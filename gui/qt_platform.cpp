#include "qt_platform.h"

#include <unistd.h>

#include <QAbstractButton>
#include <QApplication>
#include <QFileDialog>
#include <QFileInfo>
#include <QFontDialog>
#include <QInputDialog>
#include <QLabel>
#include <QLineEdit>
#include <QMessageBox>
#include <QPointer>
#include <QPrintDialog>
#include <QPrinter>
#include <QPushButton>
#include <QTextDocument>
#include <QTimer>
#include <filesystem>
#include <utility>
#include <vector>

#include "core/paths.h"
#include "platform/headless_platform.h"
#include "platform/jobs.h"

namespace vexmor {

namespace fs = std::filesystem;

namespace {

QString FromUtf8(const std::string& text) { return QString::fromStdString(text); }

// Message texts end their lines with CR LF; the screen wants LF alone.
QString ScreenText(const std::string& text) {
  QString s = FromUtf8(text);
  s.replace(QStringLiteral("\r\n"), QStringLiteral("\n"));
  s.replace(QChar('\r'), QChar('\n'));
  return s;
}

struct ButtonAnswer {
  QMessageBox::StandardButton button;
  int answer;
};

// The buttons of a message box by the low four bits of its code, in the
// order they stand; the first is the default.
std::vector<ButtonAnswer> ButtonsOf(int code) {
  switch (code & 0x0F) {
    case 1: return {{QMessageBox::Ok, answers::kOk}, {QMessageBox::Cancel, answers::kCancel}};
    case 2: return {{QMessageBox::Abort, 3}, {QMessageBox::Retry, 4}, {QMessageBox::Ignore, 5}};
    case 3:
      return {{QMessageBox::Yes, answers::kYes}, {QMessageBox::No, answers::kNo},
              {QMessageBox::Cancel, answers::kCancel}};
    case 4: return {{QMessageBox::Yes, answers::kYes}, {QMessageBox::No, answers::kNo}};
    case 5: return {{QMessageBox::Retry, 4}, {QMessageBox::Cancel, answers::kCancel}};
    default: return {{QMessageBox::Ok, answers::kOk}};
  }
}

QMessageBox::Icon IconOf(int code) {
  switch (code & 0x70) {
    case 16: return QMessageBox::Critical;
    case 32: return QMessageBox::Question;
    case 48: return QMessageBox::Warning;
    case 64: return QMessageBox::Information;
    default: return QMessageBox::NoIcon;
  }
}

QStringList PatternsOf(const QString& patterns) {
  QStringList out;
  for (QString p : patterns.split(QChar(';'), Qt::SkipEmptyParts)) {
    p = p.trimmed();
    if (p.isEmpty()) continue;
    // "*.*" means every file, also those without a point in the name.
    if (p == QStringLiteral("*.*")) p = QStringLiteral("*");
    for (const QString& v : {p, p.toUpper(), p.toLower()}) {
      if (!out.contains(v)) out << v;
    }
  }
  return out;
}

// While a dialog waits for the user, the pointer over it is the normal
// one, even in the middle of a conversion that shows the busy pointer.
class NormalPointerWhileAsking {
 public:
  explicit NormalPointerWhileAsking(bool busy) : busy_(busy) {
    if (busy_) QApplication::setOverrideCursor(Qt::ArrowCursor);
  }
  ~NormalPointerWhileAsking() {
    if (busy_) QApplication::restoreOverrideCursor();
  }
  NormalPointerWhileAsking(const NormalPointerWhileAsking&) = delete;
  NormalPointerWhileAsking& operator=(const NormalPointerWhileAsking&) = delete;

 private:
  bool busy_;
};

}  // namespace

QString MessageTitle(const std::string& title) {
  return title.empty() ? QString::fromLatin1(kSystemName) : FromUtf8(title);
}

QString QtFileFilter(const std::string& pairs) {
  const QStringList parts = FromUtf8(pairs).split(QChar('|'));
  QStringList filters;
  for (qsizetype i = 0; i + 1 < parts.size(); i += 2) {
    const QStringList patterns = PatternsOf(parts[i + 1]);
    if (patterns.isEmpty()) continue;
    QString name = parts[i].trimmed();
    if (name.isEmpty()) name = patterns.join(QChar(' '));
    filters << name + QStringLiteral(" (") + patterns.join(QChar(' ')) + QChar(')');
  }
  if (filters.isEmpty()) filters << QStringLiteral("All files (*)");
  return filters.join(QStringLiteral(";;"));
}

std::string MultiAnswer(const QStringList& chosen) {
  if (chosen.isEmpty()) return {};
  if (chosen.size() == 1) return chosen.front().toStdString();
  std::string answer = QFileInfo(chosen.front()).absolutePath().toStdString();
  for (const QString& path : chosen) answer += " " + QFileInfo(path).fileName().toStdString();
  return answer;
}

QtPlatform::~QtPlatform() {
  if (busy_ && QApplication::overrideCursor() != nullptr) QApplication::restoreOverrideCursor();
}

int QtPlatform::MessageBox(const std::string& text, int buttonsCode, const std::string& title) {
  QMessageBox box;
  box.setWindowTitle(MessageTitle(title));
  // Texts hold paths and headers, never markup: "<" stands as typed.
  box.setTextFormat(Qt::PlainText);
  box.setText(ScreenText(text));
  box.setIcon(IconOf(buttonsCode));
  const std::vector<ButtonAnswer> buttons = ButtonsOf(buttonsCode);
  QMessageBox::StandardButtons set;
  for (const ButtonAnswer& b : buttons) set |= b.button;
  box.setStandardButtons(set);
  box.setDefaultButton(buttons.front().button);
  // Escape is Cancel where there is one; a box of one button closes with it.
  QMessageBox::StandardButton escape = buttons.size() == 1 ? buttons.front().button : QMessageBox::NoButton;
  for (const ButtonAnswer& b : buttons) {
    if (b.answer == answers::kCancel) escape = b.button;
  }
  if (escape != QMessageBox::NoButton) box.setEscapeButton(escape);

  int scriptedAnswer = 0;
  if (scripted_) {
    scriptedAnswer = answers_.TakeMessage().value_or(FirstButtonOf(buttonsCode));
    QMessageBox::StandardButton target = QMessageBox::NoButton;
    for (const ButtonAnswer& b : buttons) {
      if (b.answer == scriptedAnswer) target = b.button;
    }
    QPointer<QMessageBox> guard(&box);
    QTimer::singleShot(0, &box, [this, guard, target] {
      if (!guard) return;
      if (onMessageShown) onMessageShown(*guard);
      if (QAbstractButton* button = guard->button(target)) {
        button->click();
      } else {
        guard->done(0);  // an answer the box has no button for
      }
    });
  }
  {
    NormalPointerWhileAsking pointer(busy_);
    box.exec();
  }

  // Closed without a button: the escape button's answer, as Escape gives.
  int answer = scriptedAnswer;
  const QMessageBox::StandardButton pressed =
      box.clickedButton() != nullptr ? box.standardButton(box.clickedButton()) : escape;
  for (const ButtonAnswer& b : buttons) {
    if (b.button == pressed && (answer == 0 || box.clickedButton() != nullptr)) answer = b.answer;
  }
  if (answer == 0) answer = buttons.front().answer;
  Write(transcript::Message(text, buttonsCode, title, answer));
  return answer;
}

std::string QtPlatform::PromptValue(const std::string& prompt, const std::string& title,
                                    const std::string& defaultText) {
  QInputDialog dialog;
  dialog.setWindowTitle(MessageTitle(title));
  dialog.setLabelText(ScreenText(prompt));
  if (auto* label = dialog.findChild<QLabel*>()) label->setTextFormat(Qt::PlainText);
  dialog.setInputMode(QInputDialog::TextInput);
  dialog.setTextValue(FromUtf8(defaultText));
  QPointer<QInputDialog> guard(&dialog);
  // The default stands selected, so that typing replaces it.
  QTimer::singleShot(0, &dialog, [guard] {
    if (!guard) return;
    if (auto* edit = guard->findChild<QLineEdit*>()) edit->selectAll();
  });
  if (scripted_) {
    const std::optional<std::string> queued = answers_.TakePrompt();
    QTimer::singleShot(0, &dialog, [guard, queued] {
      if (!guard) return;
      if (!queued) {
        guard->accept();
      } else if (queued->empty()) {
        guard->reject();  // an empty answer is the Cancel button
      } else {
        guard->setTextValue(QString::fromStdString(*queued));
        guard->accept();
      }
    });
  }
  bool accepted = false;
  {
    NormalPointerWhileAsking pointer(busy_);
    accepted = dialog.exec() == QDialog::Accepted;
  }
  const std::string answer = accepted ? dialog.textValue().toStdString() : std::string();
  Write(transcript::Prompt(prompt, title, defaultText, answer));
  return answer;
}

std::string QtPlatform::ChooseFile(const FileRequest& request) {
  std::error_code ec;
  const QString start = request.folder.empty() ? FromUtf8(fs::current_path(ec).string()) : FromUtf8(request.folder);
  QFileDialog dialog(nullptr, FromUtf8(request.title), start);
  // Qt's own dialog looks the same everywhere, and a script can answer it.
  dialog.setOption(QFileDialog::DontUseNativeDialog, true);
  dialog.setAcceptMode(request.save ? QFileDialog::AcceptSave : QFileDialog::AcceptOpen);
  // One dialog serves for input and output: a new name can be typed.
  dialog.setFileMode(request.multi       ? QFileDialog::ExistingFiles
                     : request.mustExist ? QFileDialog::ExistingFile
                                         : QFileDialog::AnyFile);
  dialog.setNameFilter(QtFileFilter(request.filter));
  if (!request.fileName.empty()) dialog.selectFile(FromUtf8(request.fileName));

  std::optional<std::string> queued;
  if (scripted_) {
    queued = answers_.TakeDialog();
    QPointer<QFileDialog> guard(&dialog);
    QTimer::singleShot(0, &dialog, [guard, has = queued.has_value()] {
      if (!guard) return;
      // The queued answer stands for what the user picks; nothing queued is
      // a user who cancels, which gives the preset name.
      static_cast<QDialog*>(guard.data())->done(has ? QDialog::Accepted : QDialog::Rejected);
    });
  }
  std::string answer = request.fileName;
  bool accepted = false;
  for (;;) {
    {
      NormalPointerWhileAsking pointer(busy_);
      accepted = dialog.exec() == QDialog::Accepted;
    }
    if (!accepted || queued || request.multi) break;
    // A pattern typed as the name (the preset "*.SU" left as it stands)
    // filters the list and the dialog stays, as the system's own does.
    const QStringList typed = dialog.selectedFiles();
    if (typed.isEmpty()) break;
    const QFileInfo pattern(typed.front());
    if (!HasWildcards(pattern.fileName().toStdString())) break;
    QStringList filters = dialog.nameFilters();
    const QString own = pattern.fileName() + QStringLiteral(" (") + pattern.fileName() + QChar(')');
    filters.removeAll(own);
    filters.prepend(own);
    dialog.setNameFilters(filters);
    dialog.selectNameFilter(own);
    dialog.setDirectory(pattern.absolutePath());
    dialog.selectFile(QString());
  }
  if (accepted) {
    if (queued) {
      answer = *queued;
    } else {
      const QStringList chosen = dialog.selectedFiles();
      if (!chosen.isEmpty()) answer = request.multi ? MultiAnswer(chosen) : chosen.front().toStdString();
    }
  }
  Write(transcript::Dialog(request, answer));
  if (answer != request.fileName) EnterFolderOfAnswer(answer, request.multi);
  return answer;
}

int QtPlatform::Shell(const std::string& commandLine, int style) {
  // A job script shown (style 1 or 2) gets a terminal window of its own.
  const ShellCommand command = ParseShellCommand(commandLine, ProgramFolder());
  const int task = StartJob(JobCommand(command, style), !command.isScript);
  Write(transcript::Shell(commandLine, style, task));
  return task;
}

int QtPlatform::ShellOpen(const std::string&, const std::string&, const std::string& program,
                          const std::string& folder) {
  // 2 is "file not found", as the desktop's own launcher says it.
  int result = 2;
  const std::string found = ResolveExisting(program);
  if (FileExists(found) == 1 && access(found.c_str(), X_OK) == 0) {
    std::error_code ec;
    const fs::path before = fs::current_path(ec);
    if (!folder.empty()) fs::current_path(folder, ec);
    result = StartJob({found}, true) != 0 ? 33 : 2;
    if (!before.empty()) fs::current_path(before, ec);
  }
  Write(transcript::ShellOpen(program, folder, result));
  return result;
}

void QtPlatform::PumpEvents() {
  QCoreApplication::processEvents(QEventLoop::AllEvents);
  ReapJobs();
}

bool QtPlatform::TaskRunning(int task) { return JobRunning(task); }

double QtPlatform::Clock() { return SecondsSinceMidnight(); }

void QtPlatform::Beep() {
  QApplication::beep();
  Write(transcript::Beep());
}

void QtPlatform::BusyPointer(bool on, const std::string&) {
  if (on == busy_) return;
  busy_ = on;
  if (on) {
    QApplication::setOverrideCursor(Qt::WaitCursor);
  } else {
    QApplication::restoreOverrideCursor();
  }
}

std::string QtPlatform::ReadIniString(const std::string& section, const std::string& key,
                                      const std::string& defaultText, const std::string& iniFile, int room) {
  return ReadIniFromConfigFolders(section, key, defaultText, iniFile, room);
}

std::string QtPlatform::ProgramFolder() { return RunningProgramFolder(); }

void QtPlatform::CloseMessageNamed(const std::string& title) {
  const QString wanted = FromUtf8(title);
  for (QWidget* top : QApplication::topLevelWidgets()) {
    auto* box = qobject_cast<QMessageBox*>(top);
    if (box == nullptr || !box->isVisible() || box->windowTitle() != wanted) continue;
    // As if the user had answered it with Enter.
    if (QAbstractButton* button = box->defaultButton()) {
      button->click();
    } else {
      box->done(0);
    }
    return;
  }
}

QFont ToQFont(const TextFont& font) {
  QFont f(FromUtf8(font.name));
  if (font.size > 0) f.setPointSizeF(font.size);
  f.setBold(font.bold);
  f.setItalic(font.italic);
  f.setUnderline(font.underline);
  f.setStrikeOut(font.strikethrough);
  return f;
}

TextFont FromQFont(const QFont& f) {
  TextFont font;
  font.name = f.family().toStdString();
  font.size = f.pointSizeF() > 0 ? f.pointSizeF() : font.size;
  font.bold = f.bold();
  font.italic = f.italic();
  font.underline = f.underline();
  font.strikethrough = f.strikeOut();
  return font;
}

std::optional<TextFont> QtPlatform::ChooseFont(const TextFont& preset) {
  QFontDialog dialog(ToQFont(preset));
  dialog.setOption(QFontDialog::DontUseNativeDialog, true);
  if (scripted_) {
    // No line of the script answers it: a user who presses Enter.
    QPointer<QFontDialog> guard(&dialog);
    QTimer::singleShot(0, &dialog, [guard] {
      if (guard) guard->accept();
    });
  }
  bool accepted = false;
  {
    NormalPointerWhileAsking pointer(busy_);
    accepted = dialog.exec() == QDialog::Accepted;
  }
  if (!accepted) return std::nullopt;
  return FromQFont(dialog.selectedFont());
}

bool QtPlatform::PrintText(const PrintJob& job) {
  QPrinter printer;
  QPrintDialog dialog(&printer);
  // No page numbers to ask for; the selection when there is one.
  dialog.setOption(QAbstractPrintDialog::PrintPageRange, false);
  dialog.setOption(QAbstractPrintDialog::PrintSelection, job.selection);
  if (job.selection) printer.setPrintRange(QPrinter::Selection);
  if (scripted_) {
    // A script never reaches a real printer.
    QPointer<QPrintDialog> guard(&dialog);
    QTimer::singleShot(0, &dialog, [guard] {
      if (guard) guard->reject();
    });
  }
  bool accepted = false;
  {
    NormalPointerWhileAsking pointer(busy_);
    accepted = dialog.exec() == QDialog::Accepted;
  }
  if (!accepted) return false;
  QTextDocument document;
  document.setDefaultFont(ToQFont(job.font));
  document.setPlainText(ScreenText(job.text));
  document.print(&printer);
  return printer.printerState() != QPrinter::Error;
}

}  // namespace vexmor
