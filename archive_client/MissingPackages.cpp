// SPDX-License-Identifier: MIT
#include "archive_client/MissingPackages.h"

#include <functional>
#include <nlohmann/json.hpp>
#include <optional>
#include <string_view>
#include <unordered_map>
#include <utility>

namespace tolvane {

namespace {

using nlohmann::json;

// What an entry names. Points into the entry, or into the record that it is looked up by.
struct MissingPackage {
  std::string_view identifier;
  std::string_view version;

  bool operator==(const MissingPackage&) const = default;
};

struct Hash {
  std::size_t operator()(const MissingPackage& package) const {
    const std::hash<std::string_view> hash;
    return hash(package.identifier) * 31 + hash(package.version);
  }
};

std::optional<std::string_view> stringMember(const json& entry, const char* name) {
  const auto member = entry.find(name);
  if (member == entry.end()) return "";
  const auto* const text = member->get_ptr<const std::string*>();
  return text == nullptr ? std::nullopt : std::optional<std::string_view>(*text);
}

std::optional<MissingPackage> missingPackage(const json& entry) {
  if (!entry.is_object()) return std::nullopt;
  const auto identifier = stringMember(entry, "identifier");
  const auto version = stringMember(entry, "version");
  if (!identifier || !version) return std::nullopt;
  return MissingPackage{*identifier, *version};
}

}  // namespace

MissingPackages::MissingPackages() : MissingPackages(std::vector<json>()) {}

MissingPackages::MissingPackages(std::vector<json> entries)
    : entries_(std::make_shared<const std::vector<json>>(std::move(entries))) {}

std::size_t MissingPackages::size() const {
  return entries_->size();
}

std::vector<PackageEntry> packagesForEntries(const MissingPackages& missing,
                                             const std::vector<PackageEntry>& packages) {
  // Both lists can be long: a scan of one for each item of the other would take seconds.
  std::unordered_map<MissingPackage, const PackageEntry*, Hash> first(packages.size());
  for (const PackageEntry& package : packages) {
    first.try_emplace({package.packageName(), package.version()}, &package);
  }
  std::vector<PackageEntry> matched;
  for (const json& entry : missing.entries()) {
    const std::optional<MissingPackage> wanted = missingPackage(entry);
    const auto found = wanted ? first.find(*wanted) : first.end();
    if (found != first.end()) matched.push_back(*found->second);
  }
  return matched;
}

}  // namespace tolvane
