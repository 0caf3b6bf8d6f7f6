// SPDX-License-Identifier: MIT
#include "ui/ViewController.h"

#include <QEvent>
#include <utility>

#include "archive_client/CentralArchiveClient.h"
#include "archive_client/CentralArchiveConfiguration.h"
#include "base/SystemLog.h"

namespace tolvane {

ViewController::ViewController(MainQueue& mainQueue, Dialogs& dialogs,
                               const HTTPClientFactory& clientFactory, QWidget* parent)
    : QWidget(parent), mainQueue_(mainQueue), dialogs_(dialogs) {
  setAcceptDrops(true);
  viewDidLoad(clientFactory);
}

ViewController::~ViewController() {
  logToken_.reset();
  // The controls read the controller's lists, so they go first, and quietly.
  for (QWidget* const control : findChildren<QWidget*>()) control->disconnect(this);
  qDeleteAll(findChildren<QWidget*>(QString(), Qt::FindDirectChildrenOnly));
}

void ViewController::viewDidLoad(const HTTPClientFactory& clientFactory) {
  SystemLog::write("[UI] viewDidLoad");
  logToken_ = observeCrawlerLog(crawlerLoggerDidLogMessage());
  fetcher_ = std::make_unique<RepositoryFetcher>(clientFactory);
  queueManager_ = std::make_unique<DownloadQueueManager>(mainQueue_, clientFactory);
  metadataArchiver_ = std::make_unique<RepositoryMetadataArchiver>(mainQueue_, clientFactory);
  centralArchiveClient_ = std::make_unique<CentralArchiveClient>(
      std::string(centralArchiveBaseURL()), centralArchiveAPISecret(), clientFactory);
  buildInterface();
  updateMinimumWindowSize();
}

void ViewController::viewDidLayout() {
  layoutCrawlerViews();
  updateMinimumWindowSize();
}

void ViewController::resizeEvent(QResizeEvent* event) {
  QWidget::resizeEvent(event);
  viewDidLayout();
}

void ViewController::showEvent(QShowEvent* event) {
  QWidget::showEvent(event);
  viewDidLayout();
}

void ViewController::changeEvent(QEvent* event) {
  QWidget::changeEvent(event);
  const QEvent::Type type = event->type();
  const bool fontsMayDiffer = type == QEvent::FontChange || type == QEvent::StyleChange;
  if (fontsMayDiffer && controls_.detailBox != nullptr) {
    fitTitles(controls_);
    layoutCrawlerViews();
  }
}

void ViewController::archiveMetadataInfoButtonClicked() {
  dialogs_.beginAlert(
      window(),
      {"Archive repository metadata",
       "When enabled, the crawler also tries to save repository index files such as Packages, "
       "Packages.gz, Release, InRelease, Release.gpg, and CydiaIcon.png next to the downloaded "
       ".deb files.\n\nFor most normal package downloads this is not required. Enable it only if "
       "you want a more complete long-term archive or mirror of the repository.",
       {"OK"}},
      [](std::size_t) {});
}

}  // namespace tolvane
