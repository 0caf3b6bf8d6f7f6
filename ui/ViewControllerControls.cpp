// SPDX-License-Identifier: MIT
#include "base/SystemLog.h"
#include "ui/ViewController.h"

// What the window's controls are joined to.
namespace tolvane {

namespace {

constexpr TextLine kConsolePlaceholder{"Console messages will appear here.", "info", false};

}  // namespace

void ViewController::buildInterface() {
  SystemLog::write("[UI] buildInterface");
  controls_ = makeControls(this);
  buildTable();
  showNoDetails();
  controls_.consoleTextView->setText(LongText::notice(kConsolePlaceholder));
  connectControls();
  buildActions();
  setAccessibleNames(controls_);
  setKeyOrder(controls_);
  fitTitles(controls_);
  layoutCrawlerViews();
}

void ViewController::buildTable() {
  tableModel_ = new PackageTableModel(packages_, selectedPackageKeys_, this);
  controls_.tableView->setPackageModel(tableModel_);
  controls_.tableView->setRowHeight([this](int row) { return heightOfRow(row); });
  addColumnWithIdentifier("selected", "\u2713", 40);
  addColumnWithIdentifier("displayName", "Name", 220);
  addColumnWithIdentifier("version", "Version", 120);
  addColumnWithIdentifier("packageDescription", "Description", 300);
  addColumnWithIdentifier("packageName", "Identifier", 220);
  addColumnWithIdentifier("section", "Section", 140);
  addColumnWithIdentifier("size", "Size", 100);
  addColumnWithIdentifier("filename", "Filename", 420);
  addColumnWithIdentifier("architecture", "Arch", 80);
}

void ViewController::connectControls() {
  const MainWindowControls& c = controls_;
  connect(c.repoURLField, &QLineEdit::returnPressed, this, &ViewController::fetchButtonClicked);
  connect(c.fetchButton, &QPushButton::clicked, this, &ViewController::fetchButtonClicked);
  connect(c.downloadSelectedButton, &QPushButton::clicked, this,
          &ViewController::downloadSelectedButtonClicked);
  connect(c.downloadMissingButton, &QPushButton::clicked, this,
          &ViewController::downloadMissingButtonClicked);
  connect(c.checkArchiveButton, &QPushButton::clicked, this,
          &ViewController::checkCentralArchiveButtonClicked);
  connect(c.cancelDownloadsButton, &QPushButton::clicked, this,
          &ViewController::cancelDownloadsButtonClicked);
  connect(c.selectAllButton, &CheckBox::clicked, this, &ViewController::selectAllButtonClicked);
  connect(c.archiveMetadataInfoButton, &InfoButton::clicked, this,
          &ViewController::archiveMetadataInfoButtonClicked);
  connect(c.searchField, &SearchField::searchRequested, this, &ViewController::searchFieldChanged);
  connect(c.consoleFilterPopup, &QComboBox::currentIndexChanged, this,
          &ViewController::consoleFilterChanged);
  connect(c.tableView, &PackageTableView::sortDescriptorChanged, this,
          &ViewController::sortDescriptorsDidChange);
  connect(c.tableView, &PackageTableView::highlightChanged, this,
          &ViewController::tableViewSelectionDidChange);
  connect(c.tableView, &PackageTableView::rowDoubleClicked, this,
          &ViewController::tableViewDoubleClicked);
  connect(c.tableView, &PackageTableView::copyRequested, this, &ViewController::copyDetails);
  connect(tableModel_, &PackageTableModel::checkboxClicked, this,
          &ViewController::packageCheckboxClicked);
  connect(tableModel_, &PackageTableModel::modelReset, this, [this] { statistics_.reset(); });
}

}  // namespace tolvane
