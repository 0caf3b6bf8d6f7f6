// SPDX-License-Identifier: MIT
#include "ui/PackageStatistics.h"

#include <algorithm>
#include <limits>
#include <string_view>
#include <unordered_set>

#include "platform/Text.h"

namespace tolvane {

namespace {

std::int64_t clampedSum(std::int64_t left, std::int64_t right) {
  std::int64_t sum = 0;
  if (!__builtin_add_overflow(left, right, &sum)) return sum;
  return right < 0 ? std::numeric_limits<std::int64_t>::min()
                   : std::numeric_limits<std::int64_t>::max();
}

}  // namespace

PackageStatistics PackageStatistics::of(const std::vector<PackageEntry>& packages) {
  PackageStatistics statistics;
  std::unordered_set<std::string_view> names;
  names.reserve(packages.size());
  std::vector<std::string_view> architectures;  // few, however many packages there are
  for (const PackageEntry& package : packages) {
    if (!package.packageName().empty()) names.insert(package.packageName());
    const std::string_view architecture = package.architecture();
    if (!architecture.empty() && (architectures.empty() || architectures.back() != architecture)) {
      architectures.push_back(architecture);
    }
    statistics.estimatedSize = clampedSum(statistics.estimatedSize, integerValue(package.size()));
  }
  std::sort(architectures.begin(), architectures.end());
  const auto end = std::unique(architectures.begin(), architectures.end());
  statistics.unique = names.size();
  statistics.architectures = static_cast<std::size_t>(end - architectures.begin());
  return statistics;
}

}  // namespace tolvane
