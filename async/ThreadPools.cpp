// SPDX-License-Identifier: MIT
#include "async/ThreadPools.h"

#include <asio/executor_work_guard.hpp>
#include <system_error>
#include <thread>
#include <vector>

namespace tolvane {

namespace {

// Five package steps at once may hang on a disk that does not answer; three threads are left.
constexpr std::size_t kBackgroundThreads = 8;
constexpr std::size_t kFlushThreads = 6;

// Threads that run the tasks of one context.
class ThreadPool {
 public:
  explicit ThreadPool(std::size_t wanted) : work_(context_.get_executor()) {
    threads_.reserve(wanted);
    try {
      while (threads_.size() < wanted) threads_.emplace_back([this] { context_.run(); });
    } catch (const std::system_error&) {
      // The pool has the threads that could be started.
    }
  }

  asio::io_context& context() { return context_; }
  bool hasThreads() const { return !threads_.empty(); }

  void windUp() {
    context_.stop();
    for (std::thread& thread : threads_) {
      // A task may have called exit().
      thread.get_id() == std::this_thread::get_id() ? thread.detach() : thread.join();
    }
  }

 private:
  asio::io_context context_;
  asio::executor_work_guard<asio::io_context::executor_type> work_;
  std::vector<std::thread> threads_;
};

class WindUpAtExit {
 public:
  explicit WindUpAtExit(ThreadPool& pool) : pool_(pool) {}
  WindUpAtExit(const WindUpAtExit&) = delete;
  WindUpAtExit& operator=(const WindUpAtExit&) = delete;
  ~WindUpAtExit() { pool_.windUp(); }

 private:
  ThreadPool& pool_;
};

}  // namespace

asio::io_context& backgroundPool() {
  static auto* const pool = new ThreadPool(kBackgroundThreads);
  static const WindUpAtExit windUp(*pool);
  if (!pool->hasThreads()) {
    throw std::system_error(std::make_error_code(std::errc::resource_unavailable_try_again));
  }
  return pool->context();
}

asio::io_context& flushPool() {
  static auto* const pool = new ThreadPool(kFlushThreads);
  static const WindUpAtExit windUp(*pool);
  return pool->hasThreads() ? pool->context() : backgroundPool();
}

}  // namespace tolvane
