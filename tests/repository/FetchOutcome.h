// SPDX-License-Identifier: MIT
#pragma once

#include <optional>
#include <string>
#include <thread>
#include <utility>
#include <vector>

#include "model/PackageEntry.h"
#include "platform/Error.h"
#include "tests/support/CompletionProbe.h"

namespace tolvane {

// What a fetch came to, and on which thread its completion ran.
struct FetchOutcome {
  std::optional<std::vector<PackageEntry>> packages;
  std::optional<Error> error;
  std::thread::id thread;
};

// Hands start() a completion and waits until that has been called, once and never again.
template <typename Start>
FetchOutcome outcomeOf(Start start) {
  const CompletionProbe<FetchOutcome> probe;
  start(probe.completion(
      [](std::optional<std::vector<PackageEntry>> packages, std::optional<Error> error) {
        return FetchOutcome{std::move(packages), std::move(error), std::this_thread::get_id()};
      }));
  return probe.wait();
}

// An old-style text list whose "packages" are these items, such as "{ name = A; }, { name = B; }".
inline std::string packagesList(const std::string& items) {
  return "{ packages = (" + items + "); }";
}

}  // namespace tolvane
