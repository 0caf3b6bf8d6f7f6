// SPDX-License-Identifier: MIT
#pragma once

#include <future>
#include <utility>

namespace tolvane {

// Does the work on a thread of its own while the caller goes on, where that pays. Otherwise, and
// where no thread can be had, the future does it when it is asked. The work holds views and
// references, nothing that moving empties: the try for a thread may have moved it already.
template <typename Work>
auto startBeside(bool pays, Work work) {
  const auto when = pays ? std::launch::async | std::launch::deferred : std::launch::deferred;
  return std::async(when, std::move(work));
}

}  // namespace tolvane
