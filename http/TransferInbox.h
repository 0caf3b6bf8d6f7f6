// SPDX-License-Identifier: MIT
#pragma once

#include <atomic>
#include <curl/curl.h>
#include <memory>
#include <mutex>
#include <vector>

#include "http/TransferTask.h"

namespace tolvane {

// Where any thread leaves tasks for the transport's thread.
class TransferInbox {
 public:
  explicit TransferInbox(CURLM* multi) : multi_(multi) {}

  // The task is dropped once the transport has stopped.
  void submit(std::unique_ptr<TransferTask> task);
  void wake();
  std::vector<std::unique_ptr<TransferTask>> takeAll();

  void stop();
  bool isStopped();

  // Downloaded files of all sessions whose completion has not run, and whether a start waits for
  // that.
  std::atomic<int> filesAtHand{0};
  std::atomic<bool> startBlocked{false};

 private:
  std::mutex mutex_;
  CURLM* multi_;  // null once stopped
  std::vector<std::unique_ptr<TransferTask>> tasks_;
};

}  // namespace tolvane
