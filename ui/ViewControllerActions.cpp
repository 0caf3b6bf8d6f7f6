// SPDX-License-Identifier: MIT
#include <QAction>
#include <QEvent>
#include <QKeySequence>

#include "ui/Strings.h"
#include "ui/ViewController.h"

// What the keyboard, menus and screen readers find.
namespace tolvane {

namespace {

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

void ViewController::buildActions() {
  const MainWindowControls& c = controls_;
  focusURLAction_ =
      makeAction(this, tr("Repository URL"), "focusURLAction", QKeySequence(Qt::CTRL | Qt::Key_L));
  connect(focusURLAction_, &QAction::triggered, this,
          [this] { focusAndSelect(controls_.repoURLField); });
  focusSearchAction_ =
      makeAction(this, tr("Find Packages"), "focusSearchAction", QKeySequence::Find);
  connect(focusSearchAction_, &QAction::triggered, this,
          [this] { focusAndSelect(controls_.searchField); });
  fetchAction_ = makeAction(this, tr("Fetch Repository"), "fetchAction", QKeySequence(Qt::Key_F5));
  connect(fetchAction_, &QAction::triggered, c.fetchButton, &QPushButton::click);
  c.fetchButton->installEventFilter(this);
  buildSortActions();
}

// A menu shows whether its item can be chosen, as the button does.
bool ViewController::eventFilter(QObject* watched, QEvent* event) {
  if (watched == controls_.fetchButton && event->type() == QEvent::EnabledChange) {
    fetchAction_->setEnabled(controls_.fetchButton->isEnabled());
  }
  return QWidget::eventFilter(watched, event);
}

// Sorting without a mouse: what a click on the column's header does.
void ViewController::buildSortActions() {
  for (int column = 0; column < tableModel_->columnCount(); ++column) {
    if (!tableModel_->isSortable(column)) continue;
    const QString title =
        tableModel_->headerData(column, Qt::Horizontal, Qt::DisplayRole).toString();
    auto* const action = new QAction(title, this);
    connect(action, &QAction::triggered, this,
            [this, column] { controls_.tableView->sortByClickOn(column); });
    sortActions_.push_back(action);
  }
}

void ViewController::setAccessibleNames() {
  const MainWindowControls& c = controls_;
  c.repoURLField->setAccessibleName(tr("Repository URL"));
  c.repositoryTypePopup->setAccessibleName(tr("Repository type"));
  c.searchField->setAccessibleName(tr("Search packages"));
  c.statusLabel->setAccessibleName(tr("Status"));
  c.statsLabel->setAccessibleName(tr("Statistics"));
  c.progressIndicator->setAccessibleName(tr("Progress"));
  c.tableView->setAccessibleName(tr("Packages"));
  c.detailTextView->setAccessibleName(tr("Package Details"));
  c.consoleTextView->setAccessibleName(tr("Console"));
  c.consoleFilterPopup->setAccessibleName(tr("Console filter"));
  for (QAbstractButton* const button : findChildren<QAbstractButton*>()) {
    if (!button->text().isEmpty()) button->setAccessibleName(button->text());
  }
  const auto explain = [](QWidget* control, const QString& text) {
    control->setToolTip(text);
    control->setAccessibleDescription(text);
  };
  explain(c.downloadSelectedButton, tr("Download the ticked packages into a folder"));
  explain(c.downloadMissingButton, tr("Download every package that a folder does not hold yet"));
  explain(c.checkArchiveButton, tr("Upload the packages that the central archive lacks"));
  explain(c.cancelDownloadsButton, tr("Cancel the downloads that wait"));
  explain(c.archiveMetadataButton, tr("Also save the repository's index, release and icon files"));
  explain(c.archiveMetadataInfoButton, tr("What this option does"));
}

void ViewController::setKeyOrder() {
  const MainWindowControls& c = controls_;
  QWidget* const order[] = {c.repoURLField,          c.repositoryTypePopup,
                            c.cancelDownloadsButton, c.checkArchiveButton,
                            c.downloadMissingButton, c.downloadSelectedButton,
                            c.fetchButton,           c.selectAllButton,
                            c.archiveMetadataButton, c.archiveMetadataInfoButton,
                            c.searchField,           c.tableView,
                            c.detailTextView,        c.consoleFilterPopup,
                            c.consoleTextView};
  for (std::size_t i = 1; i < std::size(order); ++i) setTabOrder(order[i - 1], order[i]);
}

}  // namespace tolvane
