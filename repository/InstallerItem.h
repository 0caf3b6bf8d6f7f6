// SPDX-License-Identifier: MIT
#pragma once

#include <initializer_list>
#include <optional>
#include <string_view>

#include "model/PackageEntry.h"
#include "plist/PropertyList.h"

// What the lists of both kinds of Installer repositories have in common.
namespace tolvane {

// The value of the key "packages", null where that is no list.
const PropertyList::List* itemsOfInstallerList(const PropertyList::Dictionary& root);

struct InstallerKey {
  std::string_view key;       // of an item
  std::string_view fieldKey;  // of a record's dictionary
};

// An item as the dictionary of a record. "Package" and "Name" are its strings under `identifierKey`
// and "name"; where one is empty, the other replaces it. The strings under `keys` follow, "" where
// a value is absent or has no text form. No value for an item that is no dictionary, or has neither
// identifier nor name.
std::optional<PackageEntry::Dictionary> fieldsOfInstallerItem(
    const PropertyList& item, std::string_view identifierKey,
    std::initializer_list<InstallerKey> keys);

}  // namespace tolvane
