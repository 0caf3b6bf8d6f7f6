// SPDX-License-Identifier: MIT
#include <QApplication>
#include <QClipboard>
#include <QContextMenuEvent>
#include <QKeyEvent>
#include <QMenu>
#include <QMouseEvent>
#include <QTimerEvent>
#include <algorithm>
#include <cmath>

#include "ui/Strings.h"
#include "ui/widgets/LongTextView.h"

// Selecting in the console with mouse and keys, and copying.
namespace tolvane {

namespace {

constexpr int kDragInterval = 50;  // milliseconds

int lengthOf(const QTextLayout& layout) {
  return static_cast<int>(layout.text().size());
}

}  // namespace

LongTextView::Place LongTextView::lastPlace() const {
  if (text_.isEmpty()) return {};
  const std::size_t line = text_.lineCount() - 1;
  return {line, lengthOf(layoutOf(line))};
}

// The line's upper edge in the viewport; for lines near the screen.
int LongTextView::topOf(std::size_t line) const {
  int y = -top_.hidden;
  for (std::size_t above = top_.line; above < line; ++above) y += heightOf(above);
  for (std::size_t below = top_.line; below > line; --below) y -= heightOf(below - 1);
  return y;
}

LongTextView::Place LongTextView::placeAt(QPoint point) const {
  if (text_.isEmpty()) return {};
  return placeIn(movedBy(top_, point.y()), point.x() - textInset().width());
}

// The place that is nearest to a point of a line, x being the distance from the text's left edge.
LongTextView::Place LongTextView::placeIn(Top point, double x) const {
  const QTextLayout& layout = layoutOf(point.line);
  const double y = point.hidden - insetAbove(point.line);
  QTextLine row = layout.lineAt(0);
  for (int i = 1; i < layout.lineCount() && layout.lineAt(i).y() <= y; ++i) row = layout.lineAt(i);
  return {point.line, row.isValid() ? row.xToCursor(x) : 0};
}

LongTextView::Place LongTextView::placeBeside(Place place, int steps) const {
  const QTextLayout& layout = layoutOf(place.line);
  if (steps < 0) {
    if (place.offset > 0) return {place.line, layout.previousCursorPosition(place.offset)};
    return place.line == 0 ? place : Place{place.line - 1, lengthOf(layoutOf(place.line - 1))};
  }
  if (place.offset < lengthOf(layout)) {
    return {place.line, layout.nextCursorPosition(place.offset)};
  }
  return place.line + 1 < text_.lineCount() ? Place{place.line + 1, 0} : place;
}

// The place so many rows of text further down, or up.
LongTextView::Place LongTextView::placeBelow(Place place, int rows) const {
  const QTextLine row = layoutOf(place.line).lineForTextPosition(place.offset);
  if (!row.isValid()) return place;
  const int rowHeight = std::max(1, static_cast<int>(row.height()));
  const int middle = insetAbove(place.line) + static_cast<int>(row.y()) + rowHeight / 2;
  return placeIn(movedBy({place.line, middle}, rows * rowHeight), row.cursorToX(place.offset));
}

void LongTextView::select(Place anchor, Place cursor) {
  anchor_ = anchor;
  cursor_ = cursor;
  viewport()->update();
}

void LongTextView::moveCursor(Place place, bool keepAnchor) {
  select(keepAnchor ? anchor_ : place, place);
  showPlace(place);
}

void LongTextView::showPlace(Place place) {
  if (place.line > top_.line + static_cast<std::size_t>(viewHeight())) {
    top_ = {place.line, 0};  // far below: no need to measure all that is between
  } else if (place.line < top_.line) {
    top_ = {place.line, 0};
  }
  const QTextLine row = layoutOf(place.line).lineForTextPosition(place.offset);
  const int upper = topOf(place.line) + (row.isValid() ? static_cast<int>(row.y()) : 0);
  const int lower = upper + insetAbove(place.line) +
                    (row.isValid() ? static_cast<int>(std::ceil(row.height())) : 0);
  if (upper < 0) {
    setTop(movedBy(top_, upper));
  } else if (lower > viewHeight()) {
    setTop(movedBy(top_, lower - viewHeight()));
  } else {
    setTop(top_);
  }
}

QTextLayout::FormatRange LongTextView::selectionIn(std::size_t line) const {
  const Place first = std::min(anchor_, cursor_);
  const Place last = std::max(anchor_, cursor_);
  QTextLayout::FormatRange range;
  range.start = 0;
  range.length = 0;
  if (line < first.line || line > last.line) return range;
  range.start = line == first.line ? first.offset : 0;
  range.length = (line == last.line ? last.offset : lengthOf(layoutOf(line))) - range.start;
  const auto group = hasFocus() ? QPalette::Active : QPalette::Inactive;
  range.format.setBackground(palette().brush(group, QPalette::Highlight));
  range.format.setForeground(palette().brush(group, QPalette::HighlightedText));
  return range;
}

QString LongTextView::selectedText() const {
  const Place first = std::min(anchor_, cursor_);
  const Place last = std::max(anchor_, cursor_);
  return first == last ? QString()
                       : text_.textBetween(first.line, first.offset, last.line, last.offset);
}

void LongTextView::copy() {
  if (const QString text = selectedText(); !text.isEmpty())
    QApplication::clipboard()->setText(text);
}

void LongTextView::selectAll() {
  select(firstPlace(), lastPlace());
}

void LongTextView::contextMenuEvent(QContextMenuEvent* event) {
  QMenu menu(this);
  QAction* const copyAction = menu.addAction(tr("Copy"), this, &LongTextView::copy);
  copyAction->setEnabled(!selectedText().isEmpty());
  menu.addAction(tr("Select All"), this, &LongTextView::selectAll);
  menu.exec(event->globalPos());
}

void LongTextView::mousePressEvent(QMouseEvent* event) {
  if (event->button() != Qt::LeftButton) return;
  const Place place = placeAt(event->position().toPoint());
  select(event->modifiers() & Qt::ShiftModifier ? anchor_ : place, place);
  selecting_ = true;
}

void LongTextView::mouseDoubleClickEvent(QMouseEvent* event) {
  if (event->button() != Qt::LeftButton || text_.isEmpty()) return;
  const Place place = placeAt(event->position().toPoint());
  const QTextLayout& layout = layoutOf(place.line);
  const int end = layout.nextCursorPosition(place.offset, QTextLayout::SkipWords);
  const int begin = layout.previousCursorPosition(end, QTextLayout::SkipWords);
  const QString word = layout.text().mid(begin, end - begin);
  select({place.line, begin}, {place.line, begin + static_cast<int>(word.trimmed().size())});
}

void LongTextView::mouseMoveEvent(QMouseEvent* event) {
  if (!selecting_) return;
  mouse_ = event->position().toPoint();
  select(anchor_, placeAt(mouse_));
  if (viewport()->rect().contains(mouse_)) {
    dragTimer_.stop();
  } else if (!dragTimer_.isActive()) {
    dragTimer_.start(kDragInterval, this);
  }
}

void LongTextView::mouseReleaseEvent(QMouseEvent* event) {
  if (event->button() != Qt::LeftButton) return;
  selecting_ = false;
  dragTimer_.stop();
  if (QClipboard* const clipboard = QApplication::clipboard();
      clipboard->supportsSelection() && !selectedText().isEmpty()) {
    clipboard->setText(selectedText(), QClipboard::Selection);
  }
}

// The mouse is held beyond an edge: the text moves under it.
void LongTextView::timerEvent(QTimerEvent* event) {
  if (event->timerId() != dragTimer_.timerId()) return QAbstractScrollArea::timerEvent(event);
  const int beyond = mouse_.y() < 0 ? mouse_.y() : std::max(0, mouse_.y() - viewHeight());
  setTop(movedBy(top_, beyond));
  select(anchor_, placeAt(mouse_));
}

bool LongTextView::moveByKey(const QKeyEvent& event) {
  const bool shift = event.modifiers() & Qt::ShiftModifier;
  const bool whole = event.modifiers() & Qt::ControlModifier;
  const int rowsOnScreen = std::max(1, viewHeight() / std::max(1, fontMetrics().height()) - 1);
  const auto row = [this] { return layoutOf(cursor_.line).lineForTextPosition(cursor_.offset); };
  switch (event.key()) {
    case Qt::Key_Left:
      moveCursor(placeBeside(cursor_, -1), shift);
      return true;
    case Qt::Key_Right:
      moveCursor(placeBeside(cursor_, 1), shift);
      return true;
    case Qt::Key_Up:
      moveCursor(placeBelow(cursor_, -1), shift);
      return true;
    case Qt::Key_Down:
      moveCursor(placeBelow(cursor_, 1), shift);
      return true;
    case Qt::Key_PageUp:
      moveCursor(placeBelow(cursor_, -rowsOnScreen), shift);
      return true;
    case Qt::Key_PageDown:
      moveCursor(placeBelow(cursor_, rowsOnScreen), shift);
      return true;
    case Qt::Key_Home:
      moveCursor(whole ? firstPlace() : Place{cursor_.line, row().textStart()}, shift);
      return true;
    case Qt::Key_End:
      moveCursor(whole ? lastPlace() : Place{cursor_.line, row().textStart() + row().textLength()},
                 shift);
      return true;
    default:
      return false;
  }
}

void LongTextView::keyPressEvent(QKeyEvent* event) {
  if (event->matches(QKeySequence::Copy)) return copy();
  if (event->matches(QKeySequence::SelectAll)) return selectAll();
  if (text_.isEmpty() || !moveByKey(*event)) QAbstractScrollArea::keyPressEvent(event);
}

}  // namespace tolvane
