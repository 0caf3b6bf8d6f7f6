// SPDX-License-Identifier: MIT
#pragma once

#include <string>
#include <string_view>

#include "plist/PropertyList.h"

namespace tolvane {

// A property list on one line, in a form that shows the kind of each value:
// {"key"="text","list"=[1,2.5r,true,<0fbd>,date 0,null]}. Outside ASCII and in control characters,
// a string shows its bytes as \x and two digits.
std::string dump(const PropertyList& list);

// The dump of the list that the bytes are read as, or "error: " with the description.
std::string dumpOf(std::string_view bytes);

// The dumpOf() of a list with this error: "error: The property list cannot be read: WHAT."
std::string unreadable(std::string_view what);

// The line that the error of an XML list names, "" without one. For errors with sentences of
// libxml2, which change from version to version.
std::string lineOfError(std::string_view bytes);

}  // namespace tolvane
