// SPDX-License-Identifier: MIT
#pragma once

#include <cstddef>
#include <map>
#include <mutex>
#include <string>
#include <vector>

#include "repository/IndexAnswer.h"

namespace tolvane {

// The reasons why a repository could not be loaded: errors of transfers, statuses of servers. Any
// thread.
class LoadFailures {
 public:
  void add(const IndexAnswer& answer);

  // Each reason once, in the order of first occurrence, with the number of its requests: "HTTP
  // status 403 (20 requests)". An answer of 200 to 299 without an index is not a reason.
  std::vector<std::string> lines() const;

 private:
  mutable std::mutex mutex_;
  std::vector<std::string> reasons_;
  std::map<std::string, std::size_t> counts_;
};

}  // namespace tolvane
