// SPDX-License-Identifier: MIT
#include <algorithm>
#include <array>
#include <cstdint>

#include "base/UTF8.h"
#include "plist/PropertyListReaders.h"

namespace tolvane {

namespace {

// Octal escapes above 0177 are characters of the NEXTSTEP character set.
constexpr std::array<char16_t, 128> kNextStepCharacters = {
    0x00A0, 0x00C0, 0x00C1, 0x00C2, 0x00C3, 0x00C4, 0x00C5, 0x00C7, 0x00C8, 0x00C9, 0x00CA, 0x00CB,
    0x00CC, 0x00CD, 0x00CE, 0x00CF, 0x00D0, 0x00D1, 0x00D2, 0x00D3, 0x00D4, 0x00D5, 0x00D6, 0x00D9,
    0x00DA, 0x00DB, 0x00DC, 0x00DD, 0x00DE, 0x00B5, 0x00D7, 0x00F7, 0x00A9, 0x00A1, 0x00A2, 0x00A3,
    0x2044, 0x00A5, 0x0192, 0x00A7, 0x00A4, 0x2019, 0x201C, 0x00AB, 0x2039, 0x203A, 0xFB01, 0xFB02,
    0x00AE, 0x2013, 0x2020, 0x2021, 0x00B7, 0x00A6, 0x00B6, 0x2022, 0x201A, 0x201E, 0x201D, 0x00BB,
    0x2026, 0x2030, 0x00AC, 0x00BF, 0x00B9, 0x02CB, 0x00B4, 0x02C6, 0x02DC, 0x00AF, 0x02D8, 0x02D9,
    0x00A8, 0x00B2, 0x02DA, 0x00B8, 0x00B3, 0x02DD, 0x02DB, 0x02C7, 0x2014, 0x00B1, 0x00BC, 0x00BD,
    0x00BE, 0x00E0, 0x00E1, 0x00E2, 0x00E3, 0x00E4, 0x00E5, 0x00E7, 0x00E8, 0x00E9, 0x00EA, 0x00EB,
    0x00EC, 0x00C6, 0x00ED, 0x00AA, 0x00EE, 0x00EF, 0x00F0, 0x00F1, 0x0141, 0x00D8, 0x0152, 0x00BA,
    0x00F2, 0x00F3, 0x00F4, 0x00F5, 0x00F6, 0x00E6, 0x00F9, 0x00FA, 0x00FB, 0x0131, 0x00FC, 0x00FD,
    0x0142, 0x00F8, 0x0153, 0x00DF, 0x00FE, 0x00FF, 0xFFFD, 0xFFFD};

constexpr std::string_view kWordCharacters =
    "abcdefghijklmnopqrstuvwxyzABCDEFGHIJKLMNOPQRSTUVWXYZ0123456789_$/:.-";

bool isSpace(char c) {
  return c == ' ' || (c >= '\t' && c <= '\r');
}

// The value of the digit, or no less than `base` for anything else.
unsigned digitValue(char c, unsigned base) {
  if (c >= '0' && c <= '9') return static_cast<unsigned>(c - '0');
  const char lower = static_cast<char>(c | 0x20);
  return lower >= 'a' && lower <= 'f' ? static_cast<unsigned>(lower - 'a' + 10) : base;
}

class TextReader {
 public:
  explicit TextReader(std::string_view text) : text_(text) {}

  PropertyListResult read() {
    PropertyList root;
    if (readRoot(root)) return {std::move(root), std::nullopt};
    return {std::nullopt, error_};
  }

 private:
  bool readRoot(PropertyList& root);
  bool checkEncoding();
  bool readValue(int depth, PropertyList& into);
  bool readList(int depth, PropertyList& into);
  bool readDictionary(int depth, PropertyList& into);
  bool readEntries(int depth, PropertyList& into);
  bool readEntry(int depth, PropertyList::Entry& into);
  bool readData(PropertyList& into);
  bool readText(std::string& into);
  bool readQuoted(std::string& into);
  bool readEscapes(std::string& into);
  char16_t readEscape();
  char16_t readDigits(unsigned base, int most);

