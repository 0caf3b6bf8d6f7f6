// SPDX-License-Identifier: MIT
#include "model/PackageSearch.h"

#include <algorithm>
#include <array>
#include <cstddef>
#include <string_view>

#include "base/Text.h"
#include "base/TextCase.h"

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

// Lowers a text of ASCII into the buffer, a block of zeros after it; false where the text has other
// characters.
bool lowerASCII(std::string_view text, char* buffer) {
  unsigned char all = 0;
  std::size_t done = 0;
  for (; done + kBlock <= text.size(); done += kBlock) {
    all |= lowerBlock(text.data() + done, buffer + done);
  }
  char rest[kBlock] = {};
  std::copy(text.begin() + static_cast<std::ptrdiff_t>(done), text.end(), rest);
  all |= lowerBlock(rest, buffer + done);
  std::fill_n(buffer + done + kBlock, kBlock, '\0');
  return all < 0x80;
}

// Whether one of a block's places has the query's first byte, and its last one where it would end.
bool mayBeginInBlock(const char* block, std::string_view query) {
  const char* const ends = block + query.size() - 1;
  const char first = query.front();
  const char last = query.back();
  unsigned char any = 0;
  for (std::size_t i = 0; i < kBlock; ++i) {
    const auto begins = static_cast<unsigned char>(block[i] == first);
    any |= begins & static_cast<unsigned char>(ends[i] == last);
  }
  return any != 0;
}

// As find(), for a text with a block of zeros after it: most blocks of most texts are done with at
// once.
bool containsInBlocks(std::string_view text, std::string_view query) {
  for (std::size_t begin = 0; begin + query.size() <= text.size(); begin += kBlock) {
    if (!mayBeginInBlock(text.data() + begin, query)) continue;
    const std::string_view places = text.substr(begin, kBlock + query.size() - 1);
    if (places.find(query) != std::string_view::npos) return true;
  }
  return false;
}

// Nearly all texts are short and of ASCII, and a search reads every text of a repository at each
// key that is pressed: those need neither the tables of Unicode nor memory.
bool contains(std::string_view text, std::string_view lowercasedQuery) {
  constexpr std::size_t kShort = 1024;
  std::array<char, kShort + 2 * kBlock> buffer;
  if (text.size() <= kShort && lowerASCII(text, buffer.data())) {
    return containsInBlocks({buffer.data(), text.size()}, lowercasedQuery);
  }
  return lowercased(text).find(lowercasedQuery) != std::string::npos;
}

}  // namespace

PackageSearch::PackageSearch(std::string_view query)
    : query_(lowercased(trimWhitespaceAndNewlines(query))) {}

bool packageEntryMatchesSearchQuery(const PackageEntry& package, std::string_view query) {
  if (query.empty()) return true;
  return std::any_of(kSearchedFields.begin(), kSearchedFields.end(),
                     [&](auto field) { return contains(package.text(field), query); });
}

}  // namespace tolvane
