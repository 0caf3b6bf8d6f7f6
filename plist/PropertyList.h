// SPDX-License-Identifier: MIT
#pragma once

#include <cstdint>
#include <optional>
#include <string>
#include <string_view>
#include <variant>
#include <vector>

#include "base/Error.h"

namespace tolvane {

// A value of a property list, or a whole list: its root. Strings are UTF-8 and may contain NUL.
class PropertyList {
 public:
  using Integer = std::int64_t;
  using LargeInteger = std::uint64_t;  // only for what is above the largest Integer
  struct Real {
    double value;
    bool fourBytes;  // stored with the precision of a four-byte number
  };
  struct Date {
    double seconds;  // since 2001-01-01T00:00:00Z
  };
  struct Data {
    std::string bytes;
  };
  using List = std::vector<PropertyList>;
  struct Entry;
  struct Dictionary {
    std::vector<Entry> entries;  // in the order of the file; a key may occur twice

    // The value of the key's last entry; null if the key is absent.
    const PropertyList* find(std::string_view key) const;
  };

  // std::monostate is the null object, which only a binary list can hold.
  using Value = std::variant<std::monostate, bool, Integer, LargeInteger, Real, Date, std::string,
                             Data, List, Dictionary>;
  Value value;

  // Null if the value is of another kind.
  const Dictionary* dictionary() const { return std::get_if<Dictionary>(&value); }
  const List* list() const { return std::get_if<List>(&value); }
  const std::string* text() const { return std::get_if<std::string>(&value); }

  // The value as a string: an integer in decimal, a boolean as "1" or "0", a real in the form of
  // printf's %.16g, or %.7g if fourBytes. No value for all other kinds.
  std::optional<std::string> textForm() const;
};

struct PropertyList::Entry {
  std::string key;
  PropertyList value;
};

// Domain and code of every error of the readers.
inline constexpr std::string_view kPropertyListErrorDomain = "NSCocoaErrorDomain";
inline constexpr int kPropertyListReadCorruptError = 3840;

// textForm(), "" if it or the value is absent.
std::string textFormOrNothing(const PropertyList* value);

struct PropertyListResult {
  std::optional<PropertyList> value;
  std::optional<Error> error;  // exactly if there is no value
  bool outOfMemory = false;    // the reason of the error
};

// Reads a property list of any of the three formats, which it recognises by the bytes alone. The
// readers are our own: the usual library crashes on deeply nested lists and refuses
// byte-order marks and UTF-16.
//
// - "bplist" at the start: binary, version 0. A 128-bit integer becomes its low 64 bits, a set a
//   list, and a UID of an archiver the dictionary {"CF$UID": number}, its form in XML.
// - XML in the encoding that a byte-order mark or else the declaration names, else UTF-8. White
//   space before the prologue is skipped, a missing prologue or <plist> is no error, and the bytes
//   after the list's closing tag are not read. Of entities only XML's own five and character
//   references are replaced; nothing is fetched.
// - Anything else: old-style text in UTF-8, or in UTF-16 with a byte-order mark; { key = value; },
//   (a, b), <0fbd77>, words and quoted strings, or the entries of a strings file, without braces.
//   White space and comments alone are an empty dictionary.
//
// The error's description is a sentence that names the line, or the offset in a binary list.
// Lists nested deeper than 256 levels, of more than 4,000,000 values, or of binary objects shared
// so often that the list would be many times the file are errors too.
PropertyListResult readPropertyList(std::string_view bytes);

}  // namespace tolvane
