// SPDX-License-Identifier: MIT
#include <QDragEnterEvent>
#include <QDropEvent>
#include <QFile>
#include <QFileInfo>
#include <QMimeData>

#include "ui/ViewController.h"

// A folder dropped on the window is where the next folder panel begins.
namespace tolvane {

namespace {

// The one folder that is dragged; "" where it is anything else.
QString draggedFolder(const QMimeData& data) {
  const QList<QUrl> urls = data.urls();
  if (urls.size() != 1 || !urls.first().isLocalFile()) return {};
  const QString path = urls.first().toLocalFile();
  return QFileInfo(path).isDir() ? path : QString();
}

}  // namespace

// Whoever is told that a folder was moved may delete it.
void ViewController::dragEnterEvent(QDragEnterEvent* event) {
  if (draggedFolder(*event->mimeData()).isEmpty()) return;
  event->setDropAction(Qt::CopyAction);
  event->accept();
}

void ViewController::dropEvent(QDropEvent* event) {
  const QString folder = draggedFolder(*event->mimeData());
  if (folder.isEmpty()) return;
  offeredFolder_ = QFile::encodeName(folder).toStdString();
  event->setDropAction(Qt::CopyAction);
  event->accept();
}

}  // namespace tolvane
