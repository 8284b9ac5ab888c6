#pragma once
// The platform without a screen: answers come from a queue (or are those of
// a user who presses Enter), and every call that the user would see or hear
// writes a transcript line.
#include <deque>
#include <optional>
#include <string>
#include <vector>

#include "platform/answer_queue.h"
#include "platform/platform.h"
#include "platform/transcript.h"

namespace vexmor {

class HeadlessPlatform : public Platform {
 public:
  explicit HeadlessPlatform(TranscriptSink sink = {}) : sink_(std::move(sink)) {}
  ~HeadlessPlatform() override;

  AnswerQueue& Answers() { return answers_; }
  void SetSink(TranscriptSink sink) { sink_ = std::move(sink); }
  // When set, Shell and ShellOpen only write their line and start nothing.
  void SetRecordOnly(bool recordOnly) { recordOnly_ = recordOnly; }
  // Overrides the program folder (tests place stand-in programs there).
  void SetProgramFolder(std::string folder) { programFolder_ = std::move(folder); }

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
  // The font and print dialogs have no transcript line of their own: the
  // font dialog answers its preset, as Enter would, unless a font was
  // queued; printing keeps the job for the caller to look at.
  std::optional<TextFont> ChooseFont(const TextFont& preset) override;
  bool PrintText(const PrintJob& job) override;

  bool Busy() const { return busy_; }
  // The answer of the next font dialog; nothing queued is Enter.
  void QueueFont(std::optional<TextFont> font) { fonts_.push_back(std::move(font)); }
  const std::vector<PrintJob>& Printed() const { return printed_; }

 private:
  void Write(const std::string& line) {
    if (sink_) sink_(line);
  }
  TranscriptSink sink_;
  AnswerQueue answers_;
  bool recordOnly_ = false;
  bool busy_ = false;
  std::string programFolder_;
  std::deque<std::optional<TextFont>> fonts_;
  std::vector<PrintJob> printed_;
};

// Shared by both platforms.
// The INI file is looked for in $XDG_CONFIG_HOME (else ~/.config), then /etc,
// whatever the letter case of its name.
std::string ReadIniFromConfigFolders(const std::string& section, const std::string& key,
                                     const std::string& defaultText, const std::string& iniFile, int room);
// Seconds since local midnight.
double SecondsSinceMidnight();
// Makes the folder of a file dialog's answer the current folder.
void EnterFolderOfAnswer(const std::string& answer, bool multi);

}  // namespace vexmor
