// SPDX-License-Identifier: MIT
#include "ui/AccessibleViews.h"

#include <QAbstractItemView>
#include <QAccessibleWidget>

#include "ui/LongTextView.h"
#include "ui/PopupButton.h"

namespace tolvane {

namespace {

// The view's text as a whole. It is put together when somebody asks, not for each message.
class AccessibleLongText : public QAccessibleWidget, public QAccessibleTextInterface {
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

  int characterCount() const override { return static_cast<int>(view_->toPlainText().size()); }
  QString text(int startOffset, int endOffset) const override {
    return view_->toPlainText().mid(startOffset, endOffset - startOffset);
  }
  QString text(QAccessible::Text kind) const override {
    if (kind == QAccessible::Value) return view_->toPlainText();
    return QAccessibleWidget::text(kind);
  }

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

 private:
  LongTextView* view_;
};

class AccessiblePopup : public QAccessibleWidget {
 public:
  explicit AccessiblePopup(PopupButton* popup)
      : QAccessibleWidget(popup, QAccessible::ComboBox), popup_(popup) {}

  QAccessible::State state() const override {
    QAccessible::State state = QAccessibleWidget::state();
    state.expandable = true;
    state.expanded = popup_->view()->isVisible();
    return state;
  }

  QString text(QAccessible::Text kind) const override {
    const bool choice = kind == QAccessible::Value || kind == QAccessible::Description;
    return choice ? popup_->currentText() : QAccessibleWidget::text(kind);
  }

  QStringList actionNames() const override { return {showMenuAction(), pressAction()}; }
  void doAction(const QString& /*name*/) override { popup_->showPopup(); }

 private:
  PopupButton* popup_;
};

// Asked for the object's class and then for each class that it derives from.
QAccessibleInterface* makeInterface(const QString& className, QObject* object) {
  if (className == QLatin1String("tolvane::LongTextView")) {
    return new AccessibleLongText(static_cast<LongTextView*>(object));
  }
  if (className == QLatin1String("tolvane::PopupButton")) {
    return new AccessiblePopup(static_cast<PopupButton*>(object));
  }
  return nullptr;
}

}  // namespace

void installAccessibleViews() {
  static const bool installed = [] {
    QAccessible::installFactory(makeInterface);
    return true;
  }();
  static_cast<void>(installed);
}

}  // namespace tolvane
