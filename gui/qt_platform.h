#pragma once
// The platform on screen: Qt's message box, input dialog and file dialog,
// the override cursor, and the same job starter as the headless front.
//
// Under a panel script the dialogs still open for real, but each is answered
// at once, from the queue or as a user who presses Enter would, and every
// call writes the same transcript line as the headless front.
#include <QFont>
#include <QString>
#include <QStringList>
#include <functional>
#include <string>

#include "platform/answer_queue.h"
#include "platform/platform.h"
#include "platform/transcript.h"

class QWidget;

namespace vexmor {

class QtPlatform : public Platform {
 public:
  QtPlatform() = default;
  ~QtPlatform() override;

  // Scripted: dialogs are answered from Answers() and calls are written to
  // the sink. Off: a user at the screen answers.
  void SetScripted(bool scripted) { scripted_ = scripted; }
  bool Scripted() const { return scripted_; }
  AnswerQueue& Answers() { return answers_; }
  void SetSink(TranscriptSink sink) { sink_ = std::move(sink); }

  int MessageBox(const std::string& text, int buttonsCode, const std::string& title) override;
  std::string PromptValue(const std::string& prompt, const std::string& title,
                          const std::string& defaultText) override;
  std::string ChooseFile(const FileRequest& request) override;
  int Shell(const std::string& commandLine, int style) override;
  int ShellOpen(const std::string& ownerPanel, const std::string& verb, const std::string& program,
                const std::string& folder) override;
  void PumpEvents() override;
  double Clock() override;
  void Beep() override;
  void BusyPointer(bool on, const std::string& panel) override;
  std::string ReadIniString(const std::string& section, const std::string& key, const std::string& defaultText,
                            const std::string& iniFile, int room) override;
  std::string ProgramFolder() override;
  void CloseMessageNamed(const std::string& title) override;
  bool TaskRunning(int task) override;
  std::optional<TextFont> ChooseFont(const TextFont& preset) override;
  bool PrintText(const PrintJob& job) override;

  bool Busy() const { return busy_; }

  // Under a script, called with each message box just before it is
  // answered (a screenshot keeps the last one).
  std::function<void(QWidget&)> onMessageShown;

 private:
  void Write(const std::string& line) {
    if (sink_) sink_(line);
  }
  AnswerQueue answers_;
  TranscriptSink sink_;
  bool scripted_ = false;
  bool busy_ = false;
};

// "SU File |*.SU|All files|*.*|" as Qt's "SU File (*.SU *.su);;All files (*)".
// Patterns are offered in both letter cases: the files of these instruments
// come with either.
QString QtFileFilter(const std::string& pairs);

// What a multi-selection answers: the one path when one file is chosen, else
// the folder followed by the names, single blanks between.
std::string MultiAnswer(const QStringList& chosen);

// A font of the panels as Qt's, and back.
QFont ToQFont(const TextFont& font);
TextFont FromQFont(const QFont& font);

// The window title of a message: the caller's, or the system's name.
QString MessageTitle(const std::string& title);

}  // namespace vexmor
