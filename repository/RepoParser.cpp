// SPDX-License-Identifier: MIT
#include "repository/RepoParser.h"

#include <cstring>
#include <new>
#include <optional>
#include <string_view>
#include <utility>

#include "base/SideBySide.h"
#include "base/Text.h"

// Where this reader is more lenient than the control-file syntax:
// - A line may end in CR LF or CR as well.
// - Stanzas are separated by empty lines alone; a line of blanks stays inside its stanza. A stanza
//   is then trimmed as a whole, so its first line may be indented.
// - A line without a colon is skipped and does not end the field before it.
// - Of several fields of one name in a stanza, the last one counts.
//
// Values are views into the index text. A continuation line is moved to right behind the value that
// it continues. There is always room: at least the line end and the blank that the line begins
// with have gone, and between the two stands nothing that is still needed.

namespace tolvane {

namespace {

constexpr std::size_t kWorthAThread = std::size_t{1} << 20;  // bytes of text

void normalizeLineEnds(std::string& text) {
  const std::size_t first = text.find('\r');
  if (first == std::string::npos) return;
  std::size_t end = first;
  for (std::size_t i = first; i < text.size(); ++i) {
    const bool carriageReturn = text[i] == '\r';
    if (carriageReturn && i + 1 < text.size() && text[i + 1] == '\n') ++i;
    text[end++] = carriageReturn ? '\n' : text[i];
  }
  text.resize(end);
}

// The position of the first "\n\n", npos where there is none. It reads the whole index once more,
// so it goes block by block in a loop that the compiler turns into vector code.
std::size_t findEmptyLine(std::string_view text) {
  constexpr std::size_t kBlock = 64;
  std::size_t position = 0;
  for (; position + kBlock < text.size(); position += kBlock) {
    const char* const block = text.data() + position;
    unsigned char found = 0;  // not bool: that would not become vectors
    for (std::size_t i = 0; i < kBlock; ++i) {
      found |= static_cast<unsigned char>((block[i] == '\n') & (block[i + 1] == '\n'));
    }
    if (found != 0) break;
  }
  return text.find("\n\n", position);
}

// trimBlanks(), with the answer at hand for what nearly every key and value looks like: a blank at
// most, then text that begins and ends in a visible ASCII character.
std::string_view trimField(std::string_view text) {
  const auto isVisible = [](char c) { return c > ' ' && c <= '~'; };
  if (text.starts_with(' ')) text.remove_prefix(1);
  if (!text.empty() && isVisible(text.front()) && isVisible(text.back())) return text;
  return trimBlanks(text);
}

// Collects the fields of one stanza.
class StanzaReader {
 public:
  // The stanza's values point into `text`.
  explicit StanzaReader(std::string& text) : text_(text) {}

  // Takes the stanza's lines in order. None of them is empty.
  void readLine(std::string_view line) {
    if (line.front() == ' ' || line.front() == '\t') {
      continueField(line);
    } else {
      startField(line);
    }
  }

  bool isPackage() const {
    return values_.text(PackageEntry::Field::packageName) &&
           values_.text(PackageEntry::Field::filename);
  }

  const PackageEntry::Values& values() const { return values_; }

 private:
  void startField(std::string_view line) {
    const std::size_t colon = line.find(':');
    if (colon == std::string_view::npos) return;
    current_ = values_.valueForKey(trimField(line.substr(0, colon)));
    if (current_ == nullptr) return;
    // An empty value has a place in the line too, and may be continued there.
    *current_ = trimField(line.substr(colon + 1));
  }

  void continueField(std::string_view line) {
    if (current_ == nullptr) return;
    std::string_view addition = trimBlanks(line);
    if (addition.empty()) return;
    if (addition == ".") addition.remove_prefix(1);
    const std::string_view value = **current_;
    char* const end = text_.data() + (value.data() - text_.data()) + value.size();
    *end = '\n';
    std::memmove(end + 1, addition.data(), addition.size());
    *current_ = std::string_view(value.data(), value.size() + 1 + addition.size());
  }

  std::string& text_;
  PackageEntry::Values values_;
  PackageEntry::Values::Value* current_ = nullptr;  // none after a field that is not kept
};

void readStanza(std::string_view stanza, std::size_t part, PackageEntry::Builder& builder) {
  stanza = trimWhitespaceAndNewlines(stanza);
  if (stanza.empty()) return;
  StanzaReader reader(builder.text());
  while (true) {
    const std::size_t end = stanza.find('\n');
    reader.readLine(stanza.substr(0, end));
    if (end == std::string_view::npos) break;
    stanza.remove_prefix(end + 1);
  }
  if (reader.isPackage()) builder.add(part, reader.values());
}

void readPart(std::string_view rest, std::size_t part, PackageEntry::Builder& builder) {
  while (!rest.empty() && builder.size(part) <= RepoParser::kMaximumRecords) {
    const std::size_t end = findEmptyLine(rest);
    readStanza(rest.substr(0, end), part, builder);
    rest.remove_prefix(end == std::string_view::npos ? rest.size() : end + 2);
  }
}

}  // namespace

std::vector<PackageEntry> RepoParser::parsePackagesText(std::string text) {
  try {
    return packagesInText(std::move(text));
  } catch (const std::bad_alloc&) {
    return {};
  }
}

// Cut at an empty line near the middle, so that a long index can be read by two threads.
std::vector<PackageEntry> RepoParser::packagesInText(std::string indexText) {
  normalizeLineEnds(indexText);
  PackageEntry::Builder builder(std::move(indexText));
  const std::string_view text = builder.text();
  const std::size_t half = text.size() / 2;
  const std::size_t emptyLine = findEmptyLine(text.substr(half));
  const std::size_t border = emptyLine == std::string_view::npos ? text.size() : half + emptyLine;
  auto second =
      startBeside(text.size() >= kWorthAThread, [&] { readPart(text.substr(border), 1, builder); });
  readPart(text.substr(0, border), 0, builder);
  second.get();
  if (builder.size(0) + builder.size(1) > kMaximumRecords) return {};
  return builder.finish();
}

}  // namespace tolvane
