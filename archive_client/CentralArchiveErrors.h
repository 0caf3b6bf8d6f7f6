// SPDX-License-Identifier: MIT
#pragma once

#include <optional>
#include <string>
#include <string_view>

#include "model/PackageEntry.h"
#include "platform/Error.h"
#include "platform/URLSession.h"

// What the client's three requests have in common. Internal to this folder.
namespace tolvane {

// The type of a repository of which the caller names none.
inline constexpr std::string_view kDefaultRepositoryType = "APT";

Error archiveError(int code, std::string description);

// A text for JSON was not UTF-8; `description` says of what.
Error encodingError(std::string description);

// The error's description; `otherwise` where there is none.
std::string descriptionOf(const std::optional<Error>& error, std::string_view otherwise);

// As it is logged: 0 where no answer came.
int statusOf(const std::optional<URLResponse>& response);

// The address that a record gives: where the package can be downloaded, or its place below the
// repository.
std::string_view originalURLOf(const PackageEntry& package);

}  // namespace tolvane
