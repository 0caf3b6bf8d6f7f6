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
  actions_.focusURL =
      makeAction(this, tr("Repository URL"), "focusURLAction", QKeySequence(Qt::CTRL | Qt::Key_L));
  connect(actions_.focusURL, &QAction::triggered, this,
          [this] { focusAndSelect(controls_.repoURLField); });
  actions_.focusSearch =
      makeAction(this, tr("Find Packages"), "focusSearchAction", QKeySequence::Find);
  connect(actions_.focusSearch, &QAction::triggered, this,
          [this] { focusAndSelect(controls_.searchField); });
  actions_.fetch =
      makeAction(this, tr("Fetch Repository"), "fetchAction", QKeySequence(Qt::Key_F5));
  connect(actions_.fetch, &QAction::triggered, c.fetchButton, &QPushButton::click);
  c.fetchButton->installEventFilter(this);
  buildSortActions();
}

// A menu shows whether its item can be chosen, as the button does.
bool ViewController::eventFilter(QObject* watched, QEvent* event) {
  if (watched == controls_.fetchButton && event->type() == QEvent::EnabledChange) {
    actions_.fetch->setEnabled(controls_.fetchButton->isEnabled());
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
    actions_.sort.push_back(action);
  }
}

}  // namespace tolvane
