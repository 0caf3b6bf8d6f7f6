// SPDX-License-Identifier: MIT
#include "base/TerminalText.h"

#include <unicode/uchar.h>
#include <unicode/utf8.h>

#include "base/UTF8.h"

namespace tolvane {

namespace {

constexpr std::string_view kReplacement = "\uFFFD";

// Reads the character at `position` and steps over it; negative where the bytes are not UTF-8.
UChar32 nextCharacter(std::string_view text, std::size_t& position) {
  UChar32 character = 0;
  U8_NEXT(text.data(), position, text.size(), character);
  return character;
}

std::size_t cells(UChar32 character) {
  if (character < 0x80 || isTerminalControl(character)) return 1;  // of its replacement
  const int category = u_charType(character);
  if (category == U_NON_SPACING_MARK || category == U_ENCLOSING_MARK || category == U_FORMAT_CHAR) {
    return 0;
  }
  const int width = u_getIntPropertyValue(character, UCHAR_EAST_ASIAN_WIDTH);
  return width == U_EA_WIDE || width == U_EA_FULLWIDTH ? 2 : 1;
}

}  // namespace

bool isTerminalControl(std::int32_t character) {
  return u_charType(character) == U_CONTROL_CHAR || (character >= 0x2028 && character <= 0x202E) ||
         (character >= 0x2066 && character <= 0x2069);
}

void appendPrintable(std::string& line, std::string_view text) {
  if (isPrintableASCII(text)) {
    line += text;
    return;
  }
  for (std::size_t position = 0; position < text.size();) {
    const std::size_t start = position;
    const UChar32 character = nextCharacter(text, position);
    if (character == '\t') {
      line += ' ';
    } else if (character < 0 || isTerminalControl(character)) {
      line += kReplacement;
    } else {
      line += text.substr(start, position - start);
    }
  }
}

std::string printable(std::string_view text) {
  std::string line;
  appendPrintable(line, text);
  return line;
}

std::size_t displayWidth(std::string_view text) {
  if (isPrintableASCII(text)) return text.size();
  std::size_t width = 0;
  for (std::size_t position = 0; position < text.size();) {
    width += cells(nextCharacter(text, position));
  }
  return width;
}

}  // namespace tolvane
