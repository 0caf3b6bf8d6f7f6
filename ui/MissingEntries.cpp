// SPDX-License-Identifier: MIT
#include "ui/MissingEntries.h"

#include <functional>
#include <nlohmann/json.hpp>
#include <optional>
#include <string_view>
#include <unordered_map>
#include <utility>

namespace tolvane {

namespace {

using NameAndVersion = std::pair<std::string_view, std::string_view>;

struct Hash {
  std::size_t operator()(const NameAndVersion& key) const {
    const std::hash<std::string_view> hash;
    return hash(key.first) * 31 + hash(key.second);
  }
};

std::optional<std::string_view> textMember(const nlohmann::json& entry, const char* name) {
  const auto member = entry.find(name);
  if (member == entry.end()) return "";
  const auto* const text = member->get_ptr<const std::string*>();
  return text == nullptr ? std::nullopt : std::optional<std::string_view>(*text);
}

}  // namespace

std::vector<PackageEntry> packagesForEntries(const std::vector<nlohmann::json>& entries,
                                             const std::vector<PackageEntry>& packages) {
  // Both lists can be long, so that looking through one for each item of the other takes seconds.
  std::unordered_map<NameAndVersion, const PackageEntry*, Hash> first(packages.size());
  for (const PackageEntry& package : packages) {
    first.try_emplace(NameAndVersion(package.packageName(), package.version()), &package);
  }
  std::vector<PackageEntry> matched;
  for (const nlohmann::json& entry : entries) {
    if (!entry.is_object()) continue;
    const auto identifier = textMember(entry, "identifier");
    const auto version = textMember(entry, "version");
    if (!identifier || !version) continue;
    const auto found = first.find({*identifier, *version});
    if (found != first.end()) matched.push_back(*found->second);
  }
  return matched;
}

}  // namespace tolvane
