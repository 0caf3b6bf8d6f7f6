// SPDX-License-Identifier: MIT
#pragma once

#include <QAbstractScrollArea>
#include <QBasicTimer>
#include <QTextLayout>
#include <compare>
#include <map>
#include <memory>
#include <string>

#include "ui/widgets/LongText.h"

namespace tolvane {

// Shows a long text, wrapped and read-only; it can be selected with mouse and keys and copied. Only
// the lines on the screen are laid out, so the cost of replacing the text does not grow with its
// length.
//
// QPlainTextEdit does not serve: its document lays out a word of 128,000 letters in 2.7 s (one of
// 1 MB in 88 s) unless the word is cut into paragraphs, which then are in every copy, selection and
// answer to a screen reader; and its toPlainText() and copies turn no-break spaces into spaces.
// Undoing both takes the cut lines of LongText, the offsets and the accessibility that are here.
// A message appended to it takes 82 us, or 346 us with its painting, against 7 us and 300 us here.
class LongTextView : public QAbstractScrollArea {
  Q_OBJECT

 public:
  explicit LongTextView(QWidget* parent);

  // A selection stays where the new text continues the old one.
  void setText(LongText text);
  const LongText& text() const { return text_; }
  QString toPlainText() const { return text_.toPlainText(); }

  // A text that the view holds itself.
  void setPlainText(std::string text);

  // The colour of the lines of a type; without it, that of any text.
  using LineColor = QColor (*)(std::string_view type, const QPalette& palette);
  void setLineColor(LineColor color) { lineColor_ = color; }

  // Left and right of the text, above and below it.
  static QSize textInset() { return {8, 6}; }

  // Scrolls to the end of the text.
  void scrollToEnd();
  bool isAtEnd();

  QString selectedText() const;

 public slots:
  void copy();
  void selectAll();

 signals:
  void textChanged();

 protected:
  bool event(QEvent* event) override;
  bool viewportEvent(QEvent* event) override;
  void contextMenuEvent(QContextMenuEvent* event) override;
  void keyPressEvent(QKeyEvent* event) override;
  void mouseDoubleClickEvent(QMouseEvent* event) override;
  void mouseMoveEvent(QMouseEvent* event) override;
  void mousePressEvent(QMouseEvent* event) override;
  void mouseReleaseEvent(QMouseEvent* event) override;
  void paintEvent(QPaintEvent* event) override;
  void resizeEvent(QResizeEvent* event) override;
  void scrollContentsBy(int dx, int dy) override;
  void timerEvent(QTimerEvent* event) override;
  void wheelEvent(QWheelEvent* event) override;

 private:
  // A position in the text: a line, and an offset in it in UTF-16 units.
  struct Position {
    std::size_t line = 0;
    int offset = 0;
    auto operator<=>(const Position&) const =
        default;  // NOLINT(modernize-use-nullptr): a false alarm
  };
  // A scroll position: the line at the upper edge, and how many pixels of it are above the edge.
  struct Top {
    std::size_t line = 0;
    int pixelsAbove = 0;
    auto operator<=>(const Top&) const = default;  // NOLINT(modernize-use-nullptr): a false alarm
  };

  QColor colorOf(const TextLine& line) const;
  void announceText(std::size_t start, bool continues);
  int viewHeight() const;
  const QTextLayout& layoutOf(std::size_t line) const;
  int heightOf(std::size_t line) const;
  int insetAbove(std::size_t line) const;
  void forgetLayouts();
  void layOutAgain();
  void forgetLayoutsOffScreen();

  Top endTop() const;
  Top movedBy(Top top, int pixels) const;
  void setTop(Top top);
  void updateScrollBar();
  // Scroll bar and scroll position follow new text only before the next event: a busy run brings
  // hundreds of texts between two frames.
  void updateScroll();
  void updateScrollLater();

  Position firstPosition() const { return {}; }
  Position lastPosition() const;
  Position positionAt(QPoint point) const;
  Position positionIn(Top point, double x) const;
  Position neighbourOf(Position position, int steps) const;
  Position positionBelow(Position position, int rows) const;
  int topOf(std::size_t line) const;
  void moveCursor(Position position, bool keepAnchor);
  void showPosition(Position position);
  bool moveByKey(const QKeyEvent& event);
  void select(Position anchor, Position cursor);
  QTextLayout::FormatRange selectionIn(std::size_t line) const;

  LongText text_;
  std::string plainText_;
  TextLines plainLines_;  // of the plain text
  LineColor lineColor_ = nullptr;
  Top top_;
  bool isScrollCurrent_ = true;
  bool scrollsToEnd_ = false;
  Position anchor_;
  Position cursor_;
  bool selecting_ = false;
  bool settingBar_ = false;
  QPoint mouse_;
  QBasicTimer dragTimer_;

  // By line, since its index depends on the filter.
  mutable std::map<const TextLine*, std::unique_ptr<QTextLayout>> layouts_;
};

}  // namespace tolvane
