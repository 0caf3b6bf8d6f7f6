// SPDX-License-Identifier: MIT
#pragma once

#include <cstddef>
#include <string>
#include <string_view>

#include "plist/PropertyList.h"

// What the property-list readers share. Other folders call readPropertyList().
namespace tolvane {

inline constexpr int kMaximumPropertyListDepth = 256;  // lists and dictionaries in one another
inline constexpr std::size_t kMaximumPropertyListValues = 4'000'000;  // keys included

// `lines` is the number of lines before the bytes. `transcoded` bytes are UTF-8, whatever encoding
// is declared. These three throw std::bad_alloc.
PropertyListResult readXMLPropertyList(std::string_view bytes, bool transcoded, std::size_t lines);
PropertyListResult readBinaryPropertyList(std::string_view bytes);
PropertyListResult readTextPropertyList(std::string_view bytes);

// "The property list cannot be read: `what` at line 7."
Error propertyListErrorAtLine(std::string_view what, std::size_t line);
Error propertyListErrorAtOffset(std::string_view what, std::size_t offset);

// The value of the contents of an <integer>, <real>, <date> or <data>; null if malformed.
PropertyList::Value xmlInteger(std::string_view text);
PropertyList::Value xmlReal(std::string_view text);
PropertyList::Value xmlDate(std::string_view text);
PropertyList::Value xmlData(std::string_view text);

// Appends as UTF-8. A surrogate without its other half becomes U+FFFD.
void appendUTF16(std::string& text, std::u16string_view units);

// UTF-16 bytes as UTF-8; an odd byte at the end becomes U+FFFD.
std::string textFromUTF16(std::string_view bytes, bool bigEndian);

}  // namespace tolvane
