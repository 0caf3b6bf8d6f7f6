// SPDX-License-Identifier: MIT
#pragma once

#include <string>
#include <string_view>

#include "model/PackageEntry.h"

namespace tolvane {

// Identifiers of the table's columns.
inline constexpr std::string_view kSelectedColumn = "selected";
inline constexpr std::string_view kDescriptionColumn = "packageDescription";
inline constexpr std::string_view kSizeColumn = "size";

// The field by which a column sorts: the one that its identifier names, "" for any other key.
std::string_view stringValueForPackage(const PackageEntry& package, std::string_view key);

// What a column shows: the same, but the size as a byte count such as "1.5 MB".
std::string cellText(const PackageEntry& package, std::string_view key);

// All fields of a package, as the details pane shows them: seven lines that are always there, up to
// seven more for fields that are not empty, and the description.
std::string detailsText(const PackageEntry& package);

}  // namespace tolvane
