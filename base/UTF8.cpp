// SPDX-License-Identifier: MIT
#include "base/UTF8.h"

#include <algorithm>
#include <cstdint>

#include "base/LargeString.h"

namespace tolvane {

namespace {

bool isContinuationByte(char byte) {
  return (static_cast<unsigned char>(byte) & 0xC0) == 0x80;
}

// Short enough that a count within a block fits a byte, which lets the compiler vectorise the
// loops.
constexpr std::size_t kBlock = 64;

bool isASCIIBlock(const char* block) {
  unsigned char bits = 0;
  for (std::size_t i = 0; i < kBlock; ++i) bits |= static_cast<unsigned char>(block[i]);
  return bits < 0x80;
}

// Length of the well-formed character at the beginning of the bytes, 0 if it is not well-formed.
// The bounds of the second byte exclude overlong forms, surrogates and all above U+10FFFF.
std::size_t wellFormedCharacterLength(std::string_view bytes) {
  const auto at = [bytes](std::size_t i) { return static_cast<unsigned char>(bytes[i]); };
  const unsigned lead = at(0);
  if (lead < 0x80) return 1;
  if (lead < 0xC2 || lead > 0xF4) return 0;
  const std::size_t length = lead < 0xE0 ? 2 : lead < 0xF0 ? 3 : 4;
  if (bytes.size() < length) return 0;
  const unsigned least = lead == 0xE0 ? 0xA0 : lead == 0xF0 ? 0x90 : 0x80;
  const unsigned most = lead == 0xED ? 0x9F : lead == 0xF4 ? 0x8F : 0xBF;
  if (at(1) < least || at(1) > most) return 0;
  for (std::size_t i = 2; i < length; ++i) {
    if (!isContinuationByte(bytes[i])) return 0;
  }
  return length;
}

// Every character is one UTF-16 code unit, and one more from U+10000 (lead byte 0xF0) up.
std::size_t utf16LengthOfBlock(const char* block) {
  std::uint8_t units = 0;
  for (std::size_t i = 0; i < kBlock; ++i) {
    const auto byte = static_cast<std::uint8_t>(block[i]);
    units = static_cast<std::uint8_t>(units + ((byte & 0xC0) != 0x80) + (byte >= 0xF0));
  }
  return units;
}

}  // namespace

std::string_view firstCharacter(std::string_view text) {
  std::size_t length = 1;
  while (length < text.size() && isContinuationByte(text[length])) ++length;
  return text.substr(0, length);
}

std::string_view lastCharacter(std::string_view text) {
  std::size_t begin = text.size() - 1;
  while (begin > 0 && isContinuationByte(text[begin])) --begin;
  return text.substr(begin);
}

bool isValidUTF8(std::string_view bytes) {
  while (!bytes.empty()) {
    if (bytes.size() >= kBlock && isASCIIBlock(bytes.data())) {
      bytes.remove_prefix(kBlock);
      continue;
    }
    const std::size_t rest = bytes.size() - std::min(bytes.size(), kBlock);
    while (bytes.size() > rest) {
      const std::size_t length = wellFormedCharacterLength(bytes);
      if (length == 0) return false;
      bytes.remove_prefix(length);
    }
  }
  return true;
}

// Reads every byte, because the compiler vectorises a loop without an early exit.
bool isPrintableASCII(std::string_view text) {
  unsigned others = 0;
  for (const char byte : text) others += static_cast<unsigned char>(byte - ' ') > '~' - ' ' ? 1 : 0;
  return others == 0;
}

std::optional<std::string> textFromLatin1(std::string bytes, std::size_t maximumSize) {
  const auto isASCII = [](char c) { return static_cast<unsigned char>(c) < 0x80; };
  const std::size_t others = bytes.size() - std::ranges::count_if(bytes, isASCII);
  if (others > maximumSize || bytes.size() > maximumSize - others) return std::nullopt;
  std::size_t from = bytes.size();
  std::size_t to = from + others;
  if (to > bytes.capacity()) reserveLarge(bytes, to);
  bytes.resize(to);
  // From the back, so that no byte is overwritten before it is read. The bytes before the first one
  // outside ASCII stay where they are.
  while (from < to) {
    const char c = bytes[--from];
    if (isASCII(c)) {
      bytes[--to] = c;
    } else {
      const auto byte = static_cast<unsigned char>(c);
      bytes[--to] = static_cast<char>(0x80 | (byte & 0x3F));
      bytes[--to] = static_cast<char>(0xC0 | (byte >> 6));
    }
  }
  return bytes;
}

std::size_t utf16Length(std::string_view text) {
  std::size_t units = 0;
  while (text.size() >= kBlock) {
    units += utf16LengthOfBlock(text.data());
    text.remove_prefix(kBlock);
  }
  for (const char c : text)
    units += !isContinuationByte(c) + (static_cast<std::uint8_t>(c) >= 0xF0);
  return units;
}

std::string_view utf16Prefix(std::string_view text, std::size_t units) {
  if (text.size() <= units) return text;  // each unit takes at least one byte
  std::string_view rest = text;
  while (!rest.empty()) {
    const std::string_view character = firstCharacter(rest);
    const std::size_t length = utf16Length(character);
    if (length > units) break;
    units -= length;
    rest.remove_prefix(character.size());
  }
  return text.substr(0, text.size() - rest.size());
}

}  // namespace tolvane
