// SPDX-License-Identifier: MIT
#include "cli/ConsoleObserver.h"

#include <fmt/format.h>

#include "cli/ProgressBar.h"

namespace tolvane {

void ConsoleObserver::showStatus(std::string_view text) {
  if (progress_.state != Progress::State::determinate) return;
  console_.showStatus(
      fmt::format("{}  {}", progressBar(progress_.completed, progress_.total), text));
}

void ConsoleObserver::addConsoleLine(std::string_view /*text*/, LogType /*type*/) {}

void ConsoleObserver::showProgress(const Progress& progress) {
  progress_ = progress;
}

void ConsoleObserver::activityChanged(Activity /*activity*/, bool /*isOn*/) {}

void ConsoleObserver::ask(const Question& question, Answered answered) {
  answered(question.answers.size() - 1);
}

}  // namespace tolvane
