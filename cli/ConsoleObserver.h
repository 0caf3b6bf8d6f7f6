// SPDX-License-Identifier: MIT
#pragma once

#include "cli/Console.h"
#include "workflow/WorkflowObserver.h"

namespace tolvane {

// Shows a workflow's progress in the console's status line. The workflow's console lines are those
// of a window, which tolvane-cli does not print, and a question is answered with its last answer,
// since nobody may be there.
class ConsoleObserver : public WorkflowObserver {
 public:
  explicit ConsoleObserver(Console& console) : console_(console) {}

  void showStatus(std::string_view text) override;
  void addConsoleLine(std::string_view text, LogType type) override;
  void showProgress(const Progress& progress) override;
  void activityChanged(Activity activity, bool isOn) override;
  void ask(const Question& question, Answered answered) override;

 private:
  Console& console_;
  Progress progress_;
};

}  // namespace tolvane
