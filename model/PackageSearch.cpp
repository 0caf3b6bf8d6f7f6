// SPDX-License-Identifier: MIT
#include "model/PackageSearch.h"

#include <algorithm>
#include <array>
#include <cstddef>
#include <string_view>

#include "platform/Text.h"
#include "platform/TextCase.h"

namespace tolvane {

namespace {

constexpr std::array kSearchedFields{
    PackageEntry::Field::displayName,
    PackageEntry::Field::packageName,
    PackageEntry::Field::packageDescription,
    PackageEntry::Field::section,
    PackageEntry::Field::author,
    PackageEntry::Field::maintainer,
    PackageEntry::Field::filename,
    PackageEntry::Field::version,
};

// One block at a time, of a size known to the compiler, so that it takes a block in a few
// instructions.
constexpr std::size_t kBlock = 32;

// Lowers the letters of ASCII of a block; returns all of its bytes or-ed together.
unsigned char lowerBlock(const char* from, char* to) {
  unsigned char all = 0;
  for (std::size_t i = 0; i < kBlock; ++i) {
    const auto byte = static_cast<unsigned char>(from[i]);
    all |= byte;
    const bool upper = static_cast<unsigned char>(byte - 'A') < 26;
    to[i] = static_cast<char>(byte + (upper ? 'a' - 'A' : 0));
  }
  return all;
}

// Lowers a text of ASCII into the buffer; false where the text has other characters.
bool lowerASCII(std::string_view text, char* buffer) {
  unsigned char all = 0;
  std::size_t done = 0;
  for (; done + kBlock <= text.size(); done += kBlock) {
    all |= lowerBlock(text.data() + done, buffer + done);
  }
  char rest[kBlock] = {};
  std::copy(text.begin() + static_cast<std::ptrdiff_t>(done), text.end(), rest);
  all |= lowerBlock(rest, buffer + done);
  return all < 0x80;
}

// Nearly all texts are short and of ASCII, and a search reads every text of a repository at each
// key that is pressed: those need neither the tables of Unicode nor memory.
bool contains(std::string_view text, std::string_view lowercasedQuery) {
  constexpr std::size_t kShort = 1024;
  std::array<char, kShort + kBlock> buffer;
  if (text.size() <= kShort && lowerASCII(text, buffer.data())) {
    return std::string_view(buffer.data(), text.size()).find(lowercasedQuery) !=
           std::string_view::npos;
  }
  return lowercased(text).find(lowercasedQuery) != std::string::npos;
}

}  // namespace

PackageSearch::PackageSearch(std::string_view query)
    : query_(lowercased(trimWhitespaceAndNewlines(query))) {}

bool PackageSearch::matches(const PackageEntry& package) const {
  if (query_.empty()) return true;
  return std::any_of(kSearchedFields.begin(), kSearchedFields.end(),
                     [&](auto field) { return contains(package.text(field), query_); });
}

}  // namespace tolvane
