// SPDX-License-Identifier: MIT
#pragma once

#include <cstddef>
#include <string>
#include <string_view>

#include "plist/PropertyList.h"

// What the property-list readers share. Everybody else calls readPropertyList().
namespace tolvane {

inline constexpr int kMaximumPropertyListDepth = 256;  // lists and dictionaries in one another
inline constexpr std::size_t kMaximumPropertyListValues = 4'000'000;  // keys included

// `lines` are the lines that were passed over before the bytes. In transcoded bytes, which are
// UTF-8, a declared encoding is ignored. May throw std::bad_alloc, as the two others.
PropertyListResult readXMLPropertyList(std::string_view bytes, bool transcoded, std::size_t lines);
PropertyListResult readBinaryPropertyList(std::string_view bytes);
PropertyListResult readTextPropertyList(std::string_view bytes);

// "The property list cannot be read: `what` at line 7."
Error propertyListErrorAtLine(std::string_view what, std::size_t line);
Error propertyListErrorAtOffset(std::string_view what, std::size_t offset);

// What stands in an <integer>, <real>, <date> or <data>; null where it is malformed.
PropertyList::Value xmlInteger(std::string_view text);
PropertyList::Value xmlReal(std::string_view text);
PropertyList::Value xmlDate(std::string_view text);
PropertyList::Value xmlData(std::string_view text);

// Appends as UTF-8. U+FFFD takes the place of a surrogate without its other half.
void appendUTF16(std::string& text, std::u16string_view units);

// The UTF-8 text of UTF-16 bytes; U+FFFD takes the place of an odd byte at the end.
std::string textFromUTF16(std::string_view bytes, bool bigEndian);

}  // namespace tolvane
