// SPDX-License-Identifier: MIT
#include "ui/widgets/PopupButton.h"

#include <QAbstractItemView>
#include <QAccessibleWidget>

namespace tolvane {

namespace {

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

QAccessibleInterface* makeInterface(const QString& className, QObject* object) {
  if (className != QLatin1String("tolvane::PopupButton")) return nullptr;
  return new AccessiblePopup(static_cast<PopupButton*>(object));
}

}  // namespace

PopupButton::PopupButton(QWidget* parent) : QComboBox(parent) {
  static const bool installed = (QAccessible::installFactory(makeInterface), true);
  static_cast<void>(installed);
}

}  // namespace tolvane
