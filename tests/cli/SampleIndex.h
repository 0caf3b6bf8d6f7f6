// SPDX-License-Identifier: MIT
#pragma once

#include <string>
#include <utility>
#include <vector>

namespace tolvane {

// The bytes of every package file that these tests serve, and the fields of an index for them.
inline constexpr const char* kPackageBody = "the contents of a package\n";
inline constexpr const char* kPackageSize = "26";
inline constexpr const char* kPackageMD5 = "ed3e99ef57e9b522b32a8e0292015366";
inline constexpr const char* kPackageSHA256 =
    "1bb6a666987581130bc436c9bbc1cef3ac4cb23202777916fef4f8a966890aa4";

using ExtraFields = std::vector<std::pair<std::string, std::string>>;

// One stanza of an index: package NAME, version 1.0, file debs/NAME.deb, and the extra fields.
std::string stanza(const std::string& name, const ExtraFields& extra = {});

// Size and both digests of kPackageBody.
ExtraFields trueChecks();

}  // namespace tolvane
