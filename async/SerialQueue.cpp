// SPDX-License-Identifier: MIT
#include "async/SerialQueue.h"

#include <asio/post.hpp>
#include <asio/strand.hpp>
#include <utility>

#include "async/ThreadPools.h"

namespace tolvane {

struct SerialQueue::State {
  asio::strand<asio::io_context::executor_type> strand{backgroundPool().get_executor()};
};

SerialQueue::SerialQueue() : state_(std::make_shared<State>()) {}

void SerialQueue::post(Task task) const {
  asio::post(state_->strand, std::move(task));
}

}  // namespace tolvane
