// SPDX-License-Identifier: MIT
#include <QApplication>
#include <QFontDatabase>

#include "platform/SystemLog.h"
#include "ui/Strings.h"
#include "ui/TitleFont.h"
#include "ui/ViewController.h"

// The window's controls as they are made: kinds, texts and first states.
namespace tolvane {

namespace {

constexpr int kCaptionSize = 10;
constexpr int kTextSize = 12;
constexpr int kConsoleSize = 11;
constexpr QSize kTextInset(8, 6);

constexpr TextLine kConsolePlaceholder{"Console messages will appear here.", "info", false};

QFont systemFont(int size, bool bold = false) {
  QFont font = QApplication::font();
  font.setPixelSize(size);
  font.setBold(bold);
  return font;
}

QFont consoleFont() {
  QFont font = QFontDatabase::systemFont(QFontDatabase::FixedFont);
  font.setPixelSize(kConsoleSize);
  font.setWeight(QFont::Normal);
  return font;
}

template <typename Widget>
void make(Widget*& control, const char* name, QWidget* parent) {
  control = new Widget(parent);
  control->setObjectName(QLatin1String(name));
}

void makeButton(QPushButton*& button, const char* name, const char* title, bool enabled,
                QWidget* parent) {
  make(button, name, parent);
  button->setText(QLatin1String(title));
  button->setEnabled(enabled);
}

void makeCaption(QLabel*& label, const char* name, const char* text, QWidget* parent) {
  make(label, name, parent);
  label->setTextFormat(Qt::PlainText);
  label->setText(QLatin1String(text));
  label->setAlignment(Qt::AlignHCenter | Qt::AlignVCenter);
  label->setFont(systemFont(kCaptionSize));
}

void makeBoxTitle(QLabel*& label, const char* name, const char* text, QWidget* box) {
  make(label, name, box);
  label->setTextFormat(Qt::PlainText);
  label->setText(QLatin1String(text));
  label->setFont(systemFont(kTextSize, true));
}

void makeScrollView(QFrame*& frame, const char* name, QWidget* parent) {
  make(frame, name, parent);
  frame->setFrameStyle(QFrame::StyledPanel | QFrame::Sunken);
}

}  // namespace

void ViewController::buildInterface() {
  SystemLog::write("[UI] buildInterface");
  buildToolbar();
  buildActionButtons();
  buildTable();
  buildDetails();
  buildConsole();
  connectControls();
  buildActions();
  setAccessibleNames();
  setKeyOrder();
  fitTitles();
  layoutCrawlerViews();
}

void ViewController::buildToolbar() {
  MainWindowControls& c = controls_;
  make(c.repoURLField, "repoURLField", this);
  c.repoURLField->setTextMargins(4, 0, 4, 0);
  c.repoURLField->setPlaceholderText(QStringLiteral("https://packages.example/repo/"));
  make(c.repositoryTypePopup, "repositoryTypePopup", this);
  for (const std::string_view choice :
       {kAPTChoice, kAutoDetectChoice, kInstaller4Choice, kInstaller3Choice}) {
    c.repositoryTypePopup->addItem(toQString(choice));
  }
  makeButton(c.fetchButton, "fetchButton", "Fetch", true, this);

  make(c.selectAllButton, "selectAllButton", this);
  c.selectAllButton->setText(QStringLiteral("Select All"));
  c.selectAllButton->setEnabled(false);
  make(c.archiveMetadataButton, "archiveMetadataButton", this);
  c.archiveMetadataButton->setText(QStringLiteral("Archive repository metadata"));
  make(c.archiveMetadataInfoButton, "archiveMetadataInfoButton", this);

  make(c.statusLabel, "statusLabel", this);
  c.statusLabel->setText(QStringLiteral("Enter a repository URL."));
  make(c.statsLabel, "statsLabel", this);
  c.statsLabel->setText(QStringLiteral("No repository loaded."));
  c.statsLabel->setTextInteractionFlags(Qt::TextSelectableByMouse);

  make(c.searchField, "searchField", this);
  c.searchField->setPlaceholderText(QStringLiteral("Search packages"));
  c.searchField->setEnabled(false);
  make(c.progressIndicator, "progressIndicator", this);
}

void ViewController::buildActionButtons() {
  MainWindowControls& c = controls_;
  makeButton(c.downloadSelectedButton, "downloadSelectedButton", "Download", false, this);
  makeCaption(c.downloadSelectedSubtitleLabel, "downloadSelectedSubtitleLabel", "To Local Folder",
              this);
  makeButton(c.downloadMissingButton, "downloadMissingButton", "Missing", false, this);
  makeCaption(c.downloadMissingSubtitleLabel, "downloadMissingSubtitleLabel", "In Local Folder",
              this);
  makeButton(c.checkArchiveButton, "checkArchiveButton", "Archive", false, this);
  makeCaption(c.checkArchiveSubtitleLabel, "checkArchiveSubtitleLabel", "To Central Server", this);
  makeButton(c.cancelDownloadsButton, "cancelDownloadsButton", "Cancel", false, this);
}

void ViewController::buildTable() {
  MainWindowControls& c = controls_;
  makeScrollView(c.scrollView, "scrollView", this);
  make(c.tableView, "tableView", c.scrollView);
  tableModel_ = new PackageTableModel(packages_, selectedPackageKeys_, this);
  c.tableView->setPackageModel(tableModel_);
  c.tableView->setRowHeight([this](int row) { return heightOfRow(row); });
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

void ViewController::buildDetails() {
  MainWindowControls& c = controls_;
  make(c.detailBox, "detailBox", this);
  makeBoxTitle(c.detailTitleLabel, "detailTitleLabel", "Package Details", c.detailBox);
  makeScrollView(c.detailScrollView, "detailScrollView", c.detailBox);
  make(c.detailTextView, "detailTextView", c.detailScrollView);
  c.detailTextView->setFont(systemFont(kTextSize));
  c.detailTextView->setTextInset(kTextInset);
  showNoDetails();
}

void ViewController::buildConsole() {
  MainWindowControls& c = controls_;
  make(c.consoleBox, "consoleBox", this);
  makeBoxTitle(c.consoleTitleLabel, "consoleTitleLabel", "Console", c.consoleBox);
  make(c.consoleFilterPopup, "consoleFilterPopup", c.consoleBox);
  c.consoleFilterPopup->addItems({QStringLiteral("All Messages"), QStringLiteral("Errors Only")});
  makeScrollView(c.consoleScrollView, "consoleScrollView", c.consoleBox);
  make(c.consoleTextView, "consoleTextView", c.consoleScrollView);
  c.consoleTextView->setFont(consoleFont());
  c.consoleTextView->setTextInset(kTextInset);
  c.consoleTextView->setText(LongText::notice(kConsolePlaceholder));
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

void ViewController::fitTitles() {
  const MainWindowControls& c = controls_;
  const QFont system = QApplication::font();
  tolvane::fitTitles({{c.fetchButton, 100},
                      {c.downloadSelectedButton, 100},
                      {c.downloadMissingButton, 100},
                      {c.checkArchiveButton, 100},
                      {c.cancelDownloadsButton, 100}},
                     system);
  tolvane::fitTitles({{c.selectAllButton, 100}, {c.archiveMetadataButton, 205}}, system);
  tolvane::fitTitles({{c.repositoryTypePopup, 170}}, system);
  tolvane::fitTitles({{c.consoleFilterPopup, 120}}, systemFont(kTextSize));
  tolvane::fitTitles({{c.downloadSelectedSubtitleLabel, 100},
                      {c.downloadMissingSubtitleLabel, 100},
                      {c.checkArchiveSubtitleLabel, 100}},
                     systemFont(kCaptionSize));
}

}  // namespace tolvane
