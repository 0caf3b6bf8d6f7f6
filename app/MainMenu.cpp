// SPDX-License-Identifier: MIT
#include "app/MainMenu.h"

#include <QAction>
#include <QApplication>
#include <QLineEdit>
#include <QMenuBar>
#include <QMetaMethod>
#include <utility>

namespace tolvane {

namespace {

QString translated(const char* text) {
  return QCoreApplication::translate("MainMenu", text);
}

// Calls the widget's slot of that name; false where it has none.
bool send(QWidget* widget, const char* slot) {
  if (widget == nullptr) return false;
  const int method = widget->metaObject()->indexOfMethod((QByteArray(slot) + "()").constData());
  return method >= 0 && widget->metaObject()->method(method).invoke(widget);
}

bool sendToFocus(const char* slot) {
  return send(QApplication::focusWidget(), slot);
}

// A label keeps its selection when it loses the focus.
void copy(const MainWindow& window) {
  if (sendToFocus("copy")) return;
  for (ElidedLabel* const label : window.findChildren<ElidedLabel*>()) {
    if (label->hasSelectedText()) return label->copy();
  }
}

template <typename Command>
void addTextCommand(QMenu& menu, const char* text, QKeySequence::StandardKey keys,
                    Command command) {
  QAction* const action = menu.addAction(translated(text));
  action->setShortcut(keys);
  QObject::connect(action, &QAction::triggered, action, command);
}

void addApplicationMenu(QMenuBar& bar, std::function<void()> quit) {
  QMenu* const menu = bar.addMenu(QStringLiteral("&Tolvane"));
  menu->addAction(translated("&About Tolvane"))->setMenuRole(QAction::AboutRole);
  menu->addSeparator();
  QAction* const quitAction = menu->addAction(translated("&Quit Tolvane"));
  quitAction->setMenuRole(QAction::QuitRole);
  quitAction->setShortcut(QKeySequence(Qt::CTRL | Qt::Key_Q));
  QObject::connect(quitAction, &QAction::triggered, quitAction, std::move(quit));
}

// A text field undoes its own typing; anywhere else the window's undo manager is meant.
void addUndoCommands(QMenu& menu, MainWindow& window, AppDelegate& delegate) {
  QAction* const undo = menu.addAction(translated("&Undo"));
  undo->setShortcut(QKeySequence::Undo);
  QObject::connect(undo, &QAction::triggered, &window, [&window, &delegate] {
    if (!sendToFocus("undo")) delegate.windowWillReturnUndoManager(&window).undo();
  });
  QAction* const redo = menu.addAction(translated("&Redo"));
  redo->setShortcut(QKeySequence::Redo);
  QObject::connect(redo, &QAction::triggered, &window, [&window, &delegate] {
    if (!sendToFocus("redo")) delegate.windowWillReturnUndoManager(&window).redo();
  });
}

void addEditMenu(QMenuBar& bar, MainWindow& window, AppDelegate& delegate) {
  QMenu* const menu = bar.addMenu(translated("&Edit"));
  addUndoCommands(*menu, window, delegate);
  menu->addSeparator();
  addTextCommand(*menu, "Cu&t", QKeySequence::Cut, [] { sendToFocus("cut"); });
  addTextCommand(*menu, "&Copy", QKeySequence::Copy, [&window] { copy(window); });
  addTextCommand(*menu, "&Paste", QKeySequence::Paste, [] { sendToFocus("paste"); });
  addTextCommand(*menu, "Select &All", QKeySequence::SelectAll, [] { sendToFocus("selectAll"); });
  menu->addSeparator();
  menu->addAction(window.controller().actions().focusSearch);
}

void addViewMenu(QMenuBar& bar, MainWindow& window) {
  QMenu* const menu = bar.addMenu(translated("&View"));
  menu->addAction(window.controller().actions().focusURL);
  menu->addAction(window.controller().actions().fetch);
  menu->addSeparator();
  QMenu* const sort = menu->addMenu(translated("&Sort By"));
  for (QAction* const action : window.controller().actions().sort) sort->addAction(action);
}

void addWindowMenu(QMenuBar& bar, MainWindow& window) {
  QMenu* const menu = bar.addMenu(translated("&Window"));
  QAction* const minimize = menu->addAction(translated("Mi&nimize"));
  minimize->setShortcut(QKeySequence(Qt::CTRL | Qt::Key_M));
  QObject::connect(minimize, &QAction::triggered, &window, &QWidget::showMinimized);
  QAction* const zoom = menu->addAction(translated("&Zoom"));
  QObject::connect(zoom, &QAction::triggered, &window, [&window] {
    window.isMaximized() ? window.showNormal() : window.showMaximized();
  });
}

void addHelpMenu(QMenuBar& bar, AppDelegate& delegate) {
  QMenu* const menu = bar.addMenu(translated("&Help"));
  QAction* const website = menu->addAction(translated("Tolvane &Website"));
  QObject::connect(website, &QAction::triggered, &delegate, &AppDelegate::openTolvaneWebsite);
}

}  // namespace

void buildMainMenu(MainWindow& window, AppDelegate& delegate, std::function<void()> quit) {
  QMenuBar& bar = *window.menuBar();
  addApplicationMenu(bar, std::move(quit));
  addEditMenu(bar, window, delegate);
  addViewMenu(bar, window);
  addWindowMenu(bar, window);
  addHelpMenu(bar, delegate);
}

}  // namespace tolvane
