// SPDX-License-Identifier: MIT
#include "ui/widgets/AccessibleLongText.h"

#include <QAbstractItemView>
#include <QAccessibleWidget>
#include <algorithm>
#include <utility>

#include "ui/widgets/LongTextView.h"

namespace tolvane {

namespace {

// A read-only text without a cursor.
class ReadOnlyText : public QAccessibleTextInterface {
 public:
  int selectionCount() const override { return 0; }
  void selection(int, int* startOffset, int* endOffset) const override {
    *startOffset = *endOffset = 0;
  }
  void addSelection(int, int) override {}
  void removeSelection(int) override {}
  void setSelection(int, int, int) override {}
  int cursorPosition() const override { return 0; }
  void setCursorPosition(int) override {}
  QRect characterRect(int) const override { return {}; }
  int offsetAtPoint(const QPoint&) const override { return -1; }
  void scrollToSubstring(int, int) override {}
  QString attributes(int, int* startOffset, int* endOffset) const override {
    *startOffset = 0;
    *endOffset = characterCount();
    return {};
  }
};

// Some lines of a text.
class Excerpt : public ReadOnlyText {
 public:
  explicit Excerpt(QString text) : text_(std::move(text)) {}

  int characterCount() const override { return static_cast<int>(text_.size()); }
  QString text(int startOffset, int endOffset) const override {
    return text_.mid(startOffset, endOffset - startOffset);
  }

 private:
  QString text_;
};

// The view's text. Only the requested part is joined from its lines.
class AccessibleLongText : public QAccessibleWidget, public ReadOnlyText {
 public:
  explicit AccessibleLongText(LongTextView* view)
      : QAccessibleWidget(view, QAccessible::EditableText), view_(view) {}

  QAccessible::State state() const override {
    QAccessible::State state = QAccessibleWidget::state();
    state.readOnly = true;
    state.multiLine = true;
    return state;
  }

  void* interface_cast(QAccessible::InterfaceType type) override {
    if (type == QAccessible::TextInterface) return static_cast<QAccessibleTextInterface*>(this);
    return QAccessibleWidget::interface_cast(type);
  }

  int characterCount() const override { return static_cast<int>(view_->text().length()); }
  QString text(int startOffset, int endOffset) const override {
    const int end = std::min(endOffset < 0 ? characterCount() : endOffset, characterCount());
    return view_->text().textBetween(static_cast<std::size_t>(std::max(startOffset, 0)),
                                     static_cast<std::size_t>(end));
  }
  QString text(QAccessible::Text kind) const override {
    if (kind == QAccessible::Value) return view_->toPlainText();
    return QAccessibleWidget::text(kind);
  }

  QString textBeforeOffset(int offset, QAccessible::TextBoundaryType type, int* startOffset,
                           int* endOffset) const override {
    return searchNear(&Excerpt::textBeforeOffset, offset, type, startOffset, endOffset);
  }
  QString textAtOffset(int offset, QAccessible::TextBoundaryType type, int* startOffset,
                       int* endOffset) const override {
    return searchNear(&Excerpt::textAtOffset, offset, type, startOffset, endOffset);
  }
  QString textAfterOffset(int offset, QAccessible::TextBoundaryType type, int* startOffset,
                          int* endOffset) const override {
    return searchNear(&Excerpt::textAfterOffset, offset, type, startOffset, endOffset);
  }

 private:
  using Search = QString (Excerpt::*)(int, QAccessible::TextBoundaryType, int*, int*) const;

  // Looks for words and lines in the line and its neighbours; QAccessibleTextInterface would read
  // the whole text each time.
  QString searchNear(Search search, int offset, QAccessible::TextBoundaryType type,
                     int* startOffset, int* endOffset) const {
    const LongText& text = view_->text();
    const bool whole = type == QAccessible::NoBoundary || text.isEmpty();
    const std::size_t place = offset < 0 ? text.length() : static_cast<std::size_t>(offset);
    const std::size_t line = whole ? 0 : text.lineAt(place);
    const std::size_t start = whole ? 0 : text.startOf(line - std::min<std::size_t>(line, 1));
    const std::size_t end =
        whole ? text.length() : text.startOf(std::min(line + 2, text.lineCount()));
    const Excerpt excerpt(text.textBetween(start, end));
    const QString found =
        (excerpt.*search)(static_cast<int>(place - start), type, startOffset, endOffset);
    if (*startOffset >= 0) *startOffset += static_cast<int>(start);
    if (*endOffset >= 0) *endOffset += static_cast<int>(start);
    return found;
  }

  LongTextView* view_;
};

QAccessibleInterface* makeInterface(const QString& className, QObject* object) {
  if (className != QLatin1String("tolvane::LongTextView")) return nullptr;
  return new AccessibleLongText(static_cast<LongTextView*>(object));
}

}  // namespace

void installAccessibleLongText() {
  static const bool installed = (QAccessible::installFactory(makeInterface), true);
  static_cast<void>(installed);
}

}  // namespace tolvane
