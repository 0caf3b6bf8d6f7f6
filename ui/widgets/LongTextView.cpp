// SPDX-License-Identifier: MIT
#include "ui/widgets/LongTextView.h"

#include <QAccessible>
#include <QEvent>
#include <QPainter>
#include <QScopedValueRollback>
#include <QScrollBar>
#include <QTextOption>
#include <QWheelEvent>
#include <algorithm>
#include <cmath>
#include <set>
#include <utility>

#include "ui/Strings.h"
#include "ui/widgets/AccessibleLongText.h"

namespace tolvane {

namespace {

// Each line is this many steps of the scroll bar, so that a line taller than the view can be
// scrolled through.
constexpr int kStepsPerLine = 64;
constexpr std::size_t kMostLayouts = 256;

}  // namespace

LongTextView::LongTextView(QWidget* parent) : QAbstractScrollArea(parent) {
  installAccessibleLongText();
  setFrameShape(NoFrame);
  setHorizontalScrollBarPolicy(Qt::ScrollBarAlwaysOff);
  setFocusPolicy(Qt::StrongFocus);
  viewport()->setBackgroundRole(QPalette::Base);
  viewport()->setAutoFillBackground(true);
  viewport()->setCursor(Qt::IBeamCursor);
}

void LongTextView::setText(LongText text) {
  const bool continues = text.continues(text_);
  const std::size_t lengthBefore = text_.length();
  text_ = text;
  if (!continues) {
    forgetLayouts();
    top_ = {};
    scrollsToEnd_ = false;
    select({}, {});
  }
  updateScrollLater();
  emit textChanged();
  if (QAccessible::isActive()) announceText(lengthBefore, continues);
}

// Screen readers get only the new lines where the text continues the one before.
void LongTextView::announceText(std::size_t start, bool continues) {
  if (!continues) {
    QAccessibleEvent replaced(this, QAccessible::VisibleDataChanged);
    return QAccessible::updateAccessibility(&replaced);
  }
  if (start == text_.length()) return;
  QAccessibleTextInsertEvent inserted(this, static_cast<int>(start),
                                      text_.textBetween(start, text_.length()));
  QAccessible::updateAccessibility(&inserted);
}

void LongTextView::setPlainText(std::string text) {
  setText({});
  plainLines_.clear();
  plainText_ = std::move(text);
  appendLines(plainLines_, plainText_, {});
  plainLines_.back().endsWithNewline = false;
  setText(LongText::ofLines(plainLines_));
}

int LongTextView::viewHeight() const {
  return viewport()->height();
}

// The inset above the first line and below the last one belongs to their heights.
int LongTextView::insetAbove(std::size_t line) const {
  return line == 0 ? textInset().height() : 0;
}

int LongTextView::heightOf(std::size_t line) const {
  const int below = line + 1 == text_.lineCount() ? textInset().height() : 0;
  return insetAbove(line) + static_cast<int>(std::ceil(layoutOf(line).boundingRect().height())) +
         below;
}

const QTextLayout& LongTextView::layoutOf(std::size_t line) const {
  std::unique_ptr<QTextLayout>& layout = layouts_[&text_.line(line)];
  if (layout != nullptr) return *layout;
  layout = std::make_unique<QTextLayout>(toQString(text_.line(line).text), font(), viewport());
  QTextOption option;
  option.setWrapMode(QTextOption::WrapAtWordBoundaryOrAnywhere);
  layout->setTextOption(option);
  layout->setCacheEnabled(true);
  const double width = std::max(1, viewport()->width() - 2 * textInset().width());
  double height = 0;
  layout->beginLayout();
  for (QTextLine row = layout->createLine(); row.isValid(); row = layout->createLine()) {
    row.setLineWidth(width);
    row.setPosition({0, height});
    height += row.height();
  }
  layout->endLayout();
  return *layout;
}

void LongTextView::forgetLayouts() {
  layouts_.clear();
}

void LongTextView::forgetLayoutsOffScreen() {
  if (layouts_.size() <= kMostLayouts) return;
  std::set<const TextLine*> onScreen;
  int y = -top_.pixelsAbove;
  for (std::size_t line = top_.line; line < text_.lineCount() && y < viewHeight(); ++line) {
    onScreen.insert(&text_.line(line));
    y += heightOf(line);
  }
  std::erase_if(layouts_, [&](const auto& entry) { return !onScreen.contains(entry.first); });
}

// The top at which the last line ends at the lower edge of the view.
LongTextView::Top LongTextView::endTop() const {
  int room = viewHeight();
  for (std::size_t line = text_.lineCount(); line > 0; --line) {
    const int height = heightOf(line - 1);
    if (height >= room) return {line - 1, height - room};
    room -= height;
  }
  return {};
}

LongTextView::Top LongTextView::movedBy(Top top, int pixels) const {
  top.pixelsAbove += pixels;
  while (top.pixelsAbove < 0 && top.line > 0) top.pixelsAbove += heightOf(--top.line);
  while (top.line + 1 < text_.lineCount() && top.pixelsAbove >= heightOf(top.line)) {
    top.pixelsAbove -= heightOf(top.line++);
  }
  top.pixelsAbove = std::max(top.pixelsAbove, 0);
  return top;
}

void LongTextView::setTop(Top top) {
  top_ = std::min(top, endTop());
  updateScrollBar();
  viewport()->update();
}

void LongTextView::scrollToEnd() {
  scrollsToEnd_ = true;
  updateScrollLater();
}

bool LongTextView::isAtEnd() {
  updateScroll();
  return top_ == endTop();
}

void LongTextView::updateScrollLater() {
  isScrollCurrent_ = false;
  viewport()->update();
}

void LongTextView::updateScroll() {
  if (std::exchange(isScrollCurrent_, true)) return;
  if (std::exchange(scrollsToEnd_, false)) top_ = endTop();
  updateScrollBar();
}

void LongTextView::updateScrollBar() {
  forgetLayoutsOffScreen();
  const auto stepsOf = [this](const Top& top) {
    if (text_.isEmpty()) return 0;
    const int part = top.pixelsAbove * kStepsPerLine / std::max(1, heightOf(top.line));
    return static_cast<int>(top.line) * kStepsPerLine + part;
  };
  const QScopedValueRollback guard(settingBar_, true);
  const int end = stepsOf(endTop());
  verticalScrollBar()->setRange(0, end);
  verticalScrollBar()->setSingleStep(kStepsPerLine);
  verticalScrollBar()->setPageStep(
      std::max(kStepsPerLine, static_cast<int>(text_.lineCount()) * kStepsPerLine - end));
  verticalScrollBar()->setValue(stepsOf(top_));
}

// The user has moved the scroll bar. When the view moves it, the top is already known more exactly.
void LongTextView::scrollContentsBy(int /*dx*/, int dy) {
  if (settingBar_ || dy == 0) return;
  const int value = verticalScrollBar()->value();
  if (value == verticalScrollBar()->maximum()) {
    top_ = endTop();
  } else {
    top_.line = static_cast<std::size_t>(value / kStepsPerLine);
    top_.pixelsAbove = value % kStepsPerLine * heightOf(top_.line) / kStepsPerLine;
  }
  forgetLayoutsOffScreen();
  viewport()->update();
}

void LongTextView::wheelEvent(QWheelEvent* event) {
  constexpr int kPixelsPerNotch = 48;
  const int pixels = event->pixelDelta().isNull() ? event->angleDelta().y() * kPixelsPerNotch /
                                                        QWheelEvent::DefaultDeltasPerStep
                                                  : event->pixelDelta().y();
  setTop(movedBy(top_, -pixels));
  event->accept();
}

void LongTextView::resizeEvent(QResizeEvent* event) {
  QAbstractScrollArea::resizeEvent(event);
  layOutAgain();
}

void LongTextView::layOutAgain() {
  const bool atEnd = verticalScrollBar()->value() == verticalScrollBar()->maximum();
  forgetLayouts();
  setTop(atEnd ? endTop() : Top{top_.line, 0});
}

QColor LongTextView::colorOf(const TextLine& line) const {
  return lineColor_ == nullptr ? palette().color(QPalette::Text) : lineColor_(line.type, palette());
}

bool LongTextView::event(QEvent* event) {
  updateScroll();
  const bool handled = QAbstractScrollArea::event(event);
  if (event->type() == QEvent::FontChange) layOutAgain();
  return handled;
}

bool LongTextView::viewportEvent(QEvent* event) {
  updateScroll();
  return QAbstractScrollArea::viewportEvent(event);
}

void LongTextView::paintEvent(QPaintEvent* /*event*/) {
  QPainter painter(viewport());
  int y = -top_.pixelsAbove;
  for (std::size_t line = top_.line; line < text_.lineCount() && y < viewHeight(); ++line) {
    painter.setPen(colorOf(text_.line(line)));
    QList<QTextLayout::FormatRange> selections;
    if (const auto selection = selectionIn(line); selection.length > 0) selections << selection;
    layoutOf(line).draw(&painter, QPointF(textInset().width(), y + insetAbove(line)), selections,
                        QRectF(viewport()->rect()));
    y += heightOf(line);
  }
}

}  // namespace tolvane
