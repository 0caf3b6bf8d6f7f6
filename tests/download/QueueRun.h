// SPDX-License-Identifier: MIT
#pragma once

#include <chrono>
#include <condition_variable>
#include <cstddef>
#include <cstdint>
#include <functional>
#include <gtest/gtest.h>
#include <memory>
#include <mutex>
#include <optional>
#include <stdexcept>
#include <string>
#include <thread>
#include <vector>

#include "async/RunLoop.h"
#include "download/DownloadQueueManager.h"

namespace tolvane {

// A main queue that the test drains, and that counts what has been posted.
class CountingRunLoop : public RunLoop {
 public:
  void post(Task task) override {
    // Kept here: once the task is posted, the loop may have run it and been destroyed.
    const std::shared_ptr<Count> count = count_;
    RunLoop::post(std::move(task));
    const std::lock_guard lock(count->mutex);
    ++count->posts;
    count->posted.notify_all();
  }

  // Waits until that many tasks have been posted; false when they do not come within 10 seconds.
  bool waitForPosts(std::size_t count) const {
    std::unique_lock lock(count_->mutex);
    return count_->posted.wait_for(lock, std::chrono::seconds(10),
                                   [&] { return count_->posts >= count; });
  }

 private:
  struct Count {
    std::mutex mutex;
    std::condition_variable posted;
    std::size_t posts = 0;
  };

  const std::shared_ptr<Count> count_ = std::make_shared<Count>();
};

// A download manager whose outcomes the test makes up.
class ScriptedDownloadManager : public DownloadManager {
 public:
  using Script = std::function<void(const PackageEntry&, const Completion&)>;

  explicit ScriptedDownloadManager(Script script) : script_(std::move(script)) {}

  void downloadPackage(const PackageEntry& package, const std::optional<URL>&, const std::string&,
                       Completion completion) override {
    script_(package, completion);
  }

 private:
  Script script_;
};

// The arguments of one progress call, and of the completion, in their orders.
using ProgressReport = std::vector<std::uint64_t>;
using Summary = std::vector<std::uint64_t>;

// What the callbacks of one run are called with. They may only be called on the thread that made
// this object, and the completion only once.
class QueueRun {
 public:
  DownloadQueueManager::Progress progress() const {
    return [state = state_](std::uint64_t completed, std::uint64_t total, std::uint64_t failed,
                            std::uint64_t skipped, std::uint64_t verified,
                            std::uint64_t validationFailed) {
      state->checkThread();
      state->reports.push_back({completed, total, failed, skipped, verified, validationFailed});
    };
  }

  DownloadQueueManager::Completion completion(std::function<void()> then = {}) const {
    return [state = state_, then = std::move(then)](std::uint64_t downloaded, std::uint64_t failed,
                                                    std::uint64_t skipped, std::uint64_t verified,
                                                    std::uint64_t validationFailed) {
      state->checkThread();
      if (state->summary) throw std::logic_error("A run completed twice.");
      state->summary = Summary{downloaded, failed, skipped, verified, validationFailed};
      if (then) then();
    };
  }

  const std::vector<ProgressReport>& reports() const { return state_->reports; }
  const std::optional<Summary>& summary() const { return state_->summary; }

  // Runs what is posted until the completion has been called and makes the loop quit, and then
  // until nothing can call the callbacks any more: a second completion fails the test.
  void runToEnd(RunLoop& loop) const {
    loop.run();
    EXPECT_TRUE(drainUntilLetGo(loop)) << "the callbacks are still held";
  }

  // Runs what is posted until the callbacks that were handed out are destroyed, so that nothing can
  // call them any more; false when they are held for longer than 10 seconds.
  bool drainUntilLetGo(RunLoop& loop) const {
    const auto deadline = std::chrono::steady_clock::now() + std::chrono::seconds(10);
    while (state_.use_count() > 1) {
      if (std::chrono::steady_clock::now() > deadline) return false;
      std::this_thread::sleep_for(std::chrono::milliseconds(1));
      loop.drain();
    }
    return true;
  }

 private:
  struct State {
    void checkThread() const {
      if (std::this_thread::get_id() != thread) throw std::logic_error("Not the main thread.");
    }

    const std::thread::id thread = std::this_thread::get_id();
    std::vector<ProgressReport> reports;
    std::optional<Summary> summary;
  };

  std::shared_ptr<State> state_ = std::make_shared<State>();
};

}  // namespace tolvane
