// SPDX-License-Identifier: MIT
#include "ui/dialogs/QtDialogs.h"

#include <QApplication>
#include <QDir>
#include <QFile>
#include <QFileDialog>
#include <QFileInfo>
#include <QLabel>
#include <QPushButton>
#include <QSettings>
#include <QStandardPaths>
#include <fcntl.h>
#include <unistd.h>
#include <utility>

#include "ui/Strings.h"

namespace tolvane {

namespace {

constexpr int kIconSide = 64;

// On each button: its index among the alert's buttons, since a style may reorder them.
constexpr const char* kIndexProperty = "alertButton";

QString lastFolderKey() {
  return QStringLiteral("folderPanel/lastFolder");
}

QString firstFolder(const FolderPanel& panel) {
  if (!panel.folder.empty()) return QFile::decodeName(panel.folder.c_str());
  const QString last = QSettings().value(lastFolderKey()).toString();
  if (QFileInfo(last).isDir()) return last;
  const QString downloads = QStandardPaths::writableLocation(QStandardPaths::DownloadLocation);
  return QFileInfo(downloads).isDir() ? downloads : QDir::homePath();
}

// A single ampersand in a button's title marks its mnemonic.
QString withoutMnemonic(QString title) {
  return title.replace(QLatin1Char('&'), QLatin1String("&&"));
}

std::shared_ptr<void> openedFolder(const QByteArray& path) {
  const int descriptor = ::open(path.constData(), O_RDONLY | O_DIRECTORY | O_CLOEXEC);
  if (descriptor < 0) return nullptr;
  return {new int(descriptor), [](int* opened) {
            ::close(*opened);
            delete opened;
          }};
}

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
  // Both texts are labels of the box, and by default a label guesses whether a text is markup.
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
  auto* const dialog = new QFileDialog(window, toQString(panel.message), firstFolder(panel));
  dialog->setAttribute(Qt::WA_DeleteOnClose);
  dialog->setObjectName(QStringLiteral("folderDialog"));
  dialog->setFileMode(QFileDialog::Directory);
  dialog->setOption(QFileDialog::ShowDirsOnly);
  dialog->setLabelText(QFileDialog::Accept, withoutMnemonic(toQString(panel.prompt)));
  QObject::connect(dialog, &QDialog::finished, dialog, [dialog, chosen = std::move(chosen)] {
    const QUrl url = dialog->selectedUrls().value(0);
    if (dialog->result() != QDialog::Accepted || !url.isLocalFile()) return chosen(std::nullopt);
    const QString path = url.toLocalFile();
    QSettings().setValue(lastFolderKey(), path);
    chosen(folderWithAccess(path));
  });
  dialog->open();
}

ChosenFolder folderWithAccess(const QString& path) {
  const QByteArray bytes = QFile::encodeName(path);
  return {bytes.toStdString(), openedFolder(bytes)};
}

}  // namespace tolvane
