// SPDX-License-Identifier: MIT
#include "repository/RepoParser.h"

#include <cstring>
#include <new>
#include <optional>
#include <string_view>
#include <utility>

#include "base/Text.h"

// Where this reader is more lenient than the control-file syntax:
// - A line may end in CR LF or CR as well.
// - Stanzas are separated by empty lines alone; a line of blanks stays inside its stanza. A stanza
//   is then trimmed as a whole, so its first line may be indented.
// - A line without a colon is skipped and does not end the field before it.
// - Of several fields of one name in a stanza, the last one counts.
//
// Values are views into the index text. A continuation line is moved to directly after the value
// that it continues. There is always room: the line end and the blank that the line begins with are
// dropped, and nothing between the two is still needed.

namespace tolvane {

namespace {

// Makes every CR LF and CR of the text's end from `begin` on an LF.
void normalizeLineEnds(std::string& text, std::size_t begin) {
  std::size_t end = begin;
  for (std::size_t i = begin; i < text.size(); ++i) {
    const bool carriageReturn = text[i] == '\r';
    if (carriageReturn && i + 1 < text.size() && text[i + 1] == '\n') ++i;
    text[end++] = carriageReturn ? '\n' : text[i];
  }
  text.resize(end);
}

struct Stanza {
  std::string_view text;  // to the first "\n\n", or all
  bool hasCarriageReturn;
};

// The loop goes block by block, which the compiler turns into vector code: it is the first to read
// an index from memory. Two passes, one for each, take a fifth longer.
Stanza firstStanza(std::string_view text) {
  constexpr std::size_t kBlock = 64;
  std::size_t position = 0;
  for (; position + kBlock < text.size(); position += kBlock) {
    const char* const block = text.data() + position;
    unsigned char found = 0;  // not bool: that would not become vectors
    for (std::size_t i = 0; i < kBlock; ++i) {
      const bool emptyLine = (block[i] == '\n') & (block[i + 1] == '\n');
      found |= static_cast<unsigned char>(emptyLine | (block[i] == '\r'));
    }
    if (found != 0) break;
  }
  const std::string_view stanza = text.substr(0, text.find("\n\n", position));
  return {stanza, stanza.find('\r', position) != std::string_view::npos};
}

// trimBlanks(), quick for nearly every key and value: one blank at most, then a string that begins
// and ends in a visible ASCII character.
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
    // An empty value points into the line too, and may be continued there.
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

void readStanza(std::string_view stanza, PackageEntry::Builder& builder) {
  stanza = trimWhitespaceAndNewlines(stanza);
  if (stanza.empty()) return;
  StanzaReader reader(builder.text());
  while (true) {
    const std::size_t end = stanza.find('\n');
    reader.readLine(stanza.substr(0, end));
    if (end == std::string_view::npos) break;
    stanza.remove_prefix(end + 1);
  }
  if (reader.isPackage()) builder.add(reader.values());
}

}  // namespace

std::vector<PackageEntry> RepoParser::parsePackagesText(std::string text) {
  try {
    return packagesInText(std::move(text));
  } catch (const std::bad_alloc&) {
    return {};
  }
}

std::vector<PackageEntry> RepoParser::packagesInText(std::string indexText) {
  PackageEntry::Builder builder(std::move(indexText));
  std::string& text = builder.text();
  for (std::size_t begin = 0; begin < text.size();) {
    const Stanza stanza = firstStanza(std::string_view(text).substr(begin));
    if (stanza.hasCarriageReturn) {
      normalizeLineEnds(text, begin);
      continue;
    }
    readStanza(stanza.text, builder);
    if (builder.size() > kMaximumRecords) return {};
    begin += stanza.text.size() + 2;
  }
  return builder.finish();
}

}  // namespace tolvane
