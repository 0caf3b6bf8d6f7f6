// SPDX-License-Identifier: MIT
#pragma once

#include <optional>
#include <string>
#include <string_view>

#include "base/Error.h"

namespace tolvane {

struct PropertyListText {
  std::string text;
  std::optional<Error> error;  // the file exists and cannot be read
};

// The textForm() of the value of a key in the root dictionary of the property list at `path`; "" if
// there is no such file, key or form.
PropertyListText textInPropertyListFile(const std::string& path, std::string_view key);

}  // namespace tolvane