  bool skipSpace();
  bool skipTo(char wanted, std::string_view otherwise);
  bool count();

  bool atEnd() const { return at_ == text_.size(); }
  bool isNext(char c) const { return !atEnd() && text_[at_] == c; }
  bool fail(std::string_view what);

  std::string_view text_;
  std::size_t at_ = 0;
  std::size_t values_ = 0;
  std::optional<Error> error_;
};

// A file whose first string is not its end is the entries of a dictionary, without braces.
bool TextReader::readRoot(PropertyList& root) {
  if (!checkEncoding() || !skipSpace()) return false;
  if (atEnd()) {
    root.value = PropertyList::Dictionary{};
    return true;
  }
  const std::size_t start = at_;
  if (!readValue(0, root) || !skipSpace()) return false;
  if (atEnd()) return true;
  if (root.text() == nullptr) return fail("something follows the list");
  at_ = start;
  return readEntries(1, root) && (atEnd() || fail("something follows the list"));
}

// One line at a time, so that the error can name the line.
bool TextReader::checkEncoding() {
  while (!atEnd()) {
    const std::size_t end = std::min(text_.find('\n', at_), text_.size() - 1) + 1;
    if (!isValidUTF8(text_.substr(at_, end - at_)))
      return fail("there is a byte that is not UTF-8");
    at_ = end;
  }
  at_ = 0;
  return true;
}

bool TextReader::readValue(int depth, PropertyList& into) {
  if (!count()) return false;
  if (isNext('{')) return readDictionary(depth + 1, into);
  if (isNext('(')) return readList(depth + 1, into);
  if (isNext('<')) return readData(into);
  return readText(into.value.emplace<std::string>());
}

bool TextReader::readList(int depth, PropertyList& into) {
  if (depth > kMaximumPropertyListDepth) return fail("values are nested too deep");
  auto& list = into.value.emplace<PropertyList::List>();
  ++at_;
  while (true) {
    if (!skipSpace()) return false;
    if (isNext(')')) break;
    if (!readValue(depth, list.emplace_back()) || !skipSpace()) return false;
    if (!isNext(',')) break;
    ++at_;
  }
  return skipTo(')', "a list has no \",\" or \")\" after a value");
}

bool TextReader::readDictionary(int depth, PropertyList& into) {
  if (depth > kMaximumPropertyListDepth) return fail("values are nested too deep");
  ++at_;
  return readEntries(depth, into) && skipTo('}', "a dictionary has no \"}\"");
}

bool TextReader::readEntries(int depth, PropertyList& into) {
  auto& entries = into.value.emplace<PropertyList::Dictionary>().entries;
  while (skipSpace()) {
    if (atEnd() || isNext('}')) return true;
    if (!readEntry(depth, entries.emplace_back())) return false;
  }
  return false;
}

// In a strings file, a key without a value is its own value.
bool TextReader::readEntry(int depth, PropertyList::Entry& into) {
  if (!count() || !readText(into.key) || !skipSpace()) return false;
  if (isNext(';')) {
    ++at_;
    into.value.value = into.key;
    return true;
  }
  return skipTo('=', "a key has no \"=\" or \";\" after it") && skipSpace() &&
         readValue(depth, into.value) && skipTo(';', "an entry has no \";\" at its end");
}

bool TextReader::readData(PropertyList& into) {
  std::string& bytes = into.value.emplace<PropertyList::Data>().bytes;
  ++at_;
  unsigned high = 16;
  for (; !atEnd() && text_[at_] != '>'; ++at_) {
    if (isSpace(text_[at_])) continue;
    const unsigned digit = digitValue(text_[at_], 16);
    if (digit == 16) return fail("data holds something else than hexadecimal digits");
    if (high == 16) {
      high = digit;
    } else {
      bytes += static_cast<char>(high << 4 | digit);
      high = 16;
    }
  }
  if (high != 16) return fail("data has an odd number of digits");
  return skipTo('>', "data has no \">\"");
}

bool TextReader::readText(std::string& into) {
  if (isNext('"') || isNext('\'')) return readQuoted(into);
  const std::size_t end = std::min(text_.find_first_not_of(kWordCharacters, at_), text_.size());
  if (end == at_)
    return fail(atEnd() ? "the list ends too early" : "there is an unexpected character");
  into = text_.substr(at_, end - at_);
  at_ = end;
  return true;
}

bool TextReader::readQuoted(std::string& into) {
  const char quote = text_[at_];
  const std::size_t start = at_++;
  const char stops[] = {quote, '\\'};
  while (true) {
    const std::size_t stop = text_.find_first_of(std::string_view(stops, 2), at_);
    if (stop == std::string_view::npos) {
      at_ = start;
      return fail("a quoted text that begins here has no end");
    }
    into += text_.substr(at_, stop - at_);
    at_ = stop;
    if (!isNext('\\')) break;
    if (!readEscapes(into)) return false;
  }
  ++at_;
  return true;
}

// Escapes in a row are read together, because two of them can be one character.
bool TextReader::readEscapes(std::string& into) {
  std::u16string units;
  while (isNext('\\')) {
    ++at_;
    if (atEnd()) return fail("the list ends too early");
    if (static_cast<unsigned char>(text_[at_]) >= 0x80) break;  // ignores the backslash
    units += readEscape();
  }
  appendUTF16(into, units);
  return true;
}

char16_t TextReader::readEscape() {
  const char c = text_[at_];
  if (c >= '0' && c <= '7') {
    const char16_t code = readDigits(8, 3) & 0xFF;
    return code < 0x80 ? code : kNextStepCharacters[code - 0x80];
  }
  ++at_;
  if (c == 'U' && !atEnd() && digitValue(text_[at_], 16) < 16) return readDigits(16, 4);
  constexpr std::string_view kLetters = "abfnrtv";
  constexpr std::string_view kMeanings = "\a\b\f\n\r\t\v";
  const std::size_t letter = kLetters.find(c);
  return static_cast<char16_t>(letter == std::string_view::npos ? c : kMeanings[letter]);
}

char16_t TextReader::readDigits(unsigned base, int most) {
  unsigned number = 0;
  for (; most > 0 && !atEnd(); --most, ++at_) {
    const unsigned digit = digitValue(text_[at_], base);
    if (digit >= base) break;
    number = number * base + digit;
  }
  return static_cast<char16_t>(number);
}

// White space and comments, of both forms.
bool TextReader::skipSpace() {
  while (!atEnd()) {
    if (isSpace(text_[at_])) {
      ++at_;
    } else if (text_.compare(at_, 2, "//") == 0) {
      at_ = std::min(text_.find_first_of("\n\r", at_), text_.size());
    } else if (text_.compare(at_, 2, "/*") == 0) {
      const std::size_t end = text_.find("*/", at_ + 2);
      if (end == std::string_view::npos) return fail("a comment that begins here has no end");
      at_ = end + 2;
    } else {
      break;
    }
  }
  return true;
}

bool TextReader::skipTo(char wanted, std::string_view otherwise) {
  if (!skipSpace()) return false;
  if (!isNext(wanted)) return fail(otherwise);
  ++at_;
  return true;
}

bool TextReader::count() {
  return ++values_ <= kMaximumPropertyListValues || fail("there are too many values");
}

// A line ends with LF, CR or both.
bool TextReader::fail(std::string_view what) {
  std::size_t line = 1;
  for (std::size_t i = 0; i < at_; ++i) {
    const bool isPair = text_[i] == '\r' && i + 1 < text_.size() && text_[i + 1] == '\n';
    if ((text_[i] == '\n' || text_[i] == '\r') && !isPair) ++line;
  }
  error_ = propertyListErrorAtLine(what, line);
  return false;
}

}  // namespace

PropertyListResult readTextPropertyList(std::string_view bytes) {
  return TextReader(bytes).read();
}

}  // namespace tolvane
