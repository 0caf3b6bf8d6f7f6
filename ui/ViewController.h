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
#include "async/MainQueue.h"
#include "base/URL.h"
#include "download/DownloadCounters.h"
#include "download/DownloadQueueManager.h"
#include "download/RepositoryMetadataArchiver.h"
#include "http/HTTPClient.h"
#include "model/CrawlerLogger.h"
#include "model/PackageEntry.h"
#include "repository/RepositoryFetcher.h"
#include "ui/DownloadTexts.h"
#include "async/Lifetime.h"
#include "ui/MainWindowActions.h"
#include "ui/MainWindowControls.h"
#include "ui/console/ConsoleMessage.h"
#include "ui/dialogs/Dialogs.h"
#include "ui/packages/PackageStatistics.h"
#include "ui/packages/PackageTableModel.h"
#include "ui/packages/TickedPackages.h"
#include "ui/widgets/LongText.h"

namespace tolvane {

// The content of the main window: all of its controls, the loaded repository, and what the controls
// do. Everything belongs to the main thread but for the log bus, which any thread may use.
//
// Its definitions stand in one source a concern: the controls, the layout, the table, the search,
// the console with the progress bar, and each workflow.
class ViewController : public QWidget {
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
  const PackageList& packages() const { return packages_; }        // the shown rows, in their order
  const PackageList& allPackages() const { return allPackages_; }  // in the order of the index
  const TickedPackages& selectedPackageKeys() const { return selectedPackageKeys_; }
  const ConsoleMessages& consoleMessages() const { return consoleMessages_; }
  const std::optional<URL>& currentRepositoryURL() const { return currentRepositoryURL_; }
  // Of the last check that succeeded, as the central archive sent them.
  const MissingPackages& lastMissingArchivePackages() const { return lastMissingArchivePackages_; }
  RepositoryFetcher& fetcher() const { return *fetcher_; }
  RepositoryMetadataArchiver& metadataArchiver() const { return *metadataArchiver_; }
  CentralArchiveClient& centralArchiveClient() const { return *centralArchiveClient_; }
  DownloadQueueManager& queueManager() const { return *queueManager_; }

  // As the program's configuration has it now; "" where it has none.
  static std::string centralArchiveAPISecret() { return tolvane::centralArchiveAPISecret(); }
  static bool centralArchiveIsConfigured() { return !centralArchiveAPISecret().empty(); }

  // Layout. Frames are those of a picture whose y grows upward from the bottom.
  void layoutCrawlerViews();
  static QSize minimumWindowSizeForCurrentLayout() { return {1030, 614}; }
  void updateMinimumWindowSize();
  void archiveMetadataInfoButtonClicked();

  // Table.
  void addColumnWithIdentifier(std::string_view identifier, std::string_view title, int width);
  int numberOfRowsInTableView() const { return static_cast<int>(packages_.size()); }
  int heightOfRow(int row) const;
  void sortDescriptorsDidChange();
  void tableViewSelectionDidChange();
  void tableViewDoubleClicked(int row);
  void showDetailsForPackage(const PackageEntry& package);
  void packageCheckboxClicked(int row, bool on);
  void selectAllButtonClicked();
  PackageList selectedPackages() const;

  // Search.
  void searchFieldChanged() { applySearchFilter(); }
  void applySearchFilter();
  void updateStatsLabel();

  // Console. What observes the log bus runs on any thread, perhaps after the controller's end; it
  // hands each message to the main queue. An absent text does nothing; an absent type is "info".
  std::function<void(const CrawlerMessage&)> crawlerLoggerDidLogMessage();
  void appendConsoleMessage(std::optional<std::string_view> text,
                            std::optional<std::string_view> type);
  void consoleFilterChanged() { refreshConsoleView(); }
  void refreshConsoleView();

  // Progress.
  void showIndeterminateProgress();
  void showDeterminateProgressWithCompleted(std::uint64_t completed, std::uint64_t total);
  void showCompletedProgressSuccess(bool success);
  void hideProgressIndicator();
  // Hides whatever the bar shows by then; cannot be taken back.
  void hideProgressIndicatorAfterDelay(double seconds);

