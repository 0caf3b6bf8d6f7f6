// SPDX-License-Identifier: MIT
#pragma once

#include <algorithm>
#include <functional>
#include <memory>
#include <mutex>
#include <utility>
#include <vector>

namespace tolvane {

// Observers and the tokens that keep them registered; for the .cpp files of this folder only. Every
// member may be called on any thread, from inside an observer too. A token may outlive the list.
template <typename... Arguments>
class ObserverList {
 public:
  using Observer = std::function<void(Arguments...)>;

  // The observer is called until the last copy of the token is destroyed, and destroyed with it.
  std::shared_ptr<void> add(Observer observer) {
    auto token =
        std::make_shared<Token>(Token{std::make_shared<const Observer>(std::move(observer))});
    const std::lock_guard lock(mutex_);
    removeExpired();
    tokens_.push_back(token);
    return token;
  }

  bool isEmpty() {
    const std::lock_guard lock(mutex_);
    removeExpired();
    return tokens_.empty();
  }

  // Calls the observers in the order in which they were added, without the lock.
  void call(Arguments... arguments) {
    for (const auto& token : currentTokens()) {
      if (const auto observer = observerOf(token)) (*observer)(arguments...);
    }
  }

 private:
  struct Token {
    std::shared_ptr<const Observer> observer;
  };
  using Tokens = std::vector<std::weak_ptr<Token>>;

  // A call keeps the observer alive, not the token: expired() is right at every moment, also inside
  // the call.
  static std::shared_ptr<const Observer> observerOf(const std::weak_ptr<Token>& weakToken) {
    const auto token = weakToken.lock();
    return token ? token->observer : nullptr;
  }

  Tokens currentTokens() {
    const std::lock_guard lock(mutex_);
    removeExpired();
    return tokens_;
  }

  void removeExpired() {
    std::erase_if(tokens_, [](const auto& token) { return token.expired(); });
  }

  std::mutex mutex_;
  Tokens tokens_;
};

}  // namespace tolvane
