// SPDX-License-Identifier: MIT
#include "ui/LongText.h"

#include "ui/Strings.h"

namespace tolvane {

namespace {

constexpr std::size_t kLongestLine = 1000;  // bytes

// Where a line that is too long is cut: after a blank where there is one not far back, and never
// within a character.
std::size_t cutOf(std::string_view line) {
  if (line.size() <= kLongestLine) return line.size();
  const std::size_t blank = line.rfind(' ', kLongestLine - 1);
  if (blank != std::string_view::npos && blank > kLongestLine / 2) return blank + 1;
  std::size_t cut = kLongestLine;
  while (cut > 1 && (static_cast<unsigned char>(line[cut]) & 0xC0) == 0x80) --cut;
  return cut;
}

}  // namespace

void appendLines(TextLines& lines, std::string_view text, std::string_view type) {
  for (;;) {
    const std::size_t newline = text.find('\n');
    std::string_view line = text.substr(0, newline);
    for (std::size_t cut = cutOf(line); cut < line.size(); cut = cutOf(line)) {
      lines.push_back({line.substr(0, cut), type, false});
      line.remove_prefix(cut);
    }
    lines.push_back({line, type, true});
    if (newline == std::string_view::npos) return;
    text.remove_prefix(newline + 1);
  }
}

LongText LongText::notice(const TextLine& line) {
  LongText text;
  text.notice_ = &line;
  text.count_ = 1;
  return text;
}

LongText LongText::ofLines(const TextLines& lines) {
  LongText text;
  text.lines_ = &lines;
  text.count_ = lines.size();
  return text;
}

LongText LongText::ofLinesOfType(const TextLines& lines, std::string_view type) {
  LongText text = ofLines(lines);
  text.filtered_ = true;
  std::uint32_t index = 0;
  for (const TextLine& line : lines) {
    if (line.type == type) text.kept_.push_back(index);
    ++index;
  }
  return text;
}

const TextLine& LongText::line(std::size_t index) const {
  if (notice_ != nullptr) return *notice_;
  return (*lines_)[filtered_ ? kept_[index] : index];
}

bool LongText::continues(const LongText& other) const {
  return lines_ == other.lines_ && notice_ == other.notice_ && filtered_ == other.filtered_ &&
         lineCount() >= other.lineCount();
}

QString LongText::textBetween(std::size_t firstLine, qsizetype firstOffset, std::size_t lastLine,
                              qsizetype lastOffset) const {
  QString text;
  for (std::size_t index = firstLine; index <= lastLine && index < lineCount(); ++index) {
    const QString whole = toQString(line(index).text);
    const qsizetype from = index == firstLine ? firstOffset : 0;
    if (index == lastLine) return text + whole.mid(from, lastOffset - from);
    text += whole.mid(from);
    if (line(index).endsWithNewline) text += QLatin1Char('\n');
  }
  return text;
}

QString LongText::toPlainText() const {
  QString text;
  for (std::size_t index = 0; index < lineCount(); ++index) {
    text += toQString(line(index).text);
    if (line(index).endsWithNewline) text += QLatin1Char('\n');
  }
  return text;
}

}  // namespace tolvane
