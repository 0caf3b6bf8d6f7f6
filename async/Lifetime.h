// SPDX-License-Identifier: MIT
#pragma once

#include <memory>
#include <utility>

#include "async/MainQueue.h"

namespace tolvane {

// A member of an object of the main thread: completions that it wraps do nothing once the object is
// destroyed.
class Lifetime {
 public:
  // The action, which does nothing once the owner is destroyed. To be called on the main thread.
  template <typename Action>
  auto guard(Action action) const {
    return [owner = std::weak_ptr<void>(alive_),
            action = std::move(action)](auto&&... arguments) mutable {
      if (!owner.expired()) action(std::forward<decltype(arguments)>(arguments)...);
    };
  }

  // The same for what completes on any thread: the action runs later, on the main queue, which
  // outlives the owner.
  template <typename Action>
  auto guardOn(MainQueue& queue, Action action) const {
    return [&queue, action = guard(std::move(action))](auto... arguments) {
      queue.post([action, ... arguments = std::move(arguments)]() mutable {
        action(std::move(arguments)...);
      });
    };
  }

 private:
  std::shared_ptr<void> alive_ = std::make_shared<char>();
};

}  // namespace tolvane
