// SPDX-License-Identifier: MIT
#include "ui/ViewController.h"

#include <QApplication>
#include <QClipboard>
#include <QDragEnterEvent>
#include <QDropEvent>
#include <QEvent>
#include <QFile>
#include <QFileInfo>
#include <QMimeData>
#include <QTimer>
#include <chrono>
#include <fmt/format.h>
#include <utility>

#include "base/SystemLog.h"
#include "model/CrawlerLogger.h"
#include "ui/Strings.h"
#include "ui/packages/PackageTexts.h"

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

ViewController::ViewController(MainQueue& mainQueue, Dialogs& dialogs,
                               const HTTPClientFactory& clientFactory, QWidget* parent)
    : QWidget(parent), mainQueue_(mainQueue), dialogs_(dialogs) {
  setAcceptDrops(true);
  viewDidLoad(clientFactory);
}

ViewController::~ViewController() {
  logToken_.reset();
  // The controls show what the panes hold, so they are destroyed first, and without signals.
  for (QWidget* const control : findChildren<QWidget*>()) control->disconnect(this);
  qDeleteAll(findChildren<QWidget*>(QString(), Qt::FindDirectChildrenOnly));
}

void ViewController::viewDidLoad(const HTTPClientFactory& clientFactory) {
  SystemLog::write("[UI] viewDidLoad");
  logToken_ = observeCrawlerLog(crawlerLoggerDidLogMessage());
  makeWorkflows(clientFactory);
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
    fitTitles();
    layoutCrawlerViews();
  }
}

// A dropped folder is where the next folder panel begins. The action is Copy: after Move, the
// program that the folder was dragged from may delete it.
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

void ViewController::addColumnWithIdentifier(std::string_view identifier, std::string_view title,
                                             int width) {
  packagesPane_->addColumn(identifier, title, width);
}

void ViewController::tableViewSelectionDidChange() {
  if (const PackageEntry* package = packagesPane_->highlightedPackage()) {
    showDetailsForPackage(*package);
  } else {
    detailsPane_->showNoPackage();
  }
}

void ViewController::tableViewDoubleClicked(int row) {
  if (const auto* package = packagesPane_->packageAt(row)) showDetailsForPackage(*package);
}

void ViewController::showDetailsForPackage(const PackageEntry& package) {
  detailsPane_->showPackage(package);
}

void ViewController::copyDetails(int row) {
  if (const auto* package = packagesPane_->packageAt(row)) {
    QApplication::clipboard()->setText(toQString(detailsText(*package)));
  }
}

void ViewController::applySearchFilter() {
  packagesPane_->search();
  enableControls(Change::searched);
  showStatus(fmt::format("Showing {} of {} packages.", packages().size(), allPackages().size()));
  updateStatsLabel();
  detailsPane_->showNoPackage();
}

std::function<void(const CrawlerMessage&)> ViewController::crawlerLoggerDidLogMessage() {
  auto append =
      lifetime_.guardOn(mainQueue_, [this](const std::string& text, const std::string& type) {
        appendConsoleMessage(text, type);
      });
  return [append = std::move(append)](const CrawlerMessage& message) {
    append(std::string(message.text), std::string(message.typeText));
  };
}

void ViewController::appendConsoleMessage(std::optional<std::string_view> text,
                                          std::optional<std::string_view> type) {
  if (text) consolePane_->append(*text, type.value_or("info"));
}

void ViewController::showIndeterminateProgress() {
  controls_.progressIndicator->showIndeterminate();
}

void ViewController::showDeterminateProgressWithCompleted(std::uint64_t completed,
                                                          std::uint64_t total) {
  const double part = total == 0 ? 0 : static_cast<double>(completed) / static_cast<double>(total);
  controls_.progressIndicator->showValue(part * 100);
}

void ViewController::showCompletedProgressSuccess(bool /*success*/) {
  controls_.progressIndicator->showValue(controls_.progressIndicator->maxValue());
}

void ViewController::hideProgressIndicator() {
  controls_.progressIndicator->hideAndReset();
}

void ViewController::hideProgressIndicatorAfterDelay(double seconds) {
  const auto delay =
      std::chrono::duration_cast<std::chrono::milliseconds>(std::chrono::duration<double>(seconds));
  // By default a timer of two seconds or more may fire a twentieth too early.
  QTimer::singleShot(delay, Qt::PreciseTimer, this, &ViewController::hideProgressIndicator);
}

}  // namespace tolvane
