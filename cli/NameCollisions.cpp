// SPDX-License-Identifier: MIT
#include "cli/NameCollisions.h"

#include <algorithm>
#include <bit>
#include <cstddef>
#include <cstdint>
#include <cstring>
#include <fmt/format.h>
#include <functional>
#include <iterator>
#include <optional>
#include <set>
#include <string>
#include <string_view>
#include <unordered_set>
#include <utility>
#include <vector>

#include "cli/LineLimit.h"
#include "download/DownloadQueueManager.h"
#include "download/RepositoryMetadataArchiver.h"
#include "model/PackageWalk.h"
#include "platform/TextCase.h"

namespace tolvane {

namespace {

using Packages = std::span<const PackageEntry>;

using Word = std::uint64_t;

// Sets these bits in every word of the text, which then ends with a whole word. Gives the bits that
// any of them had before.
Word setBits(std::string& text, Word bits) {
  Word before = 0;
  text.resize((text.size() + sizeof(Word) - 1) / sizeof(Word) * sizeof(Word));
  for (std::size_t i = 0; i < text.size(); i += sizeof(Word)) {
    Word word = 0;
    std::memcpy(&word, text.data() + i, sizeof word);
    before |= word;
    word |= bits;
    std::memcpy(text.data() + i, &word, sizeof word);
  }
  return before;
}

// One number for names that differ by case alone, never 0, and for few others. The bit that makes a
// letter of ASCII a small one is set everywhere: other characters fall together too, which comes
// out when the names are compared, and a name of nothing but ASCII needs no library.
std::uint64_t hashWithoutCase(std::string name) {
  constexpr Word kAboveASCII = 0x8080808080808080;
  constexpr Word kSmall = 0x2020202020202020;
  if ((setBits(name, 0) & kAboveASCII) != 0) name = lowercased(name);
  setBits(name, kSmall);
  return std::max<std::uint64_t>(std::hash<std::string>()(name), 1);
}

// Those that stand there twice or more; none is 0. A table of numbers, since this is done for each
// name of a repository: sets and sorting take five times as long.
std::unordered_set<std::uint64_t> repeated(const std::vector<std::uint64_t>& hashes) {
  std::unordered_set<std::uint64_t> repeated;
  std::vector<std::uint64_t> table(std::bit_ceil(2 * hashes.size()));
  for (const std::uint64_t hash : hashes) {
    std::size_t place = hash & (table.size() - 1);
    while (table[place] != 0 && table[place] != hash) place = (place + 1) & (table.size() - 1);
    if (table[place] == hash) repeated.insert(hash);
    table[place] = hash;
  }
  return repeated;
}

std::set<std::string> metadataNames() {
  std::set<std::string> names;
  for (const std::string& path : RepositoryMetadataArchiver::candidatePaths()) {
    names.insert(lowercased(path.substr(0, path.find('/'))));
  }
  return names;
}

struct Collision {
  std::size_t index;
  std::optional<std::size_t> other = {};  // none: the name is that of a metadata file

  auto operator<=>(const Collision&) const = default;
};

struct Name {
  std::string withoutCase;
  std::string name;
  std::size_t index;

  auto operator<=>(const Name&) const = default;
};

class CollisionFinder {
 public:
  CollisionFinder(Packages packages, const URL& repositoryURL)
      : packages_(packages), repositoryURL_(repositoryURL) {}

  std::vector<Collision> find() const {
    std::vector<Collision> collisions;
    const std::set<std::string> metadata = metadataNames();
    const std::vector<Name> names = suspiciousNames(metadata);
    for (std::size_t i = 0; i < names.size(); ++i) {
      if (metadata.contains(names[i].withoutCase)) collisions.push_back({names[i].index});
      if (i > 0 && collide(names[i - 1], names[i])) {
        const auto [first, second] = std::minmax(names[i - 1].index, names[i].index);
        collisions.push_back({first, second});
      }
    }
    std::ranges::sort(collisions);
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
    // That of the ZIP file is not known before its information list is read.
    if (package.installer4Package()) return URL::parse(package.packageInfoURL());
    return DownloadManager::URLForPackage(package, repositoryURL_);
  }

  std::string addressOf(const PackageEntry& package) const { return displayText(urlOf(package)); }

  bool haveOneAddress(const PackageEntry& package, const PackageEntry& other) const {
    return package.filename() == other.filename() || urlOf(package) == urlOf(other);
  }

  // Those of which, by their hashes, there are several, in an order that puts them side by side.
  std::vector<Name> suspiciousNames(const std::set<std::string>& metadata) const {
    std::vector<std::uint64_t> hashes;
    hashes.reserve(packages_.size() + metadata.size());
    forEachPackage(packages_, [&hashes](const PackageEntry& package) {
      hashes.push_back(hashWithoutCase(nameOf(package)));
    });
    std::ranges::transform(metadata, std::back_inserter(hashes), hashWithoutCase);
    const std::unordered_set<std::uint64_t> suspicious = repeated(hashes);
    std::vector<Name> names;
    if (suspicious.empty()) return names;
    for (std::size_t i = 0; i < packages_.size(); ++i) {
      if (!suspicious.contains(hashes[i])) continue;
      const std::string name = nameOf(packages_[i]);
      names.push_back({lowercased(name), name, i});
    }
    std::ranges::sort(names);
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

void warnOfNameCollisions(Packages packages, const URL& repositoryURL, Console& console) {
  const CollisionFinder finder(packages, repositoryURL);
  const std::vector<Collision> collisions = finder.find();
  showAtMost20(
      collisions.size(), [&](std::size_t i) { return finder.line(collisions[i]); },
      [&](const std::string& line) { console.append(line, "warning"); });
}

}  // namespace tolvane
