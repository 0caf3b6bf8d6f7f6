// SPDX-License-Identifier: MIT
#include "repository/InstallerItem.h"

#include <string>
#include <utility>

namespace tolvane {

const PropertyList::List* itemsOfInstallerList(const PropertyList::Dictionary& root) {
  const PropertyList* packages = root.find("packages");
  return packages ? packages->list() : nullptr;
}

std::optional<PackageEntry::Dictionary> fieldsOfInstallerItem(
    const PropertyList& item, std::string_view identifierKey,
    std::initializer_list<InstallerKey> keys) {
  const PropertyList::Dictionary* dictionary = item.dictionary();
  if (!dictionary) return std::nullopt;
  std::string identifier = textFormOrNothing(dictionary->find(identifierKey));
  std::string name = textFormOrNothing(dictionary->find("name"));
  if (identifier.empty() && name.empty()) return std::nullopt;
  if (identifier.empty()) identifier = name;
  if (name.empty()) name = identifier;

  PackageEntry::Dictionary fields;
  fields.emplace("Package", std::move(identifier));
  fields.emplace("Name", std::move(name));
  for (const auto& [key, fieldKey] : keys) {
    fields.emplace(fieldKey, textFormOrNothing(dictionary->find(key)));
  }
  return fields;
}

}  // namespace tolvane
