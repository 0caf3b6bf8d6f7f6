// SPDX-License-Identifier: MIT
#pragma once

#include <cstddef>
#include <cstdint>
#include <functional>
#include <string>
#include <string_view>
#include <vector>

#include "model/CrawlerLogger.h"

namespace tolvane {

// What a progress bar shows of a workflow.
struct Progress {
  enum class State {
    hidden,
    indeterminate,
    determinate,  // `completed` of `total`
    ended,        // full, and hidden after a while
  };

  State state = State::hidden;
  std::uint64_t completed = 0;
  std::uint64_t total = 0;
};

// What a workflow is busy with. Controls whose use would get in its way are disabled meanwhile.
enum class Activity {
  fetch,
  download,
  archiveDownload,  // into the archive workflow's cache
};

// A question with its answers, the first of which is the default. An answer that is given in
// another way than by choosing one (a window that is closed) counts as the last one.
struct Question {
  std::string messageText;
  std::string informativeText;
  std::vector<std::string> answers;
};

// What a workflow reports while it runs: the window shows it, tolvane-cli prints it, a test records
// it. Every function is called on the main thread. The end of a workflow comes by the completion
// that its caller gave.
class WorkflowObserver {
 public:
  using Answered = std::function<void(std::size_t answer)>;

  virtual ~WorkflowObserver() = default;

  virtual void showStatus(std::string_view text) = 0;
  virtual void addConsoleLine(std::string_view text, LogType type) = 0;
  virtual void showProgress(const Progress& progress) = 0;
  virtual void activityChanged(Activity activity, bool isOn) = 0;

  // Asks, and returns at once. `answered` is called once, on the main thread, with the index of the
  // answer.
  virtual void ask(const Question& question, Answered answered) = 0;

  // The status and a console line with the same text.
  void report(std::string_view text, LogType type) {
    showStatus(text);
    addConsoleLine(text, type);
  }
};

}  // namespace tolvane
