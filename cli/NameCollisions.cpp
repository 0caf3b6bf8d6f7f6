// SPDX-License-Identifier: MIT
#include "cli/NameCollisions.h"

#include <algorithm>
#include <cstddef>
#include <fmt/format.h>
#include <optional>
#include <set>
#include <string>
#include <string_view>
#include <tuple>
#include <utility>
#include <vector>

#include "base/TextCase.h"
#include "cli/LineLimit.h"
#include "download/DownloadQueueManager.h"
#include "download/RepositoryMetadataArchiver.h"

namespace tolvane {

namespace {

using Packages = std::span<const PackageEntry>;

std::set<std::string> metadataNames() {
  std::set<std::string> names;
  for (const std::string& path : RepositoryMetadataArchiver::candidatePaths()) {
    names.insert(lowercased(path.substr(0, path.find('/'))));
  }
  return names;
}

struct Collision {
  std::size_t index;
  std::optional<std::size_t> other = {};  // no value: the name is that of a metadata file

  bool operator<(const Collision& that) const {
    return std::tie(index, other) < std::tie(that.index, that.other);
  }
};

struct Name {
  std::string withoutCase;
  std::string name;
  std::size_t index;

  bool operator<(const Name& that) const {
    return std::tie(withoutCase, name, index) < std::tie(that.withoutCase, that.name, that.index);
  }
};

class CollisionFinder {
 public:
  CollisionFinder(Packages packages, const URL& repositoryURL)
      : packages_(packages), repositoryURL_(repositoryURL) {}

  std::vector<Collision> find() const {
    std::vector<Collision> collisions;
    const std::set<std::string> metadata = metadataNames();
    const std::vector<Name> names = sortedNames();
    for (std::size_t i = 0; i < names.size(); ++i) {
      if (metadata.contains(names[i].withoutCase)) collisions.push_back({names[i].index});
      if (i > 0 && collide(names[i - 1], names[i])) {
        const auto [first, second] = std::minmax(names[i - 1].index, names[i].index);
        collisions.push_back({first, second});
      }
    }
    std::sort(collisions.begin(), collisions.end());
    return collisions;
  }

  std::string line(const Collision& collision) const {
    const PackageEntry& package = packages_[collision.index];
    if (!collision.other) {
      return fmt::format("{} has the file name of a metadata file, {}: {}", titleOf(package),
                         nameOf(package), addressOf(package));
    }
    const PackageEntry& other = packages_[*collision.other];
    const std::string name = nameOf(package), otherName = nameOf(other);
    if (name == otherName) {
      return fmt::format(
          "{} and {} have one file name, {}, and one file will stand for both: {} and {}",
          titleOf(package), titleOf(other), name, addressOf(package), addressOf(other));
    }
    return fmt::format("{} and {} have file names that differ by case alone, {} and {}: {} and {}",
                       titleOf(package), titleOf(other), name, otherName, addressOf(package),
                       addressOf(other));
  }

 private:
  static std::string nameOf(const PackageEntry& package) {
    return DownloadQueueManager::localFilenameForPackage(package);
  }

  static std::string titleOf(const PackageEntry& package) {
    return fmt::format("{} {}", package.packageName(), package.version());
  }

  std::optional<URL> urlOf(const PackageEntry& package) const {
    // The name of the ZIP file is not known before the information list is read.
    if (package.installer4Package()) return URL::parse(package.packageInfoURL());
    return DownloadManager::URLForPackage(package, repositoryURL_);
  }

  std::string addressOf(const PackageEntry& package) const { return displayText(urlOf(package)); }

  bool haveOneAddress(const PackageEntry& package, const PackageEntry& other) const {
    return package.filename() == other.filename() || urlOf(package) == urlOf(other);
  }

  // Names that differ by case alone become neighbours.
  std::vector<Name> sortedNames() const {
    std::vector<Name> names;
    names.reserve(packages_.size());
    for (std::size_t i = 0; i < packages_.size(); ++i) {
      std::string name = nameOf(packages_[i]);
      names.push_back({lowercased(name), std::move(name), i});
    }
    std::sort(names.begin(), names.end());
    return names;
  }

  bool collide(const Name& one, const Name& other) const {
    if (one.withoutCase != other.withoutCase) return false;
    return one.name != other.name || !haveOneAddress(packages_[one.index], packages_[other.index]);
  }

  Packages packages_;
  const URL& repositoryURL_;
};

}  // namespace

void warnOfNameCollisions(Packages packages, const std::vector<std::string>& identifiers,
                          const URL& repositoryURL, Console& console) {
  const CollisionFinder finder(packages, repositoryURL);
  std::vector<Collision> collisions = finder.find();
  const auto isNamed = [&](std::size_t index) {
    return std::ranges::find(identifiers, packages[index].packageName()) != identifiers.end();
  };
  if (!identifiers.empty()) {
    std::erase_if(collisions, [&](const Collision& collision) {
      return !isNamed(collision.index) && !(collision.other && isNamed(*collision.other));
    });
  }
  showAtMost20(
      collisions.size(), [&](std::size_t i) { return finder.line(collisions[i]); },
      [&](const std::string& line) { console.append(line, "warning"); });
}

}  // namespace tolvane
