// SPDX-License-Identifier: MIT
#include "base/NotificationCenter.h"

#include <mutex>
#include <utility>

#include "base/ObserverList.h"

namespace tolvane {

struct NotificationCenter::State {
  using Observers = ObserverList<const UserInfo&>;

  std::mutex mutex;
  std::map<std::string, Observers, std::less<>> observers;  // never removed

  Observers& observersOf(std::string_view name) {
    const std::lock_guard lock(mutex);
    const auto found = observers.find(name);
    return found != observers.end() ? found->second : observers[std::string(name)];
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
  return state_->observersOf(name).add(std::move(observer));
}

void NotificationCenter::post(std::string_view name, const UserInfo& userInfo) {
  state_->observersOf(name).call(userInfo);
}

}  // namespace tolvane
