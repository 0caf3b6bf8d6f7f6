// SPDX-License-Identifier: MIT
#pragma once

#include <functional>
#include <map>
#include <memory>
#include <string>
#include <string_view>

namespace tolvane {

using UserInfo = std::map<std::string, std::string>;

// Broadcasts named notifications to their observers. Every operation may be called on any thread,
// from inside an observer too.
class NotificationCenter {
 public:
  using Observer = std::function<void(const UserInfo&)>;

  // Observing ends when the last copy of the token is destroyed. A post() in progress on another
  // thread may still call the observer after that.
  using Token = std::shared_ptr<void>;

  NotificationCenter();
  ~NotificationCenter();

  static NotificationCenter& defaultCenter();

  [[nodiscard]] Token addObserver(std::string_view name, Observer observer);

  // Calls every observer of the name on the calling thread, in the order in which they were added,
  // with no lock held.
  void post(std::string_view name, const UserInfo& userInfo);

 private:
  struct State;
  std::shared_ptr<State> state_;
};

}  // namespace tolvane
