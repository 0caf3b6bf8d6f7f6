// SPDX-License-Identifier: MIT
#pragma once

#include <QSize>
#include <QWidget>
#include <cstdint>
#include <functional>
#include <memory>
#include <optional>
#include <string>
#include <string_view>
#include <utility>
#include <vector>

#include "archive_client/CentralArchiveClient.h"
#include "archive_client/CentralArchiveConfiguration.h"
#include "async/Lifetime.h"
#include "async/MainQueue.h"
#include "base/NotificationCenter.h"
#include "base/URL.h"
#include "download/DownloadQueueManager.h"
#include "download/RepositoryMetadataArchiver.h"
#include "http/HTTPClient.h"
#include "model/CrawlerLogger.h"
#include "model/PackageEntry.h"
#include "repository/RepositoryFetcher.h"
#include "ui/MainWindowControls.h"
#include "ui/dialogs/Dialogs.h"
#include "workflow/ArchiveWorkflow.h"
#include "workflow/DownloadWorkflow.h"
#include "workflow/FetchWorkflow.h"
#include "workflow/WorkflowObserver.h"

namespace tolvane {

// The content of the main window: four panes, the loaded repository, and what the controls do. All
// of it belongs to the main thread, except what observes the log bus, which runs on any thread.
class ViewController : public QWidget, private WorkflowObserver {
  Q_OBJECT

 public:
  using PackageList = std::vector<PackageEntry>;

  // The main queue and the dialogs outlive the controller.
  ViewController(MainQueue& mainQueue, Dialogs& dialogs,
                 const HTTPClientFactory& clientFactory = makeHTTPClient,
                 QWidget* parent = nullptr);
  ~ViewController() override;

  const MainWindowControls& controls() const { return controls_; }
  const MainWindowActions& actions() const { return actions_; }
  const PackageList& packages() const { return packagesPane_->rows(); }
  const PackageList& allPackages() const { return packagesPane_->allPackages(); }
  const TickedPackages& selectedPackageKeys() const { return packagesPane_->tickedPackages(); }
  const ConsoleMessages& consoleMessages() const { return consolePane_->messages(); }
  const std::optional<URL>& currentRepositoryURL() const { return currentRepositoryURL_; }
  // Of the last check that succeeded, as the central archive sent them.
  const MissingPackages& lastMissingArchivePackages() const { return archive_->lastMissing(); }
  RepositoryFetcher& fetcher() const { return *fetcher_; }
  RepositoryMetadataArchiver& metadataArchiver() const { return *metadataArchiver_; }
  CentralArchiveClient& centralArchiveClient() const { return *centralArchiveClient_; }
  DownloadQueueManager& queueManager() const { return *queueManager_; }

  // As the program's configuration has it now; "" where it has none.
  static std::string centralArchiveAPISecret() { return tolvane::centralArchiveAPISecret(); }
  static bool centralArchiveIsConfigured() { return !centralArchiveAPISecret().empty(); }

  // Layout.
  void layoutCrawlerViews();
  static QSize minimumWindowSizeForCurrentLayout() { return {1030, 614}; }
  void updateMinimumWindowSize();
  void archiveMetadataInfoButtonClicked();

  // Table.
  void addColumnWithIdentifier(std::string_view identifier, std::string_view title, int width);
  int numberOfRowsInTableView() const { return static_cast<int>(packages().size()); }
  int heightOfRow(int row) const { return packagesPane_->heightOfRow(row); }
  void sortDescriptorsDidChange() { packagesPane_->sort(); }
  void tableViewSelectionDidChange();
  void tableViewDoubleClicked(int row);
  void showDetailsForPackage(const PackageEntry& package);
  void packageCheckboxClicked(int row, bool on) { packagesPane_->setTicked(row, on); }
  void selectAllButtonClicked() { packagesPane_->tickAllOrNone(); }
  PackageList selectedPackages() const { return packagesPane_->tickedRows(); }

  // Search.
  void searchFieldChanged() { applySearchFilter(); }
  void applySearchFilter();
  void updateStatsLabel() { packagesPane_->updateStatistics(); }

  // Console. The observer of the log bus runs on any thread, perhaps after the controller was
  // destroyed; it posts each message to the main queue. An absent text does nothing; an absent type
  // is "info".
  std::function<void(const CrawlerMessage&)> crawlerLoggerDidLogMessage();
  void appendConsoleMessage(std::optional<std::string_view> text,
                            std::optional<std::string_view> type);
  void consoleFilterChanged() { refreshConsoleView(); }
  void refreshConsoleView() { consolePane_->refresh(); }

