// SPDX-License-Identifier: MIT
#include "ui/ConsoleText.h"

#include "ui/Strings.h"

namespace tolvane {

ConsoleText ConsoleText::notice(const ConsoleMessage& line) {
  ConsoleText text;
  text.notice_ = &line;
  text.count_ = 1;
  return text;
}

ConsoleText ConsoleText::ofMessages(const ConsoleMessages& messages, bool errorsOnly) {
  ConsoleText text;
  text.messages_ = &messages;
  text.count_ = messages.size();
  text.filtered_ = errorsOnly;
  if (!errorsOnly) return text;
  std::uint32_t index = 0;
  for (const ConsoleMessage& message : messages) {
    if (message.type == "error") text.kept_.push_back(index);
    ++index;
  }
  return text;
}

const ConsoleMessage& ConsoleText::line(std::size_t index) const {
  if (notice_ != nullptr) return *notice_;
  return (*messages_)[filtered_ ? kept_[index] : index];
}

bool ConsoleText::continues(const ConsoleText& other) const {
  return messages_ == other.messages_ && notice_ == other.notice_ && filtered_ == other.filtered_ &&
         lineCount() >= other.lineCount();
}

QString ConsoleText::textBetween(std::size_t firstLine, qsizetype firstOffset, std::size_t lastLine,
                                 qsizetype lastOffset) const {
  QString text;
  for (std::size_t index = firstLine; index <= lastLine && index < lineCount(); ++index) {
    const QString whole = toQString(line(index).message);
    const qsizetype from = index == firstLine ? firstOffset : 0;
    if (index == lastLine) return text + whole.mid(from, lastOffset - from);
    text += whole.mid(from) + QLatin1Char('\n');
  }
  return text;
}

QString ConsoleText::toPlainText() const {
  QString text;
  for (std::size_t index = 0; index < lineCount(); ++index) {
    text += toQString(line(index).message) + QLatin1Char('\n');
  }
  return text;
}

}  // namespace tolvane
