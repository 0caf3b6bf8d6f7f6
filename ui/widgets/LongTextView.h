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

// Shows a long text, wrapped, without editing: text can be selected with mouse and keys and copied.
// Only the lines on the screen are laid out, so replacing the text costs the same whatever its
// length.
class LongTextView : public QAbstractScrollArea {
  Q_OBJECT

 public:
  explicit LongTextView(QWidget* parent);

  // A selection stays where the new text continues the old one.
  void setText(LongText text);
  const LongText& text() const { return text_; }
  QString toPlainText() const { return text_.toPlainText(); }

  // A text of its own instead of lines that somebody else holds.
  void setPlainText(std::string text);

  // The colour of the lines of a type; without it, that of any text.
  using LineColor = QColor (*)(std::string_view type, const QPalette& palette);
  void setLineColor(LineColor color) { lineColor_ = color; }

  // Left and right of the text, above and below it.
  static QSize textInset() { return {8, 6}; }

  // Brings the end of the text into view.
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
  // A place in the text: a line, and how many UTF-16 units stand before it there.
  struct Place {
    std::size_t line = 0;
    int offset = 0;
    auto operator<=>(const Place&) const = default;  // NOLINT(modernize-use-nullptr): a false alarm
  };
  // A place in the picture: a line, and how many pixels of it are above.
  struct Top {
    std::size_t line = 0;
    int hidden = 0;
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
  // Measures what new text makes of the view once, before anybody sees or asks for it, however many
  // texts have come since: a busy run brings hundreds between two pictures.
  void settle();
  void settleLater();

  Place firstPlace() const { return {}; }
  Place lastPlace() const;
  Place placeAt(QPoint point) const;
  Place placeIn(Top point, double x) const;
  Place placeBeside(Place place, int steps) const;
  Place placeBelow(Place place, int rows) const;
  int topOf(std::size_t line) const;
  void moveCursor(Place place, bool keepAnchor);
  void showPlace(Place place);
  bool moveByKey(const QKeyEvent& event);
  void select(Place anchor, Place cursor);
  QTextLayout::FormatRange selectionIn(std::size_t line) const;

  LongText text_;
  std::string plainText_;
  TextLines plainLines_;  // of the plain text
  LineColor lineColor_ = nullptr;
  Top top_;
  bool isSettled_ = true;
  bool scrollsToEnd_ = false;
  Place anchor_;
  Place cursor_;
  bool selecting_ = false;
  bool settingBar_ = false;
  QPoint mouse_;
  QBasicTimer dragTimer_;

  // By line, since its place among the shown ones depends on the filter.
  mutable std::map<const TextLine*, std::unique_ptr<QTextLayout>> layouts_;
};

}  // namespace tolvane
