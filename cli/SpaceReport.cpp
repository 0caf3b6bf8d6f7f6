// SPDX-License-Identifier: MIT
#include "cli/SpaceReport.h"

#include <algorithm>
#include <cstddef>
#include <cstdint>
#include <fmt/format.h>
#include <functional>
#include <limits>
#include <optional>
#include <sys/statvfs.h>
#include <unordered_set>

#include "base/ByteCount.h"
#include "base/File.h"
#include "base/Text.h"
#include "download/DownloadQueueManager.h"

namespace tolvane {

namespace {

constexpr std::int64_t kMost = std::numeric_limits<std::int64_t>::max();

struct Lack {
  std::size_t files = 0;
  std::size_t ofUnknownSize = 0;
  std::int64_t bytes = 0;  // of the others, at most kMost
};

Lack lackOf(std::span<const PackageEntry> packages, const std::string& folder) {
  Lack lack;
  std::unordered_set<std::size_t> names;  // their hashes
  names.reserve(packages.size());
  for (const PackageEntry& package : packages) {
    const std::string name = DownloadQueueManager::localFilenameForPackage(package);
    // The missing scan uses another name for these.
    if (package.installer4Package() && fileExists(joinPath(folder, name))) continue;
    if (!names.insert(std::hash<std::string>()(name)).second) continue;
    ++lack.files;
    const std::int64_t size = integerValue(package.size());
    if (size <= 0) {
      ++lack.ofUnknownSize;
    } else {
      lack.bytes += std::min(size, kMost - lack.bytes);
    }
  }
  return lack;
}

// Free bytes for this user on the file system of the folder, or of its nearest existing ancestor.
std::optional<std::int64_t> freeBytes(const std::string& folder) {
  struct statvfs status {};
  if (::statvfs(nearestExistingFolder(folder).c_str(), &status) != 0) return std::nullopt;
  const auto most = static_cast<std::uint64_t>(kMost);
  const std::uint64_t blockSize = std::max<std::uint64_t>(status.f_frsize, 1);
  return static_cast<std::int64_t>(std::min<std::uint64_t>(status.f_bavail, most / blockSize) *
                                   blockSize);
}

std::string textOf(const Lack& lack) {
  const std::string files = fmt::format("{} {}", lack.files, lack.files == 1 ? "file" : "files");
  if (lack.ofUnknownSize == lack.files) return files + " of unknown size";
  const std::string text = fmt::format("{}, {}", files, formattedByteCount(lack.bytes));
  if (lack.ofUnknownSize == 0) return text;
  return fmt::format("{} ({} of unknown size)", text, lack.ofUnknownSize);
}

}  // namespace

void reportSpace(std::span<const PackageEntry> missing, const std::string& folder,
                 Console& console) {
  const Lack lack = lackOf(missing, folder);
  if (lack.files == 0) return;
  const std::optional<std::int64_t> free = freeBytes(folder);
  const std::string freeText = free ? formattedByteCount(*free) : "unknown";
  console.append(fmt::format("To download: {}; free: {}", textOf(lack), freeText), "info");
  if (free && lack.bytes > *free) {
    console.append(fmt::format("There is no room for all files: {} to download, {} free",
                               formattedByteCount(lack.bytes), freeText),
                   "warning");
  }
}

}  // namespace tolvane
