// SPDX-License-Identifier: MIT
#pragma once

#include <deque>
#include <fmt/format.h>
#include <functional>
#include <string>
#include <utility>
#include <vector>

#include "workflow/WorkflowObserver.h"

namespace tolvane {

// Records what a workflow reports, one line each: "status: ...", "info: ..." (a console line),
// "progress: 1 / 3", "fetch: on", "question: ...".
class RecordingObserver : public WorkflowObserver {
 public:
  std::vector<std::string> events;
  std::deque<Question> questions;
  std::deque<Answered> unanswered;
  std::function<void(const std::string&)> onEvent = [](const std::string&) {};

  void showStatus(std::string_view text) override { add(fmt::format("status: {}", text)); }
  void addConsoleLine(std::string_view text, LogType type) override {
    add(fmt::format("{}: {}", CrawlerLogger::stringForLogType(static_cast<int>(type)), text));
  }
  void showProgress(const Progress& progress) override {
    switch (progress.state) {
      case Progress::State::hidden:
        return add("progress: hidden");
      case Progress::State::indeterminate:
        return add("progress: indeterminate");
      case Progress::State::determinate:
        return add(fmt::format("progress: {} / {}", progress.completed, progress.total));
      case Progress::State::ended:
        return add("progress: ended");
    }
  }
  void activityChanged(Activity activity, bool isOn) override {
    const char* const name = activity == Activity::fetch      ? "fetch"
                             : activity == Activity::download ? "download"
                                                              : "archiveDownload";
    add(fmt::format("{}: {}", name, isOn ? "on" : "off"));
  }
  void ask(const Question& question, Answered answered) override {
    questions.push_back(question);
    unanswered.push_back(std::move(answered));
    add("question: " + question.messageText);
  }

  // Gives the oldest question its answer.
  void answer(std::size_t index) {
    const Answered answered = std::move(unanswered.front());
    unanswered.pop_front();
    answered(index);
  }

  // What was recorded since the last call.
  std::vector<std::string> taken() { return std::exchange(events, {}); }

 private:
  void add(std::string event) {
    events.push_back(event);
    onEvent(event);
  }
};

}  // namespace tolvane
