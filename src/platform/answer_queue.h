#pragma once
// Answers queued by a panel script for the dialogs to come, one queue for
// each kind. A dialog with nothing queued gets the answer of a user who
// presses Enter.
#include <deque>
#include <optional>
#include <string>

namespace vexmor {

class AnswerQueue {
 public:
  void QueueDialog(std::string answer) { dialogs_.push_back(std::move(answer)); }
  void QueuePrompt(std::string answer) { prompts_.push_back(std::move(answer)); }
  void QueueMessage(int button) { messages_.push_back(button); }

  std::optional<std::string> TakeDialog() { return Take(dialogs_); }
  std::optional<std::string> TakePrompt() { return Take(prompts_); }
  std::optional<int> TakeMessage() { return Take(messages_); }

 private:
  template <typename T>
  static std::optional<T> Take(std::deque<T>& queue) {
    if (queue.empty()) return std::nullopt;
    T value = std::move(queue.front());
    queue.pop_front();
    return value;
  }
  std::deque<std::string> dialogs_;
  std::deque<std::string> prompts_;
  std::deque<int> messages_;
};

}  // namespace vexmor
