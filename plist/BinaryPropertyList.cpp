// SPDX-License-Identifier: MIT
#include <algorithm>
#include <bit>
#include <cstdint>
#include <fmt/format.h>

#include "plist/PropertyListReaders.h"

// A binary list is an eight-byte header, the objects, a table of their offsets, and a trailer that
// says where the table is and how wide its numbers are. A container holds the numbers of its
// members, so several containers can share an object. All numbers are big-endian.
namespace tolvane {

namespace {

constexpr std::size_t kHeaderSize = 8;
constexpr std::size_t kTrailerSize = 32;

// A list with shared objects can be much larger than its file. In real lists, which share keys and
// common strings, it is not larger by this factor.
constexpr std::uint64_t kMaximumExpansion = 32;
constexpr std::uint64_t kExpansionAlwaysAllowed = std::uint64_t{1} << 20;

class BinaryReader {
 public:
  explicit BinaryReader(std::string_view bytes)
      : bytes_(bytes),
        allowance_(std::max(kExpansionAlwaysAllowed, kMaximumExpansion * bytes.size())) {}

  PropertyListResult read() {
    PropertyList root;
    if (readTrailer() && charge(1, 0, kHeaderSize) && readObject(topObject_, 0, root)) {
      return {std::move(root), std::nullopt};
    }
    return {std::nullopt, error_};
  }

 private:
  // Where the content of an object begins, after its marker byte, and how many items it has.
  struct Extent {
    std::size_t offset = 0;
    std::uint64_t count = 0;
  };

  bool readTrailer();
  bool readObject(std::uint64_t reference, int depth, PropertyList& into);
  bool readSimple(std::uint8_t marker, std::size_t offset, PropertyList& into);
  bool readInteger(std::size_t offset, std::size_t width, PropertyList& into);
  bool readUID(std::size_t offset, std::size_t width, PropertyList& into);
  bool readReal(std::size_t offset, std::size_t width, PropertyList& into);
  bool readDate(std::size_t offset, std::size_t width, PropertyList& into);
  bool readSized(std::uint8_t marker, std::size_t offset, int depth, PropertyList& into);
  bool readExtent(std::uint8_t marker, std::size_t offset, Extent& extent);
  bool readASCII(const Extent& extent, std::string& into);
  bool readUTF16(const Extent& extent, std::string& into);
  bool readList(const Extent& extent, int depth, PropertyList& into);
  bool readDictionary(const Extent& extent, int depth, PropertyList& into);
  bool readKey(std::uint64_t reference, std::string& into);
  bool locate(std::uint64_t reference, std::size_t& offset);

  // Whether the objects' part of the file holds `count` items of `width` bytes from `offset` on.
  bool holds(std::size_t offset, std::uint64_t count, std::size_t width = 1) {
    if (offset <= objectsEnd_ && count <= (objectsEnd_ - offset) / width) return true;
    return fail("an object reaches past the end of the objects", offset);
  }

  bool charge(std::uint64_t values, std::uint64_t bytes, std::size_t offset);

  // The number in the `width` bytes at the offset, which the caller has checked; of a wider one
  // than eight bytes the low 64 bits.
  std::uint64_t number(std::size_t offset, std::size_t width) const {
    std::uint64_t value = 0;
    for (std::size_t i = 0; i < width; ++i) value = value << 8 | byte(offset + i);
    return value;
  }

  std::uint8_t byte(std::size_t offset) const { return static_cast<std::uint8_t>(bytes_[offset]); }

  bool fail(std::string_view what, std::size_t offset) {
    error_ = propertyListErrorAtOffset(what, offset);
    return false;
  }

  std::string_view bytes_;
  std::size_t objectsEnd_ = 0;  // and so where the table of offsets begins
  std::size_t offsetWidth_ = 0;
  std::size_t referenceWidth_ = 0;
  std::uint64_t objectCount_ = 0;
  std::uint64_t topObject_ = 0;

