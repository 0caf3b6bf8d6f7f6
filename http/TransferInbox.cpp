// SPDX-License-Identifier: MIT
#include "http/TransferInbox.h"

#include <utility>

namespace tolvane {

void TransferInbox::submit(std::unique_ptr<TransferTask> task) {
  std::lock_guard lock(mutex_);
  if (!multi_) return;
  if (tasks_.empty()) curl_multi_wakeup(multi_);
  tasks_.push_back(std::move(task));
}

void TransferInbox::wake() {
  std::lock_guard lock(mutex_);
  if (multi_) curl_multi_wakeup(multi_);
}

std::vector<std::unique_ptr<TransferTask>> TransferInbox::takeAll() {
  std::lock_guard lock(mutex_);
  return std::exchange(tasks_, {});
}

void TransferInbox::stop() {
  std::lock_guard lock(mutex_);
  if (multi_) curl_multi_wakeup(multi_);
  multi_ = nullptr;
}

bool TransferInbox::isStopped() {
  std::lock_guard lock(mutex_);
  return !multi_;
}

}  // namespace tolvane
