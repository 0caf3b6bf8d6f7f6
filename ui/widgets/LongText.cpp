// SPDX-License-Identifier: MIT
#include "ui/widgets/LongText.h"

#include <QTextBoundaryFinder>
#include <algorithm>

#include "base/UTF8.h"
#include "ui/Strings.h"

namespace tolvane {

namespace {

// In UTF-16 units. The time in which QTextLayout lays out a line grows with its length, and with
// the square of the length of its words.
constexpr qsizetype kLongestLine = 32'000;
constexpr qsizetype kLongestWord = 4'000;

// The last boundary of a grapheme cluster up to the limit, or the limit where one cluster is
// longer.
qsizetype cutInWord(const QString& text, qsizetype limit) {
  QTextBoundaryFinder finder(QTextBoundaryFinder::Grapheme, text);
  finder.setPosition(limit);
  const qsizetype cut = finder.isAtBoundary() ? limit : finder.toPreviousBoundary();
  if (cut > 0) return cut;
  return text.at(limit).isLowSurrogate() ? limit - 1 : limit;
}

// The last line-breaking opportunity (UAX 14) up to the limit, or the one before a word that is too
// long. `endsHere`: the end of the text counts as one.
qsizetype cutBetweenWords(const QString& text, bool endsHere) {
  QTextBoundaryFinder finder(QTextBoundaryFinder::Line, text);
  qsizetype cut = 0;
  for (qsizetype next = finder.toNextBoundary(); next > 0; next = finder.toNextBoundary()) {
    if (next > kLongestLine || next - cut > kLongestWord) return cut;
    if (next < text.size() || endsHere) cut = next;
  }
  return cut;
}

// The first piece of a line of valid UTF-8; all of it where nothing is too long.
std::string_view firstPieceOf(std::string_view line) {
  if (line.size() <= kLongestWord) return line;
  const auto beginning = [line](qsizetype units) {
    return utf16Prefix(line, static_cast<std::size_t>(units));
  };
  // An endless word has many pieces, so the search for its end must not read all of it each time.
  const QString word = toQString(beginning(2 * kLongestWord));
  QTextBoundaryFinder finder(QTextBoundaryFinder::Line, word);
  if (finder.toNextBoundary() > kLongestWord) return beginning(cutInWord(word, kLongestWord));
  const std::string_view piece = beginning(kLongestLine + 1);
  return beginning(cutBetweenWords(toQString(piece), piece.size() == line.size()));
}

// Bytes that are not UTF-8 may be cut anywhere.
std::string_view firstPieceOfBytes(std::string_view line) {
  const std::string_view piece = prefixOf(line, kLongestWord);
  return piece.empty() ? line.substr(0, kLongestWord) : piece;
}

void appendLine(TextLines& lines, std::string_view text, std::string_view type,
                bool endsWithNewline) {
  TextLine line{text, type, endsWithNewline};
  if (!lines.empty()) {
    const TextLine& before = lines.back();
    line.start = before.start + before.units + (before.endsWithNewline ? 1 : 0);
  }
  line.units = static_cast<std::size_t>(toQString(text).size());
  lines.push_back(line);
}

}  // namespace

void appendLines(TextLines& lines, std::string_view text, std::string_view type) {
  for (;;) {
    const std::size_t newline = text.find('\n');
    std::string_view line = text.substr(0, newline);
    const auto firstPiece = isValidUTF8(line) ? firstPieceOf : firstPieceOfBytes;
    std::string_view piece = firstPiece(line);
    for (; piece.size() < line.size(); piece = firstPiece(line)) {
      appendLine(lines, piece, type, false);
      line.remove_prefix(piece.size());
    }
    appendLine(lines, piece, type, true);
    if (newline == std::string_view::npos) return;
    text.remove_prefix(newline + 1);
  }
}

LongText LongText::ofLine(const TextLine& line) {
  LongText text;
  text.single_ = &line;
  text.count_ = 1;
  return text;
}

LongText LongText::ofLines(const TextLines& lines) {
  LongText text;
  text.lines_ = &lines;
  text.count_ = lines.size();
  return text;
}

const TextLine& LongText::line(std::size_t index) const {
  if (single_ != nullptr) return *single_;
  return (*lines_)[index];
}

bool LongText::continues(const LongText& other) const {
  return lines_ == other.lines_ && single_ == other.single_ && lineCount() >= other.lineCount();
}

std::size_t LongText::startOf(std::size_t index) const {
  if (index == 0) return 0;
  if (index < lineCount()) return line(index).start;
  const TextLine& last = line(index - 1);
  return startOf(index - 1) + last.units + (last.endsWithNewline ? 1 : 0);
}

std::size_t LongText::lineAt(std::size_t offset) const {
  std::size_t line = 0;
  for (std::size_t end = lineCount(); end - line > 1;) {
    const std::size_t middle = line + (end - line) / 2;
    (startOf(middle) <= offset ? line : end) = middle;
  }
  return line;
}

QString LongText::textBetween(std::size_t firstLine, qsizetype firstOffset, std::size_t lastLine,
                              qsizetype lastOffset) const {
  QString text;
  for (std::size_t index = firstLine; index <= lastLine && index < lineCount(); ++index) {
    QString whole = toQString(line(index).text);
    if (line(index).endsWithNewline) whole += QLatin1Char('\n');
    const qsizetype from = index == firstLine ? firstOffset : 0;
    if (index == lastLine) return text + whole.mid(from, lastOffset - from);
    text += whole.mid(from);
  }
  return text;
}

QString LongText::textBetween(std::size_t start, std::size_t end) const {
  if (isEmpty() || start >= end) return {};
  const std::size_t first = lineAt(start);
  const std::size_t last = lineAt(end);
  return textBetween(first, static_cast<qsizetype>(start - startOf(first)), last,
                     static_cast<qsizetype>(end - startOf(last)));
}

}  // namespace tolvane
