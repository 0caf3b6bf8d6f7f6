// SPDX-License-Identifier: MIT
#pragma once

#include <QString>
#include <cstddef>
#include <deque>
#include <string_view>

namespace tolvane {

// A part of a text that is laid out by itself: a line, or a piece of a very long line.
struct TextLine {
  std::string_view text;
  std::string_view type;
  bool endsWithNewline = true;
  std::size_t start = 0;            // how many UTF-16 units are before it
  std::size_t units = text.size();  // and in it, without the newline; as of ASCII until counted
};

// Lines stay at their address when others are appended.
using TextLines = std::deque<TextLine>;

// Cuts the text into lines; the last one ends with a newline too. The texts outlive the lines.
void appendLines(TextLines& lines, std::string_view text, std::string_view type);

// A text of any length, as a view over lines, which outlive it. Making one takes constant time.
class LongText {
 public:
  LongText() = default;

  // A single line.
  static LongText ofLine(const TextLine& line);

  static LongText ofLines(const TextLines& lines);

  bool isEmpty() const { return lineCount() == 0; }
  std::size_t lineCount() const { return count_; }
  const TextLine& line(std::size_t index) const;

  // Whether this is the other with lines appended, so that positions in the other are valid here.
  bool continues(const LongText& other) const;

  // Offsets and lengths count UTF-16 units, newlines among them.
  std::size_t length() const { return startOf(lineCount()); }
  std::size_t startOf(std::size_t index) const;
  // The line that holds the offset; the last one for the end of the text.
  std::size_t lineAt(std::size_t offset) const;

  // The text from one place to another.
  QString textBetween(std::size_t firstLine, qsizetype firstOffset, std::size_t lastLine,
                      qsizetype lastOffset) const;
  QString textBetween(std::size_t start, std::size_t end) const;
  QString toPlainText() const { return textBetween(0, length()); }

 private:
  const TextLines* lines_ = nullptr;
  const TextLine* single_ = nullptr;
  std::size_t count_ = 0;
};

}  // namespace tolvane