  // Fetch.
  void fetchButtonClicked();
  void fetchRepositoryURL(const URL& url, bool allowHTTPFallback);
  void loadPackagesIntoUI(PackageList packages, const std::optional<URL>& repositoryURL);
  void clearRepositoryStateWithStatus(std::string_view status);
  static std::optional<URL> HTTPURLFromHTTPSURL(const URL& url);
  void askToRetryWithHTTPURL(const URL& httpURL, const Error& originalError);

  // Download.
  void downloadSelectedButtonClicked();
  void downloadMissingButtonClicked();
  void chooseFolderThenDownloadPackages(PackageList packages);
  void cancelDownloadsButtonClicked();
  void showDownloadErrorAlertWithMessage(const std::optional<std::string>& message);
  static std::string filesystemSafeString(std::string_view text);

  // Archive.
  void checkCentralArchiveButtonClicked();
  void startArchiveMissingPackagesWorkflow();
  PackageList packagesForMissingArchiveEntries() const;
  static std::string centralArchiveTemporaryFolder();
  void beginArchiveUploadWorkflow();
  struct Uploads {
    std::shared_ptr<const PackageList> packages;
    std::string folder;
    std::size_t index = 0;
    std::uint64_t successful = 0;
    std::uint64_t failed = 0;
  };
  // Uploads the package at the index and, once its outcome is known, those after it.
  void uploadArchivedPackages(Uploads uploads);

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
  void buildTable();
  void connectControls();
  void buildActions();
  void buildSortActions();

  void showNoDetails();
  void copyDetails(int row);

  // The status line, and the same with a line in the console.
  void setStatus(std::string_view text);
  void report(std::string_view text, std::string_view type);

  std::optional<std::string> selectedRepositoryType() const;  // the title of the pop-up's item
  RepositoryKind selectedRepositoryKind() const;
  void fetchDidComplete(const URL& url, bool allowHTTPFallback, std::optional<PackageList> packages,
                        const std::optional<Error>& error);

  // A run of the download queue, and what all workflows do at its start and its end.
  void setDownloading(bool downloading);
  void runQueue(const PackageList& packages, const std::string& folder,
                DownloadQueueManager::RunProgress showProgress,
                DownloadQueueManager::RunCompletion finish);
  void startDownloadRun(const PackageList& packages, ChosenFolder folder,
                        const DownloadTexts& texts);
  FolderPanel folderPanel(std::string prompt, std::string message);
  void finishDownloadRun(const DownloadTexts& texts, const DownloadCounters& counters);
  void showCompletedRun(bool success);
  void saveMetadata(const std::string& folder);
  void downloadMissingInto(ChosenFolder folder);

  void archiveCheckDidComplete(MissingPackages missing, const std::optional<Error>& error);
  void uploadTokenDidArrive(const std::optional<std::string>& token,
                            const std::optional<Error>& error);
  void downloadForArchive(const PackageList& packages, const std::string& folder);
  void archiveDownloadsDidFinish(const DownloadCounters& counters, const std::string& folder);
  void sendPackage(const Uploads& uploads);
  void reportUpload(const std::string& name, const std::string& path, bool uploaded,
                    const std::optional<Error>& error);
  void finishUploads(const Uploads& uploads);

  MainQueue& mainQueue_;
  Dialogs& dialogs_;
  MainWindowControls controls_;
  MainWindowActions actions_;

  PackageList packages_;
  PackageList allPackages_;
  TickedPackages selectedPackageKeys_;
  std::optional<PackageStatistics> statistics_;  // of the shown rows, once counted
  ConsoleMessages consoleMessages_;
  TextLines consoleLines_;       // of the messages, as they are shown
  TextLines consoleErrorLines_;  // and of the errors among them
  std::optional<URL> currentRepositoryURL_;

  std::unique_ptr<RepositoryFetcher> fetcher_;
  std::unique_ptr<DownloadQueueManager> queueManager_;
  std::unique_ptr<RepositoryMetadataArchiver> metadataArchiver_;
  std::unique_ptr<CentralArchiveClient> centralArchiveClient_;
  MissingPackages lastMissingArchivePackages_;
  std::string offeredFolder_;  // dropped on the window, for the next folder panel

  PackageTableModel* tableModel_ = nullptr;

  Lifetime lifetime_;
  NotificationCenter::Token logToken_;
};

}  // namespace tolvane