  std::uint64_t values_ = 0;
  std::uint64_t expansion_ = 0;
  std::uint64_t allowance_;
  std::optional<Error> error_;
};

bool BinaryReader::readTrailer() {
  if (bytes_.size() < kHeaderSize + kTrailerSize)
    return fail("the file is cut short", bytes_.size());
  if (bytes_[6] != '0') return fail("the version of the binary format is unknown", 6);
  const std::size_t trailer = bytes_.size() - kTrailerSize;
  offsetWidth_ = byte(trailer + 6);
  referenceWidth_ = byte(trailer + 7);
  objectCount_ = number(trailer + 8, 8);
  topObject_ = number(trailer + 16, 8);
  const std::uint64_t table = number(trailer + 24, 8);
  const auto isWidth = [](std::size_t width) { return width >= 1 && width <= 8; };
  if (!isWidth(offsetWidth_)) return fail("offsets are of no possible width", trailer + 6);
  if (!isWidth(referenceWidth_)) return fail("references are of no possible width", trailer + 7);
  if (table < kHeaderSize || table > trailer) {
    return fail("the table of offsets lies outside the file", trailer + 24);
  }
  objectsEnd_ = static_cast<std::size_t>(table);
  if (objectCount_ > (trailer - objectsEnd_) / offsetWidth_) {
    return fail("the table of offsets reaches past its end", trailer + 8);
  }
  return true;
}

// Counts the memory of a container or a string before it is allocated.
bool BinaryReader::charge(std::uint64_t values, std::uint64_t bytes, std::size_t offset) {
  values_ += values;
  expansion_ += bytes;
  if (values_ > kMaximumPropertyListValues) return fail("there are too many values", offset);
  if (expansion_ > allowance_) return fail("objects are shared too often", offset);
  return true;
}

bool BinaryReader::locate(std::uint64_t reference, std::size_t& offset) {
  if (reference >= objectCount_) {
    return fail(fmt::format("object {} of {} is referred to", reference, objectCount_),
                objectsEnd_);
  }
  const std::size_t entry = objectsEnd_ + static_cast<std::size_t>(reference) * offsetWidth_;
  const std::uint64_t found = number(entry, offsetWidth_);
  if (found < kHeaderSize || found >= objectsEnd_) {
    return fail(fmt::format("object {} lies outside the objects", reference), entry);
  }
  offset = static_cast<std::size_t>(found);
  return true;
}

// A container that holds itself ends at the depth limit, like every chain of containers.
bool BinaryReader::readObject(std::uint64_t reference, int depth, PropertyList& into) {
  std::size_t offset = 0;
  if (!locate(reference, offset)) return false;
  const std::uint8_t marker = byte(offset);
  const std::size_t content = offset + 1;
  const std::size_t width = std::size_t{1} << (marker & 0x0F);
  switch (marker >> 4) {
    case 0x0:
      return readSimple(marker, offset, into);
    case 0x1:
      return readInteger(content, width, into);
    case 0x2:
      return readReal(content, width, into);
    case 0x3:
      return readDate(content, width, into);
    case 0x8:
      return readUID(content, (marker & 0x0F) + std::size_t{1}, into);
    default:
      return readSized(marker, offset, depth, into);
  }
}

bool BinaryReader::readSimple(std::uint8_t marker, std::size_t offset, PropertyList& into) {
  switch (marker) {
    case 0x00:
      return true;
    case 0x08:
    case 0x09:
      into.value = marker == 0x09;
      return true;
    default:
      return fail(fmt::format("{:#04x} is no kind of object", marker), offset);
  }
}

// Numbers of eight bytes are signed, shorter ones unsigned. Sixteen bytes hold the unsigned numbers
// that do not fit in eight signed ones.
bool BinaryReader::readInteger(std::size_t offset, std::size_t width, PropertyList& into) {
  if (width > 16) return fail("an integer is wider than 16 bytes", offset - 1);
  if (!holds(offset, width)) return false;
  const std::uint64_t low = number(offset, width);
  const auto asSigned = static_cast<PropertyList::Integer>(low);
  const bool isUnsigned = width == 16 && number(offset, 8) == 0;
  if (asSigned < 0 && isUnsigned) {
    into.value = PropertyList::LargeInteger{low};
  } else {
    into.value = asSigned;
  }
  return true;
}

bool BinaryReader::readUID(std::size_t offset, std::size_t width, PropertyList& into) {
  if (!holds(offset, width)) return false;
  const auto number64 = static_cast<PropertyList::Integer>(number(offset, width));
  into.value.emplace<PropertyList::Dictionary>().entries.push_back({"CF$UID", {number64}});
  return true;
}

bool BinaryReader::readReal(std::size_t offset, std::size_t width, PropertyList& into) {
  if (width != 4 && width != 8) return fail("a real is neither 4 nor 8 bytes wide", offset - 1);
  if (!holds(offset, width)) return false;
  const std::uint64_t bits = number(offset, width);
  const double value = width == 8 ? std::bit_cast<double>(bits)
                                  : std::bit_cast<float>(static_cast<std::uint32_t>(bits));
  into.value = PropertyList::Real{value, width == 4};
  return true;
}

bool BinaryReader::readDate(std::size_t offset, std::size_t width, PropertyList& into) {
  if (width != 8) return fail("a date is not 8 bytes wide", offset - 1);
  if (!holds(offset, width)) return false;
  into.value = PropertyList::Date{std::bit_cast<double>(number(offset, width))};
  return true;
}

bool BinaryReader::readSized(std::uint8_t marker, std::size_t offset, int depth,
                             PropertyList& into) {
  Extent extent;
  if (!readExtent(marker, offset, extent)) return false;
  switch (marker >> 4) {
    case 0x4:
      if (!holds(extent.offset, extent.count) || !charge(0, extent.count, offset)) return false;
      into.value = PropertyList::Data{std::string(bytes_.substr(extent.offset, extent.count))};
      return true;
    case 0x5:
      return readASCII(extent, into.value.emplace<std::string>());
    case 0x6:
      return readUTF16(extent, into.value.emplace<std::string>());
    case 0xA:
    case 0xB:
    case 0xC:
      return readList(extent, depth + 1, into);
    case 0xD:
      return readDictionary(extent, depth + 1, into);
    default:
      return fail(fmt::format("{:#04x} is no kind of object", marker), offset);
  }
}

// A count of 15 in the marker means that the count follows as an integer object.
bool BinaryReader::readExtent(std::uint8_t marker, std::size_t offset, Extent& extent) {
  extent = {offset + 1, static_cast<std::uint64_t>(marker & 0x0F)};
  if (extent.count != 0x0F) return true;
  if (!holds(offset + 1, 1)) return false;
  const std::uint8_t countMarker = byte(offset + 1);
  const std::size_t width = std::size_t{1} << (countMarker & 0x0F);
  if (countMarker >> 4 != 0x1 || width > 8) return fail("a count is not an integer", offset + 1);
  if (!holds(offset + 2, width)) return false;
  extent = {offset + 2 + width, number(offset + 2, width)};
  return true;
}

bool BinaryReader::readASCII(const Extent& extent, std::string& into) {
  if (!holds(extent.offset, extent.count)) return false;
  if (!charge(0, extent.count, extent.offset)) return false;
  into = bytes_.substr(extent.offset, extent.count);
  const auto isASCII = [](char c) { return static_cast<unsigned char>(c) < 0x80; };
  return std::all_of(into.begin(), into.end(), isASCII) ||
         fail("an ASCII text holds other characters", extent.offset);
}

bool BinaryReader::readUTF16(const Extent& extent, std::string& into) {
  if (!holds(extent.offset, extent.count, 2)) return false;
  if (!charge(0, 2 * extent.count, extent.offset)) return false;
  into = textFromUTF16(bytes_.substr(extent.offset, 2 * extent.count), true);
  return true;
}

bool BinaryReader::readList(const Extent& extent, int depth, PropertyList& into) {
  if (depth > kMaximumPropertyListDepth) return fail("values are nested too deep", extent.offset);
  if (!holds(extent.offset, extent.count, referenceWidth_)) return false;
  if (!charge(extent.count, extent.count * sizeof(PropertyList), extent.offset)) return false;
  auto& list = into.value.emplace<PropertyList::List>(extent.count);
  std::size_t at = extent.offset;
  for (PropertyList& member : list) {
    if (!readObject(number(at, referenceWidth_), depth, member)) return false;
    at += referenceWidth_;
  }
  return true;
}

// The references to all keys come first, then those to the values.
bool BinaryReader::readDictionary(const Extent& extent, int depth, PropertyList& into) {
  if (depth > kMaximumPropertyListDepth) return fail("values are nested too deep", extent.offset);
  if (!holds(extent.offset, extent.count, 2 * referenceWidth_)) return false;
  const std::uint64_t size = extent.count * sizeof(PropertyList::Entry);
  if (!charge(2 * extent.count, size, extent.offset)) return false;
  auto& entries = into.value.emplace<PropertyList::Dictionary>().entries;
  entries.resize(extent.count);
  std::size_t keyAt = extent.offset;
  std::size_t valueAt = extent.offset + extent.count * referenceWidth_;
  for (PropertyList::Entry& entry : entries) {
    if (!readKey(number(keyAt, referenceWidth_), entry.key)) return false;
    if (!readObject(number(valueAt, referenceWidth_), depth, entry.value)) return false;
    keyAt += referenceWidth_;
    valueAt += referenceWidth_;
  }
  return true;
}

bool BinaryReader::readKey(std::uint64_t reference, std::string& into) {
  std::size_t offset = 0;
  if (!locate(reference, offset)) return false;
  const std::uint8_t marker = byte(offset);
  const bool isASCII = marker >> 4 == 0x5;
  if (!isASCII && marker >> 4 != 0x6) return fail("a key is not a text", offset);
  Extent extent;
  if (!readExtent(marker, offset, extent)) return false;
  return isASCII ? readASCII(extent, into) : readUTF16(extent, into);
}

}  // namespace

PropertyListResult readBinaryPropertyList(std::string_view bytes) {
  return BinaryReader(bytes).read();
}

}  // namespace tolvane
