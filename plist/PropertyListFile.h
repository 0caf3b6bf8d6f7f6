// SPDX-License-Identifier: MIT
#pragma once

#include <optional>
#include <string>
#include <string_view>

#include "base/Error.h"

namespace tolvane {

struct PropertyListText {
  std::string text;
  std::optional<Error> error;  // of a file that is there and cannot be read
};

// What the property list at `path` says under a key of its root dictionary, in its text form; ""
// where it says nothing or is not there.
PropertyListText textInPropertyListFile(const std::string& path, std::string_view key);

}  // namespace tolvane
