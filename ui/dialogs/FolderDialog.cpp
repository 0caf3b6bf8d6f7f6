// SPDX-License-Identifier: MIT
#include "ui/dialogs/FolderDialog.h"

#include <QDir>
#include <QFile>
#include <QFileDialog>
#include <QFileInfo>
#include <QSettings>
#include <QStandardPaths>
#include <fcntl.h>
#include <unistd.h>
#include <utility>

#include "ui/Strings.h"

namespace tolvane {

namespace {

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

// An ampersand in a button's title stands for a key, unless there are two.
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

ChosenFolder folderWithAccess(const QString& path) {
  const QByteArray bytes = QFile::encodeName(path);
  return {bytes.toStdString(), openedFolder(bytes)};
}

void openFolderDialog(QWidget* window, const FolderPanel& panel, Dialogs::FolderChosen chosen) {
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

}  // namespace tolvane
