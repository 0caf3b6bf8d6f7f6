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

// The text by which a column sorts: the field that its identifier names, "" for any other key.
std::string_view stringValueForPackage(const PackageEntry& package, std::string_view key);

// The text that a column shows; differs from the above in the size, which is made readable.
std::string cellText(const PackageEntry& package, std::string_view key);

// All that is known of a package, as the details pane shows it: seven lines that are always there,
// seven more for what the package has, and the description.
std::string detailsText(const PackageEntry& package);

}  // namespace tolvane
