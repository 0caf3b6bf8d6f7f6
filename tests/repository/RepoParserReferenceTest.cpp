// SPDX-License-Identifier: MIT
#include <random>

#include "repository/RepoParser.h"

// The parser against a slow one that does the same step by step on copies, over random texts.

namespace tolvane {
namespace {

const std::vector<std::string> kBlanks = {
    " ",      "\t",     "\u00A0", "\u1680", "\u2000", "\u2001", "\u2002", "\u2003", "\u2004",
    "\u2005", "\u2006", "\u2007", "\u2008", "\u2009", "\u200A", "\u202F", "\u205F", "\u3000"};
const std::vector<std::string> kNewlines = {"\n", "\v", "\f", "\r", "\u0085", "\u2028", "\u2029"};

std::string trim(std::string text, const std::vector<std::string>& characters) {
  for (bool changed = true; changed;) {
    changed = false;
    for (const std::string& character : characters) {
      if (text.starts_with(character)) {
        text = text.substr(character.size());
        changed = true;
      }
      if (text.ends_with(character)) {
        text = text.substr(0, text.size() - character.size());
        changed = true;
      }
    }
  }
  return text;
}

std::string trimOfBlanks(const std::string& text) {
  return trim(text, kBlanks);
}

std::string trimOfWhiteSpace(const std::string& text) {
  std::vector<std::string> characters = kBlanks;
  characters.insert(characters.end(), kNewlines.begin(), kNewlines.end());
  return trim(text, characters);
}

std::vector<std::string> split(const std::string& text, const std::string& separator) {
  std::vector<std::string> parts;
  std::size_t begin = 0;
  for (std::size_t end; (end = text.find(separator, begin)) != std::string::npos;) {
    parts.push_back(text.substr(begin, end - begin));
    begin = end + separator.size();
  }
  parts.push_back(text.substr(begin));
  return parts;
}

std::string replaceAll(const std::string& text, const std::string& from, const std::string& to) {
  const std::vector<std::string> parts = split(text, from);
  std::string result = parts.front();
  for (std::size_t i = 1; i < parts.size(); ++i) result += to + parts[i];
  return result;
}

PackageEntry::Dictionary fieldsOf(const std::string& stanza) {
  PackageEntry::Dictionary fields;
  std::optional<std::string> key;
  for (const std::string& line : split(stanza, "\n")) {
    if (line.empty()) continue;
    if (line[0] != ' ' && line[0] != '\t') {
      const std::size_t colon = line.find(':');
      if (colon == std::string::npos) continue;
      key = trimOfBlanks(line.substr(0, colon));
      fields[*key] = trimOfBlanks(line.substr(colon + 1));
    } else if (key) {
      const std::string addition = trimOfBlanks(line);
      if (addition == ".") {
        fields[*key] += "\n";
      } else if (!addition.empty()) {
        fields[*key] += "\n" + addition;
      }
    }
  }
  return fields;
}

std::vector<PackageEntry> referenceRecords(std::string text) {
  text = replaceAll(text, "\r\n", "\n");
  text = replaceAll(text, "\r", "\n");
  while (text.find("\n\n\n") != std::string::npos) text = replaceAll(text, "\n\n\n", "\n\n");
  std::vector<PackageEntry> records;
  for (const std::string& part : split(text, "\n\n")) {
    const std::string stanza = trimOfWhiteSpace(part);
    if (stanza.empty()) continue;
    const PackageEntry::Dictionary fields = fieldsOf(stanza);
    if (fields.contains("Package") && fields.contains("Filename")) records.emplace_back(fields);
  }
  return records;
}

std::string describe(const std::vector<PackageEntry>& records) {
  std::string description;
  for (const PackageEntry& record : records) {
    for (std::size_t i = 0; i < PackageEntry::kTextCount; ++i) {
      description += "[" + std::string(record.text(static_cast<PackageEntry::Field>(i))) + "]";
    }
    description += record.installer4Package() ? "4" : "-";
    description += record.installer3Package() ? "3\n" : "-\n";
  }
  return description;
}

class RandomTexts {
 public:
  std::string next() {
    std::string text;
    for (std::size_t count = 1 + pick(40); count > 0; --count) {
      text += kPieces[pick(kPieces.size())];
    }
    // Some bytes more or less, but no character cut in two.
    for (std::size_t count = pick(4); count > 0 && !text.empty(); --count) {
      const std::size_t at = pick(text.size());
      if (static_cast<unsigned char>(text[at]) < 0x80) text[at] = "\r\n \t:.aP"[pick(8)];
    }
    return text;
  }

