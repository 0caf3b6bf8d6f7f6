// SPDX-License-Identifier: MIT
#include "platform/NotificationCenter.h"

#include <mutex>
#include <utility>
#include <vector>

namespace tolvane {

// The tokens own the observers, so that one is gone the moment its token is, and never destroyed
// with the lock held.
struct NotificationCenter::State {
  using Observers = std::vector<std::weak_ptr<const Observer>>;

  std::mutex mutex;
  std::map<std::string, Observers, std::less<>> observers;

  // The observers of the name that are still there; the others are forgotten on the way.
  Observers observersOf(std::string_view name) {
    const std::lock_guard lock(mutex);
    const auto found = observers.find(name);
    if (found == observers.end()) return {};
    std::erase_if(found->second, [](const auto& observer) { return observer.expired(); });
    return found->second;
  }
};

NotificationCenter::NotificationCenter() : state_(std::make_shared<State>()) {}

NotificationCenter::~NotificationCenter() = default;

NotificationCenter& NotificationCenter::defaultCenter() {
  // Never destroyed: background threads may post while the process exits.
  static auto* const center = new NotificationCenter;
  return *center;
}

NotificationCenter::Token NotificationCenter::addObserver(std::string_view name,
                                                          Observer observer) {
  auto token = std::make_shared<const Observer>(std::move(observer));
  const std::lock_guard lock(state_->mutex);
  auto& observers = state_->observers[std::string(name)];
  std::erase_if(observers, [](const auto& other) { return other.expired(); });
  observers.push_back(token);
  return std::const_pointer_cast<Observer>(token);
}

void NotificationCenter::post(std::string_view name, const UserInfo& userInfo) {
  for (const auto& weakObserver : state_->observersOf(name)) {
    if (const auto observer = weakObserver.lock()) (*observer)(userInfo);
  }
}

}  // namespace tolvane
