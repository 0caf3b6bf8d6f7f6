// SPDX-License-Identifier: MIT
#pragma once

#include <optional>
#include <string>
#include <thread>
#include <utility>

#include "download/DownloadManager.h"
#include "tests/support/CompletionProbe.h"

namespace tolvane {

// How a download ended, and on which thread.
struct Outcome {
  bool success = false;
  std::optional<std::string> localPath;
  std::optional<Error> error;
  std::thread::id thread;
};

// A download under way whose end, and only end, can be waited for.
class PendingOutcome {
 public:
  DownloadManager::Completion completion() const {
    return probe_.completion([](bool success, std::optional<std::string> localPath,
                                std::optional<Error> error) {
      return Outcome{success, std::move(localPath), std::move(error), std::this_thread::get_id()};
    });
  }

  Outcome wait() const { return probe_.wait(); }

 private:
  CompletionProbe<Outcome> probe_;
};

}  // namespace tolvane
