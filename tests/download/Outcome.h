// SPDX-License-Identifier: MIT
#pragma once

#include <chrono>
#include <functional>
#include <future>
#include <memory>
#include <optional>
#include <stdexcept>
#include <string>
#include <thread>

#include "download/DownloadManager.h"

namespace tolvane {

// How a download ended, and on which thread.
struct Outcome {
  bool success = false;
  std::optional<std::string> localPath;
  std::optional<Error> error;
  std::thread::id thread;
};

// A download under way whose end can be waited for. A second completion ends the test program.
class PendingOutcome {
 public:
  DownloadManager::Completion completion() const {
    return [promise = promise_](bool success, std::optional<std::string> localPath,
                                std::optional<Error> error) {
      promise->set_value(
          {success, std::move(localPath), std::move(error), std::this_thread::get_id()});
    };
  }

  Outcome wait() {
    if (future_.wait_for(std::chrono::seconds(20)) != std::future_status::ready) {
      throw std::runtime_error("The download did not end.");
    }
    return future_.get();
  }

 private:
  std::shared_ptr<std::promise<Outcome>> promise_ = std::make_shared<std::promise<Outcome>>();
  std::future<Outcome> future_ = promise_->get_future();
};

}  // namespace tolvane
