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

// Selecting text with mouse and keys, and copying it.
namespace tolvane {

namespace {

constexpr int kDragInterval = 50;  // milliseconds

int lengthOf(const QTextLayout& layout) {
  return static_cast<int>(layout.text().size());
}

}  // namespace

LongTextView::Position LongTextView::lastPosition() const {
  if (text_.isEmpty()) return {};
  const std::size_t line = text_.lineCount() - 1;
  return {line, lengthOf(layoutOf(line))};
}

// The line's upper edge in the viewport; for lines near the screen.
int LongTextView::topOf(std::size_t line) const {
  int y = -top_.pixelsAbove;
  for (std::size_t above = top_.line; above < line; ++above) y += heightOf(above);
  for (std::size_t below = top_.line; below > line; --below) y -= heightOf(below - 1);
  return y;
}

LongTextView::Position LongTextView::positionAt(QPoint point) const {
  if (text_.isEmpty()) return {};
  return positionIn(movedBy(top_, point.y()), point.x() - textInset().width());
}

// The position nearest to a point of a line, x being the distance from the text's left edge.
LongTextView::Position LongTextView::positionIn(Top point, double x) const {
  const QTextLayout& layout = layoutOf(point.line);
  const double y = point.pixelsAbove - insetAbove(point.line);
  QTextLine row = layout.lineAt(0);
  for (int i = 1; i < layout.lineCount() && layout.lineAt(i).y() <= y; ++i) row = layout.lineAt(i);
  return {point.line, row.isValid() ? row.xToCursor(x) : 0};
}

LongTextView::Position LongTextView::neighbourOf(Position position, int steps) const {
  const QTextLayout& layout = layoutOf(position.line);
  if (steps < 0) {
    if (position.offset > 0) return {position.line, layout.previousCursorPosition(position.offset)};
    return position.line == 0 ? position
                              : Position{position.line - 1, lengthOf(layoutOf(position.line - 1))};
  }
  if (position.offset < lengthOf(layout)) {
    return {position.line, layout.nextCursorPosition(position.offset)};
  }
  return position.line + 1 < text_.lineCount() ? Position{position.line + 1, 0} : position;
}

// The position so many rows of text further down, or up.
LongTextView::Position LongTextView::positionBelow(Position position, int rows) const {
  const QTextLine row = layoutOf(position.line).lineForTextPosition(position.offset);
  if (!row.isValid()) return position;
  const int rowHeight = std::max(1, static_cast<int>(row.height()));
  const int middle = insetAbove(position.line) + static_cast<int>(row.y()) + rowHeight / 2;
  return positionIn(movedBy({position.line, middle}, rows * rowHeight),
                    row.cursorToX(position.offset));
}

void LongTextView::select(Position anchor, Position cursor) {
  anchor_ = anchor;
  cursor_ = cursor;
  viewport()->update();
}

void LongTextView::moveCursor(Position position, bool keepAnchor) {
  select(keepAnchor ? anchor_ : position, position);
  showPosition(position);
}

void LongTextView::showPosition(Position position) {
  if (position.line > top_.line + static_cast<std::size_t>(viewHeight())) {
    top_ = {position.line, 0};  // far below: laying out all lines between would take too long
  } else if (position.line < top_.line) {
    top_ = {position.line, 0};
  }
  const QTextLine row = layoutOf(position.line).lineForTextPosition(position.offset);
  const int upper = topOf(position.line) + (row.isValid() ? static_cast<int>(row.y()) : 0);
  const int lower = upper + insetAbove(position.line) +
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
  const Position first = std::min(anchor_, cursor_);
  const Position last = std::max(anchor_, cursor_);
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
  const Position first = std::min(anchor_, cursor_);
  const Position last = std::max(anchor_, cursor_);
  return first == last ? QString()
                       : text_.textBetween(first.line, first.offset, last.line, last.offset);
}

void LongTextView::copy() {
  if (const QString text = selectedText(); !text.isEmpty())
    QApplication::clipboard()->setText(text);
}

void LongTextView::selectAll() {
  select(firstPosition(), lastPosition());
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
  const Position position = positionAt(event->position().toPoint());
  select(event->modifiers() & Qt::ShiftModifier ? anchor_ : position, position);
  selecting_ = true;
}

void LongTextView::mouseDoubleClickEvent(QMouseEvent* event) {
  if (event->button() != Qt::LeftButton || text_.isEmpty()) return;
  const Position position = positionAt(event->position().toPoint());
  const QTextLayout& layout = layoutOf(position.line);
  const int end = layout.nextCursorPosition(position.offset, QTextLayout::SkipWords);
  const int begin = layout.previousCursorPosition(end, QTextLayout::SkipWords);
  const QString word = layout.text().mid(begin, end - begin);
  select({position.line, begin}, {position.line, begin + static_cast<int>(word.trimmed().size())});
}

void LongTextView::mouseMoveEvent(QMouseEvent* event) {
  if (!selecting_) return;
  mouse_ = event->position().toPoint();
  select(anchor_, positionAt(mouse_));
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

// Scrolls while the mouse is held beyond an edge.
void LongTextView::timerEvent(QTimerEvent* event) {
  if (event->timerId() != dragTimer_.timerId()) return QAbstractScrollArea::timerEvent(event);
  const int beyond = mouse_.y() < 0 ? mouse_.y() : std::max(0, mouse_.y() - viewHeight());
  setTop(movedBy(top_, beyond));
  select(anchor_, positionAt(mouse_));
}

bool LongTextView::moveByKey(const QKeyEvent& event) {
  const bool shift = event.modifiers() & Qt::ShiftModifier;
  const bool whole = event.modifiers() & Qt::ControlModifier;
  const int rowsOnScreen = std::max(1, viewHeight() / std::max(1, fontMetrics().height()) - 1);
  const auto row = [this] { return layoutOf(cursor_.line).lineForTextPosition(cursor_.offset); };
  switch (event.key()) {
    case Qt::Key_Left:
      moveCursor(neighbourOf(cursor_, -1), shift);
      return true;
    case Qt::Key_Right:
      moveCursor(neighbourOf(cursor_, 1), shift);
      return true;
    case Qt::Key_Up:
      moveCursor(positionBelow(cursor_, -1), shift);
      return true;
    case Qt::Key_Down:
      moveCursor(positionBelow(cursor_, 1), shift);
      return true;
    case Qt::Key_PageUp:
      moveCursor(positionBelow(cursor_, -rowsOnScreen), shift);
      return true;
    case Qt::Key_PageDown:
      moveCursor(positionBelow(cursor_, rowsOnScreen), shift);
      return true;
    case Qt::Key_Home:
      moveCursor(whole ? firstPosition() : Position{cursor_.line, row().textStart()}, shift);
      return true;
    case Qt::Key_End:
      moveCursor(
          whole ? lastPosition() : Position{cursor_.line, row().textStart() + row().textLength()},
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
