// SPDX-License-Identifier: MIT
#pragma once

#include <cstddef>
#include <cstdint>
#include <string>
#include <string_view>
#include <vector>

namespace tolvane {

// The number in big-endian byte order.
inline std::string bigEndian(std::uint64_t number, std::size_t width) {
  std::string bytes(width, '\0');
  for (std::size_t i = 0; i < width && i < 8; ++i) {
    bytes[width - 1 - i] = static_cast<char>(number >> (8 * i));
  }
  return bytes;
}

// The layout of a binary list around its objects. Values that a test does not set are valid.
struct BinaryLayout {
  std::size_t offsetWidth = 4;
  std::size_t referenceWidth = 1;
  std::uint64_t topObject = 0;
};

inline std::string binaryTrailer(const BinaryLayout& layout, std::uint64_t objectCount,
                                 std::uint64_t tableOffset) {
  return std::string(6, '\0') + bigEndian(layout.offsetWidth, 1) +
         bigEndian(layout.referenceWidth, 1) + bigEndian(objectCount, 8) +
         bigEndian(layout.topObject, 8) + bigEndian(tableOffset, 8);
}

// A binary list of these encoded objects.
inline std::string binaryList(const std::vector<std::string>& objects,
                              const BinaryLayout& layout = {}) {
  std::string bytes = "bplist00";
  std::string table;
  for (const std::string& object : objects) {
    table += bigEndian(bytes.size(), layout.offsetWidth);
    bytes += object;
  }
  const std::string trailer = binaryTrailer(layout, objects.size(), bytes.size());
  return bytes + table + trailer;
}

// A list's or dictionary's object: the marker, a count of four bytes, and references of two.
inline std::string container(char marker, std::uint64_t count,
                             const std::vector<std::uint64_t>& references) {
  std::string bytes{static_cast<char>(marker | 0x0F), '\x12'};
  bytes += bigEndian(count, 4);
  for (const std::uint64_t reference : references) bytes += bigEndian(reference, 2);
  return bytes;
}

}  // namespace tolvane
