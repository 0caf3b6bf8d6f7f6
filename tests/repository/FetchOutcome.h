// SPDX-License-Identifier: MIT
#pragma once

#include <chrono>
#include <future>
#include <memory>
#include <optional>
#include <stdexcept>
#include <string>
#include <thread>
#include <utility>
#include <vector>

#include "model/PackageEntry.h"
#include "platform/Error.h"

namespace tolvane {

// What a fetch came to, and on which thread its completion ran.
struct FetchOutcome {
  std::optional<std::vector<PackageEntry>> packages;
  std::optional<Error> error;
  std::thread::id thread;
};

// Hands start() a completion and waits until that has been called. A second call ends the test
// program.
template <typename Start>
FetchOutcome outcomeOf(Start start) {
  const auto promise = std::make_shared<std::promise<FetchOutcome>>();
  std::future<FetchOutcome> outcome = promise->get_future();
  start([promise](std::optional<std::vector<PackageEntry>> packages, std::optional<Error> error) {
    promise->set_value({std::move(packages), std::move(error), std::this_thread::get_id()});
  });
  if (outcome.wait_for(std::chrono::seconds(60)) != std::future_status::ready) {
    throw std::runtime_error("The fetch did not end.");
  }
  return outcome.get();
}

// An old-style text list whose "packages" are these items, such as "{ name = A; }, { name = B; }".
inline std::string packagesList(const std::string& items) {
  return "{ packages = (" + items + "); }";
}

}  // namespace tolvane
