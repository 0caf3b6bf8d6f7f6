// SPDX-License-Identifier: MIT
#pragma once

#include <cstddef>
#include <map>
#include <mutex>
#include <string>
#include <vector>

#include "repository/IndexAnswer.h"

namespace tolvane {

// Why a repository could not be loaded, as the transport and the servers put it. Any thread.
class LoadFailures {
 public:
  void add(const IndexAnswer& answer);

  // Each reason once, in the order in which they came first, with the number of requests that it
  // stands for: "HTTP status 403 (20 requests)". An answer of 200 to 299 that holds no index gives
  // none.
  std::vector<std::string> lines() const;

 private:
  mutable std::mutex mutex_;
  std::vector<std::string> reasons_;
  std::map<std::string, std::size_t> counts_;
};

}  // namespace tolvane
