// SPDX-License-Identifier: MIT
#include "platform/ThreadPools.h"

namespace tolvane {

namespace {

// Five package steps may stand still at once on a disk that has gone; the rest goes on beside them.
constexpr std::size_t kBackgroundThreads = 8;
constexpr std::size_t kFlushThreads = 6;

class WindUpAtExit {
 public:
  explicit WindUpAtExit(asio::thread_pool& pool) : pool_(pool) {}
  WindUpAtExit(const WindUpAtExit&) = delete;
  WindUpAtExit& operator=(const WindUpAtExit&) = delete;

  ~WindUpAtExit() {
    pool_.stop();
    pool_.join();
  }

 private:
  asio::thread_pool& pool_;
};

}  // namespace

asio::thread_pool& backgroundPool() {
  static auto* const pool = new asio::thread_pool(kBackgroundThreads);
  static const WindUpAtExit windUp(*pool);
  return *pool;
}

asio::thread_pool& flushPool() {
  static auto* const pool = new asio::thread_pool(kFlushThreads);
  static const WindUpAtExit windUp(*pool);
  return *pool;
}

}  // namespace tolvane
