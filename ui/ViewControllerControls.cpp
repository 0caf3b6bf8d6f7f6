// SPDX-License-Identifier: MIT
#include <QKeySequence>
#include <iterator>

#include "base/SystemLog.h"
#include "ui/ViewController.h"

// Makes the panes, connects their controls to operations, and decides which of them are enabled.
namespace tolvane {

namespace {

// Screen readers read the controls in the order of the window's children.
void setReadingOrder(const MainWindowControls& c) {
  c.selectAllButton->stackUnder(c.archiveMetadataButton);
  c.statsLabel->stackUnder(c.progressIndicator);
  c.searchField->stackUnder(c.progressIndicator);
}

// The order in which the tab key moves the focus.
void setKeyOrder(const MainWindowControls& c) {
  QWidget* const order[] = {c.repoURLField,          c.repositoryTypePopup,
                            c.cancelDownloadsButton, c.checkArchiveButton,
                            c.downloadMissingButton, c.downloadSelectedButton,
                            c.fetchButton,           c.selectAllButton,
                            c.archiveMetadataButton, c.archiveMetadataInfoButton,
                            c.searchField,           c.tableView,
                            c.detailTextView,        c.consoleFilterPopup,
                            c.consoleTextView};
  for (std::size_t i = 1; i < std::size(order); ++i) QWidget::setTabOrder(order[i - 1], order[i]);
}

QAction* makeAction(QWidget* widget, const QString& text, const char* name,
                    const QKeySequence& keys) {
  auto* const action = new QAction(text, widget);
  action->setObjectName(QLatin1String(name));
  action->setShortcut(keys);
  widget->addAction(action);
  return action;
}

void focusAndSelect(QLineEdit* field) {
  if (!field->isEnabled()) return;
  field->setFocus(Qt::ShortcutFocusReason);
  field->selectAll();
}

}  // namespace

void ViewController::buildInterface() {
  SystemLog::write("[UI] buildInterface");
  repositoryBar_ = std::make_unique<RepositoryBar>(this);
  packagesPane_ = std::make_unique<PackagesPane>(this);
  detailsPane_ = std::make_unique<DetailsPane>(this);
  consolePane_ = std::make_unique<ConsolePane>(this);
  controls_ = {repositoryBar_->controls(), packagesPane_->controls(), detailsPane_->controls(),
               consolePane_->controls()};
  addColumnWithIdentifier("selected", "\u2713", 40);
  addColumnWithIdentifier("displayName", "Name", 220);
  addColumnWithIdentifier("version", "Version", 120);
  addColumnWithIdentifier("packageDescription", "Description", 300);
  addColumnWithIdentifier("packageName", "Identifier", 220);
  addColumnWithIdentifier("section", "Section", 140);
  addColumnWithIdentifier("size", "Size", 100);
  addColumnWithIdentifier("filename", "Filename", 420);
  addColumnWithIdentifier("architecture", "Arch", 80);
  connectControls();
  buildActions();
  setReadingOrder(controls_);
  setKeyOrder(controls_);
  fitTitles();
  layoutCrawlerViews();
}

void ViewController::connectControls() {
  using Self = ViewController;
  const MainWindowControls& c = controls_;
  const auto onClick = [this](QAbstractButton* button, void (Self::*operation)()) {
    connect(button, &QAbstractButton::clicked, this, operation);
  };
  onClick(c.fetchButton, &Self::fetchButtonClicked);
  onClick(c.downloadSelectedButton, &Self::downloadSelectedButtonClicked);
  onClick(c.downloadMissingButton, &Self::downloadMissingButtonClicked);
  onClick(c.checkArchiveButton, &Self::checkCentralArchiveButtonClicked);
  onClick(c.cancelDownloadsButton, &Self::cancelDownloadsButtonClicked);
  onClick(c.selectAllButton, &Self::selectAllButtonClicked);
  onClick(c.archiveMetadataInfoButton, &Self::archiveMetadataInfoButtonClicked);
  connect(c.repoURLField, &QLineEdit::returnPressed, this, &Self::fetchButtonClicked);
  connect(c.searchField, &SearchField::searchRequested, this, &Self::searchFieldChanged);
  connect(c.searchField, &SearchField::focused, this, [this] { packagesPane_->prepareSearch(); });
  connect(c.consoleFilterPopup, &QComboBox::currentIndexChanged, this, &Self::consoleFilterChanged);
  const PackageTableView* const table = c.tableView;
  connect(table, &PackageTableView::sortDescriptorChanged, this, &Self::sortDescriptorsDidChange);
  connect(table, &PackageTableView::highlightChanged, this, &Self::tableViewSelectionDidChange);
  connect(table, &PackageTableView::rowDoubleClicked, this, &Self::tableViewDoubleClicked);
  connect(table, &PackageTableView::copyRequested, this, &Self::copyDetails);
  connect(&packagesPane_->model(), &PackageTableModel::checkboxClicked, this,
          &Self::packageCheckboxClicked);
}

void ViewController::buildActions() {
  const MainWindowControls& c = controls_;
  actions_.focusURL =
      makeAction(this, tr("Repository URL"), "focusURLAction", QKeySequence(Qt::CTRL | Qt::Key_L));
  connect(actions_.focusURL, &QAction::triggered, c.repoURLField,
          [field = c.repoURLField] { focusAndSelect(field); });
  actions_.focusSearch =
      makeAction(this, tr("Find Packages"), "focusSearchAction", QKeySequence::Find);
  connect(actions_.focusSearch, &QAction::triggered, c.searchField,
          [field = c.searchField] { focusAndSelect(field); });
  actions_.fetch =
      makeAction(this, tr("Fetch Repository"), "fetchAction", QKeySequence(Qt::Key_F5));
  connect(actions_.fetch, &QAction::triggered, c.fetchButton, &QPushButton::click);
  c.fetchButton->installEventFilter(this);
  // Sorting without a mouse: what a click on the column's header does.
  const PackageTableModel& model = packagesPane_->model();
  for (int column = 0; column < model.columnCount(); ++column) {
    if (!model.isSortable(column)) continue;
    const QString title = model.headerData(column, Qt::Horizontal, Qt::DisplayRole).toString();
    actions_.sort.push_back(new QAction(title, this));
    connect(actions_.sort.back(), &QAction::triggered, c.tableView,
            [table = c.tableView, column] { table->sortByClickOn(column); });
  }
}

// A menu item can be chosen while its button can be pressed.
bool ViewController::eventFilter(QObject* watched, QEvent* event) {
  if (watched == controls_.fetchButton && event->type() == QEvent::EnabledChange) {
    actions_.fetch->setEnabled(controls_.fetchButton->isEnabled());
  }
  return QWidget::eventFilter(watched, event);
}

// Each change sets a few controls and leaves the others as they are, since fetches and runs of
// downloads may overlap:
// - Fetch is disabled by a fetch and by a run, and enabled by whichever of them ends first.
// - Loading, clearing or searching during a run enables Download and Missing again.
// - Archive is disabled by its own run only. A search leaves it alone, loading enables it again.
// - Cancel can be pressed once a run.
void ViewController::enableControls(Change change) {
  const MainWindowControls& c = controls_;
  const bool hasRows = !packages().empty();
  const bool hasPackages = !allPackages().empty();
  const bool began = change == Change::fetchBegan || change == Change::runBegan ||
                     change == Change::archiveRunBegan;
  const auto enableDownloads = [&](bool enabled) {
    c.downloadSelectedButton->setEnabled(enabled && hasRows);
    c.downloadMissingButton->setEnabled(enabled && hasPackages);
  };
  switch (change) {
    case Change::fetchBegan:
    case Change::fetchEnded:
      c.fetchButton->setEnabled(!began);
      break;
    case Change::repositoryChanged:
      c.checkArchiveButton->setEnabled(hasPackages);
      c.searchField->setEnabled(hasPackages);
      [[fallthrough]];
    case Change::searched:
      enableDownloads(true);
      c.selectAllButton->setEnabled(hasRows);
      break;
    case Change::archiveRunBegan:
    case Change::archiveRunEnded:
      c.checkArchiveButton->setEnabled(!began && hasPackages);
      [[fallthrough]];
    case Change::runBegan:
    case Change::runEnded:
      c.fetchButton->setEnabled(!began);
      enableDownloads(!began);
      c.cancelDownloadsButton->setEnabled(began);
      break;
    case Change::cancelled:
      c.cancelDownloadsButton->setEnabled(false);
      break;
  }
}

}  // namespace tolvane