 private:
  std::size_t pick(std::size_t count) { return random_() % count; }

  static inline const std::vector<std::string> kPieces = {
      "\r",
      "\n",
      "\r\n",
      "\n\n",
      "\n\n\n",
      " ",
      "\t",
      "\n ",
      "\n\t",
      "\n .\n",
      ":",
      ".",
      "\u00A0",
      "\u0085",
      "\u2028",
      "\u3000",
      "\v",
      "\f",
      "x",
      "\u00E9",
      "Package",
      "Filename",
      "Unknown",
      "\nPackage: a",
      "\nPackage:b\n",
      "\nFilename: ./c.deb",
      "\nFilename:\n",
      "\nDescription: text\n more\n .\n and more\n",
      "\nDescription:",
      "\n  continued ",
      "\nName: N",
      "\nname: n",
      "\nInstaller4Package: yes\n",
      "\nInstaller3Package: 1",
      "\nUnknown: u\n v",
      "\nPackage: p\nFilename: q\nSize: 1\n\n",
      "a line that is longer than the sixty-four bytes that are searched at a time: value",
  };

  std::mt19937 random_{20};
};

TEST(RepoParser, ReadsRandomTextsAsTheStepByStepReaderDoes) {
  RandomTexts texts;
  std::size_t recordCount = 0;
  for (int i = 0; i < 10'000; ++i) {
    const std::string text = texts.next();
    const std::vector<PackageEntry> expected = referenceRecords(text);
    recordCount += expected.size();
    ASSERT_EQ(describe(RepoParser::parsePackagesText(text)), describe(expected))
        << "text: " << testing::PrintToString(text);
  }
  EXPECT_GT(recordCount, 5'000U);
}

TEST(RepoParser, ReadsMegabytesOfRandomTextsAsTheStepByStepReaderDoes) {
  RandomTexts texts;
  std::string text;
  while (text.size() < 3'000'000) text += texts.next() + "\n\n";
  const std::vector<PackageEntry> expected = referenceRecords(text);
  EXPECT_GT(expected.size(), 5'000U);
  // Not printed where they differ: a megabyte each.
  EXPECT_TRUE(describe(RepoParser::parsePackagesText(text)) == describe(expected));
}

// An index in the shape of a distribution's: 19 lines a stanza, among them continued tags, a long
// description and fields that no record has.
std::string distributionIndex(const std::string& lineEnd) {
  std::string text;
  for (int i = 0; i < 500; ++i) {
    const std::string name = "tool" + std::to_string(i);
    text += "Package: " + name + "\nVersion: 1:" + std::to_string(i) + ".0~rc1-3+b2\n" +
            "Installed-Size: 28591\nMaintainer: Zoë Ångström <zoe@lists.example>\n" +
            "Architecture: amd64\nDepends: libc6 (>= 2.34), " + name + "-data (<= 1:2.0)\n" +
            "Description: does what the tool " + name + " does\n It has:\n  - one thing;\n .\n" +
            " and another: with a colon.\nHomepage: https://tools.example/" + name + "\n" +
            "Tag: interface::graphical, role::program,\n uitoolkit::plain, use::editing\n" +
            "Section: utils\nPriority: optional\nFilename: pool/main/t/" + name + ".deb\n" +
            "Size: " + std::to_string(i * 1000) + "\nSHA256: " + std::string(64, 'a') + "\n\n";
  }
  return replaceAll(text, "\n", lineEnd);
}

TEST(RepoParser, ReadsADistributionsIndexAsTheStepByStepReaderDoes) {
  for (const char* lineEnd : {"\n", "\r\n", "\r"}) {
    const std::string text = distributionIndex(lineEnd);
    const std::vector<PackageEntry> records = RepoParser::parsePackagesText(text);
    EXPECT_EQ(records.size(), 500U);
    EXPECT_EQ(describe(records), describe(referenceRecords(text)));
  }
}

// Line ends are looked for stanza by stanza.
TEST(RepoParser, ACarriageReturnMayComeFirstInALaterStanza) {
  const std::string text = distributionIndex("\n");
  for (const char* lineEnd : {"\r\n", "\r"}) {
    const std::string mixed = text + distributionIndex(lineEnd) + text;
    EXPECT_EQ(describe(RepoParser::parsePackagesText(mixed)), describe(referenceRecords(mixed)));
  }
}

}  // namespace
}  // namespace tolvane
