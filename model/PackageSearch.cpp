// SPDX-License-Identifier: MIT
#include "model/PackageSearch.h"

#include <algorithm>
#include <array>
#include <iterator>

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

// Ends a field. A query without it finds nothing that spans two fields.
constexpr char kSeparator = '\0';

// Lowers the ASCII letters; returns all bytes or-ed together. The compiler vectorizes a loop whose
// count it knows.
template <std::size_t kCount>
unsigned char lowerASCII(char* text) {
  unsigned char all = 0;
  for (std::size_t i = 0; i < kCount; ++i) {
    const auto byte = static_cast<unsigned char>(text[i]);
    all |= byte;
    const bool upper = static_cast<unsigned char>(byte - 'A') < 26;
    text[i] = static_cast<char>(byte | (upper ? 'a' - 'A' : 0));
  }
  return all;
}

// Lowers the text from `begin` to its end.
void lowerFrom(std::string& text, std::size_t begin) {
  constexpr std::size_t kBlock = 32;
  unsigned char all = 0;
  std::size_t i = begin;
  for (; i + kBlock <= text.size(); i += kBlock) all |= lowerASCII<kBlock>(text.data() + i);
  for (; i < text.size(); ++i) all |= lowerASCII<1>(text.data() + i);
  if (all >= 0x80) text.replace(begin, text.npos, lowercased(std::string_view(text).substr(begin)));
}

std::size_t searchedBytes(std::span<const PackageEntry> packages) {
  std::size_t bytes = 0;
  for (const PackageEntry& package : packages) {
    for (const auto field : kSearchedFields) bytes += package.text(field).size() + 1;
  }
  return bytes;
}

}  // namespace

bool packageEntryMatchesSearchQuery(const PackageEntry& package, std::string_view query) {
  return std::any_of(kSearchedFields.begin(), kSearchedFields.end(), [&](auto field) {
    return lowercased(package.text(field)).find(query) != std::string::npos;
  });
}

PackageSearch::PackageSearch(std::span<const PackageEntry> packages) : packages_(packages) {
  texts_.reserve(searchedBytes(packages));
  ends_.reserve(packages.size());
  for (const PackageEntry& package : packages) append(package);
}

void PackageSearch::append(const PackageEntry& package) {
  const std::size_t begin = texts_.size();
  for (const auto field : kSearchedFields) texts_.append(package.text(field)).push_back(kSeparator);
  lowerFrom(texts_, begin);
  ends_.push_back(texts_.size());
}

std::vector<PackageEntry> PackageSearch::packagesMatching(std::string_view query) const {
  const std::string lowered = lowercased(trimWhitespaceAndNewlines(query));
  std::vector<PackageEntry> found;
  if (lowered.find(kSeparator) != std::string::npos) {
    std::copy_if(packages_.begin(), packages_.end(), std::back_inserter(found),
                 [&](const auto& each) { return packageEntryMatchesSearchQuery(each, lowered); });
    return found;
  }
  std::size_t index = 0;
  for (std::size_t hit = texts_.find(lowered); hit < texts_.size();
       hit = texts_.find(lowered, ends_[index++])) {
    while (ends_[index] <= hit) ++index;
    found.push_back(packages_[index]);
  }
  return found;
}

}  // namespace tolvane
