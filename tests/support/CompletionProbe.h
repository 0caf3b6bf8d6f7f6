// SPDX-License-Identifier: MIT
#pragma once

#include <chrono>
#include <memory>
#include <mutex>
#include <stdexcept>
#include <thread>
#include <utility>
#include <vector>

namespace tolvane {

// Records the calls of one completion, each in an Outcome. Copies are the same probe.
//
// A second call of a completion may come late, after the test has ended. Therefore wait() does not
// wait for a call but until every copy of the completion is destroyed, and no call can follow.
template <typename Outcome>
class CompletionProbe {
 public:
  // The completion, which makes an outcome of its arguments with `make`.
  template <typename Make>
  auto completion(Make make) const {
    return [calls = calls_, make = std::move(make)](auto... arguments) {
      Outcome outcome = make(std::move(arguments)...);
      const std::lock_guard lock(calls->mutex);
      calls->outcomes.push_back(std::move(outcome));
    };
  }

  // The outcome of the only call. Throws, which fails the test, when there was no call or more than
  // one, or when a copy of the completion still exists after a minute.
  Outcome wait() const {
    const auto end = std::chrono::steady_clock::now() + std::chrono::seconds(60);
    while (calls_.use_count() > 1) {
      if (std::chrono::steady_clock::now() > end) {
        throw std::runtime_error("The completion is still held.");
      }
      std::this_thread::sleep_for(std::chrono::microseconds(200));
    }
    const std::lock_guard lock(calls_->mutex);
    if (calls_->outcomes.empty()) throw std::runtime_error("The completion was never called.");
    if (calls_->outcomes.size() > 1) throw std::runtime_error("The completion was called twice.");
    return std::move(calls_->outcomes.front());
  }

 private:
  struct Calls {
    std::mutex mutex;
    std::vector<Outcome> outcomes;
  };

  std::shared_ptr<Calls> calls_ = std::make_shared<Calls>();
};

}  // namespace tolvane
