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

// One value of a property list, and so a whole list: its root. Texts are UTF-8 and may hold NUL.
class PropertyList {
 public:
  using Integer = std::int64_t;
  using LargeInteger = std::uint64_t;  // only for what is above the largest Integer
  struct Real {
    double value;
    bool fourBytes;  // stored as a four-byte number, so that nine digits of it mean nothing
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
    std::vector<Entry> entries;  // as they stand in the file, so a key may stand twice

    // The value of the key, of its last entry where there are several; null where there is none.
    const PropertyList* find(std::string_view key) const;
  };

  // std::monostate is the null object, which only a binary list can hold.
  using Value = std::variant<std::monostate, bool, Integer, LargeInteger, Real, Date, std::string,
                             Data, List, Dictionary>;
  Value value;

  // Null where the value is of another kind.
  const Dictionary* dictionary() const { return std::get_if<Dictionary>(&value); }
  const List* list() const { return std::get_if<List>(&value); }
  const std::string* text() const { return std::get_if<std::string>(&value); }

  // A text as it is, an integer in decimal, a boolean as "1" or "0", a real in the form of printf's
  // %.16g, one of four bytes in that of %.7g. All other kinds have no text form.
  std::optional<std::string> textForm() const;
};

struct PropertyList::Entry {
  std::string key;
  PropertyList value;
};

// Domain and code of every error of the readers.
inline constexpr std::string_view kPropertyListErrorDomain = "NSCocoaErrorDomain";
inline constexpr int kPropertyListReadCorruptError = 3840;

// The text form of a value, "" for one that is absent or has none.
std::string textFormOrNothing(const PropertyList* value);

struct PropertyListResult {
  std::optional<PropertyList> value;
  std::optional<Error> error;  // exactly when there is no value
  bool outOfMemory = false;    // why there is none
};

// Reads a property list of any of the three formats, told apart by the bytes alone.
//
// - "bplist" at the start: binary, version 0. A 128-bit integer becomes its low 64 bits, a set a
//   list, and a UID of an archiver the dictionary {"CF$UID": number} that stands for it in XML.
// - Markup: XML in the encoding that a byte-order mark or else the declaration names, UTF-8 where
//   neither does. White space before the prologue is passed over, a missing prologue or <plist> is
//   no error, and what follows the list's closing tag is not read. No entities but XML's own five
//   and character references; nothing is fetched.
// - Anything else: old-style text in UTF-8, or in UTF-16 with a byte-order mark; { key = value; },
//   (a, b), <0fbd77>, words and quoted texts, or the bare entries of a strings file. Nothing but
//   white space and comments is an empty dictionary.
//
// The error's description is a sentence with the place: a line of XML or text, an offset of binary.
// Lists nested deeper than 256 levels, of more than 4,000,000 values, or of binary objects shared
// so often that the list would be many times the file are errors too.
PropertyListResult readPropertyList(std::string_view bytes);

}  // namespace tolvane