  // Progress.
  void showIndeterminateProgress();
  void showDeterminateProgressWithCompleted(std::uint64_t completed, std::uint64_t total);
  // The flag does not matter: that packages failed is reported in words.
  void showCompletedProgressSuccess(bool success);
  void hideProgressIndicator();
  // Hides whatever the bar shows by then; cannot be taken back.
  void hideProgressIndicatorAfterDelay(double seconds);

  // Fetch.
  void fetchButtonClicked();
  void fetchRepositoryURL(const URL& url, bool allowHTTPFallback);
  void loadPackagesIntoUI(PackageList packages, const std::optional<URL>& repositoryURL);
  void clearRepositoryStateWithStatus(std::string_view status);
  static std::optional<URL> HTTPURLFromHTTPSURL(const URL& url) {
    return FetchWorkflow::HTTPURLFromHTTPSURL(url);
  }
  void askToRetryWithHTTPURL(const URL& httpURL, const Error& originalError);

  // Download.
  void downloadSelectedButtonClicked();
  void downloadMissingButtonClicked();
  void chooseFolderThenDownloadPackages(PackageList packages);
  void cancelDownloadsButtonClicked();
  void showDownloadErrorAlertWithMessage(const std::optional<std::string>& message);
  static std::string filesystemSafeString(std::string_view text);

  // Archive.
  void checkCentralArchiveButtonClicked() { archive_->check(); }
  void startArchiveMissingPackagesWorkflow() { archive_->requestToken(); }
  PackageList packagesForMissingArchiveEntries() const { return archive_->matchedPackages(); }
  static std::string centralArchiveTemporaryFolder() { return ArchiveWorkflow::cacheFolder(); }
  void beginArchiveUploadWorkflow() { archive_->begin(); }
  void uploadArchivedPackages(ArchiveWorkflow::Uploads uploads) {
    archive_->upload(std::move(uploads));
  }

 protected:
  void changeEvent(QEvent* event) override;
  void dragEnterEvent(QDragEnterEvent* event) override;
  void dropEvent(QDropEvent* event) override;
  bool eventFilter(QObject* watched, QEvent* event) override;
  void resizeEvent(QResizeEvent* event) override;
  void showEvent(QShowEvent* event) override;

 private:
  void viewDidLoad(const HTTPClientFactory& clientFactory);
  void viewDidLayout();

  void buildInterface();
  void connectControls();
  void buildActions();
  void fitTitles();
  void copyDetails(int row);

  // What has happened that enables or disables controls.
  enum class Change {
    fetchBegan,
    fetchEnded,
    repositoryChanged,  // loaded or cleared
    searched,
    runBegan,  // of downloads
    runEnded,
    archiveRunBegan,  // of downloads for the central archive
    archiveRunEnded,
    cancelled,
  };
  void enableControls(Change change);

  // What the workflows report.
  void showStatus(std::string_view text) override;
  void addConsoleLine(std::string_view text, LogType type) override;
  void showProgress(const Progress& progress) override;
  void activityChanged(Activity activity, bool isOn) override;
  void ask(const Question& question, Answered answered) override;

  void makeWorkflows(const HTTPClientFactory& clientFactory);
  RepositoryKind selectedRepositoryKind() const;
  void fetchDidEnd(FetchEnd end);
  void downloadMissingInto(ChosenFolder folder);
  // The access to the folder is given up at the end of the run.
  void startDownload(const DownloadRun& run, std::shared_ptr<void> access);

  MainQueue& mainQueue_;
  Dialogs& dialogs_;
  MainWindowControls controls_;
  MainWindowActions actions_;

  std::unique_ptr<RepositoryBar> repositoryBar_;
  std::unique_ptr<PackagesPane> packagesPane_;
  std::unique_ptr<DetailsPane> detailsPane_;
  std::unique_ptr<ConsolePane> consolePane_;
  std::optional<URL> currentRepositoryURL_;

  std::unique_ptr<RepositoryFetcher> fetcher_;
  std::unique_ptr<DownloadQueueManager> queueManager_;
  std::unique_ptr<RepositoryMetadataArchiver> metadataArchiver_;
  std::unique_ptr<CentralArchiveClient> centralArchiveClient_;
  std::unique_ptr<FetchWorkflow> fetch_;
  std::unique_ptr<DownloadWorkflow> download_;
  std::unique_ptr<ArchiveWorkflow> archive_;
  std::string offeredFolder_;  // dropped on the window, for the next folder panel

  Lifetime lifetime_;
  NotificationCenter::Token logToken_;
};

}  // namespace tolvane
