// SPDX-License-Identifier: MIT
#pragma once

#include <string>
#include <string_view>

#include "plist/PropertyList.h"

namespace tolvane {

// A property list on one line, each value so that its kind shows:
// {"key"="text","list"=[1,2.5r,true,<0fbd>,date 0,null]}. Outside ASCII and in control characters,
// a text shows its bytes as \x and two digits.
std::string dump(const PropertyList& list);

// What the reader makes of the bytes: the dump, or "error: " with the description.
std::string dumpOf(std::string_view bytes);

// The same with the error's frame, for a comparison: "error: The property list cannot be read: W."
std::string unreadable(std::string_view what);

// The line that such an error of an XML list names, "" where it names none. For errors that libxml2
// words: its sentences change from version to version.
std::string lineOfError(std::string_view bytes);

}  // namespace tolvane
