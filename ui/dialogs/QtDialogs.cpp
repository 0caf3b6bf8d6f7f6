// SPDX-License-Identifier: MIT
#include "ui/dialogs/QtDialogs.h"

#include <QApplication>
#include <QLabel>
#include <QPushButton>
#include <utility>

#include "ui/Strings.h"
#include "ui/dialogs/FolderDialog.h"

namespace tolvane {

namespace {

constexpr int kIconSide = 64;

// On each button: its place among the alert's buttons, whatever the style makes of their order.
constexpr const char* kIndexProperty = "alertButton";

}  // namespace

std::size_t answerOf(const QMessageBox& box, const Alert& alert) {
  for (std::size_t i = 0; i < alert.buttons.size(); ++i) {
    const auto* button = box.clickedButton();
    if (button != nullptr && button->property(kIndexProperty).toULongLong() == i) return i;
  }
  return alert.buttons.size() - 1;
}

void fillMessageBox(QMessageBox& box, const Alert& alert) {
  box.setText(toQString(alert.messageText));
  box.setInformativeText(toQString(alert.informativeText));
  // Both texts are labels of the box, and a label guesses at markup unless told otherwise.
  for (QLabel* label : box.findChildren<QLabel*>()) label->setTextFormat(Qt::PlainText);
  if (auto* const message = box.findChild<QLabel*>(QStringLiteral("qt_msgbox_label"))) {
    QFont bold = message->font();
    bold.setBold(true);
    message->setFont(bold);
  }
  box.setIconPixmap(QApplication::windowIcon().pixmap(kIconSide));
  QPushButton* last = nullptr;
  for (std::size_t i = 0; i < alert.buttons.size(); ++i) {
    // One role for all keeps the buttons in the order in which they are added.
    last = box.addButton(toQString(alert.buttons[i]), QMessageBox::AcceptRole);
    last->setObjectName(toQString(alert.buttons[i]));
    last->setProperty(kIndexProperty, static_cast<qulonglong>(i));
    if (box.defaultButton() == nullptr) box.setDefaultButton(last);
  }
  box.setEscapeButton(last);
}

void QtDialogs::beginAlert(QWidget* window, const Alert& alert, Answered answered) {
  auto* const box = new QMessageBox(window);
  box->setAttribute(Qt::WA_DeleteOnClose);
  fillMessageBox(*box, alert);
  QObject::connect(box, &QDialog::finished, box, [box, alert, answered = std::move(answered)] {
    answered(answerOf(*box, alert));
  });
  box->open();
}

void QtDialogs::beginFolderPanel(QWidget* window, const FolderPanel& panel, FolderChosen chosen) {
  openFolderDialog(window, panel, std::move(chosen));
}

}  // namespace tolvane
