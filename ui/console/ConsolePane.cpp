// SPDX-License-Identifier: MIT
#include "ui/console/ConsolePane.h"

#include <QFontDatabase>
#include <ctime>
#include <fmt/chrono.h>

#include "ui/widgets/MakeControl.h"
#include "ui/widgets/SystemColors.h"

namespace tolvane {

namespace {

constexpr int kConsoleFontSize = 11;
constexpr int kErrorsOnlyItem = 1;
constexpr std::string_view kErrorType = "error";

constexpr TextLine kPlaceholder{"Console messages will appear here.", "info", false};
constexpr TextLine kNoMessages{"No console messages.", "info", true};

QFont consoleFont() {
  QFont font = QFontDatabase::systemFont(QFontDatabase::FixedFont);
  font.setPixelSize(kConsoleFontSize);
  font.setWeight(QFont::Normal);
  return font;
}

}  // namespace

ConsolePane::ConsolePane(QWidget* content) {
  ConsoleControls& c = controls_;
  c.consoleBox = makeControl<LineBox>("consoleBox", content);
  c.consoleTitleLabel = makeBoxTitle("consoleTitleLabel", "Console", c.consoleBox);
  c.consoleFilterPopup = makeControl<PopupButton>("consoleFilterPopup", c.consoleBox);
  c.consoleFilterPopup->addItems({QStringLiteral("All Messages"), QStringLiteral("Errors Only")});
  c.consoleFilterPopup->setAccessibleName(PopupButton::tr("Console filter"));
  c.consoleScrollView = makeScrollView("consoleScrollView", c.consoleBox);
  c.consoleTextView = makeControl<LongTextView>("consoleTextView", c.consoleScrollView);
  c.consoleTextView->setFont(consoleFont());
  c.consoleTextView->setLineColor(consoleColor);
  c.consoleTextView->setAccessibleName(LongTextView::tr("Console"));
  c.consoleTextView->setText(LongText::ofLine(kPlaceholder));
}

void ConsolePane::append(std::string_view text, std::string_view type) {
  messages_.push_back({fmt::format("[{:%H:%M:%S}] {}", fmt::localtime(std::time(nullptr)), text),
                       std::string(type)});
  const ConsoleMessage& message = messages_.back();
  appendLines(lines_, message.message, message.type);
  if (message.type == kErrorType) appendLines(errorLines_, message.message, message.type);
  refresh();
}

// A record never changes, so its lines are made once, when it comes. The text is a view over them:
// making it anew for each message costs next to nothing.
void ConsolePane::refresh() {
  const bool errorsOnly = controls_.consoleFilterPopup->currentIndex() == kErrorsOnlyItem;
  LongText text = LongText::ofLines(errorsOnly ? errorLines_ : lines_);
  if (text.isEmpty()) text = LongText::ofLine(kNoMessages);
  controls_.consoleTextView->setText(text);
  controls_.consoleTextView->scrollToEnd();
}

}  // namespace tolvane
