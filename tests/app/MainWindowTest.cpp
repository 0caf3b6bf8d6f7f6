// SPDX-License-Identifier: MIT
#include <QMenuBar>
#include <QMessageBox>
#include <QSettings>
#include <QTest>
#include <QUndoCommand>
#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include "app/MainMenu.h"
#include "app/MainWindow.h"
#include "async/RunLoop.h"
#include "tests/app/ScriptedStore.h"
#include "tests/ui/support/Packages.h"
#include "tests/ui/support/PaintCounter.h"
#include "ui/Strings.h"
#include "ui/dialogs/QtDialogs.h"

namespace tolvane {
namespace {

using testing::ElementsAre;

class Main : public testing::Test {
 protected:
  Main() {
    QSettings().clear();
    window = std::make_unique<MainWindow>(queue, dialogs);
  }
  ~Main() override { QSettings().clear(); }

  void show() {
    window->show();
    window->activateWindow();
    EXPECT_TRUE(QTest::qWaitForWindowActive(window.get()));
  }

  void restart() {
    window->close();
    window = std::make_unique<MainWindow>(queue, dialogs);
  }

  PackageTableView& table() const { return *window->controller().controls().tableView; }

  RunLoop queue;
  QtDialogs dialogs;
  std::unique_ptr<MainWindow> window;
};

TEST_F(Main, ShowsTheControllerAndIsNamedAfterTheProgram) {
  show();
  EXPECT_EQ(window->windowTitle(), "Tolvane");
  EXPECT_EQ(window->centralWidget(), &window->controller());
  EXPECT_EQ(window->minimumSize(), QSize(1030, 614));
  EXPECT_GE(window->width(), 1030);
}

TEST_F(Main, IsDrawnSomeSixtyTimesASecondHoweverOftenItChangesAndAtTheEndOfAllChanges) {
  show();
  ElidedLabel& label = *window->controller().controls().statusLabel;
  PaintCounter counter(label);
  QElapsedTimer timer;
  timer.start();
  int changes = 0;
  while (timer.elapsed() < 200) {
    label.setText(QString::number(++changes));
    QCoreApplication::processEvents();
  }
  const auto most = static_cast<int>(timer.elapsed() / 16 + 1);
  EXPECT_GT(changes, 10 * most);
  EXPECT_LE(counter.paints, most);
  counter.paints = 0;
  label.setText("The last.");
  EXPECT_TRUE(QTest::qWaitFor([&] { return counter.paints == 1; }, 1000));
}

TEST_F(Main, SizePlaceAndColumnWidthsComeBack) {
  show();
  window->setGeometry(40, 60, 1100, 700);
  table().setColumnWidth(1, 333);
  restart();
  show();
  EXPECT_EQ(window->geometry(), QRect(40, 60, 1100, 700));
  EXPECT_EQ(table().columnWidth(1), 333);
  EXPECT_EQ(table().columnWidth(2), 120);
}

TEST_F(Main, SettingsThatCannotBeAreNotTaken) {
  QSettings settings;
  settings.setValue("columnWidths/displayName", -7);
  settings.setValue("columnWidths/version", "wide");
  settings.setValue("columnWidths/section", 1'000'000);
  settings.setValue("mainWindow/geometry", QByteArray("nonsense"));
  window->restoreSettings();
  EXPECT_EQ(table().columnWidth(1), 220);
  EXPECT_EQ(table().columnWidth(2), 120);
  EXPECT_EQ(table().columnWidth(5), 140);
}

TEST_F(Main, AnAlertIsAWindowModalBoxWithPlainTexts) {
  show();
  std::vector<std::size_t> answers;
  dialogs.beginAlert(window.get(), {"<b>Message</b>", "Informative <i>text</i>", {"One", "Two"}},
                     [&](std::size_t button) { answers.push_back(button); });
  auto* box = window->findChild<QMessageBox*>();
  ASSERT_NE(box, nullptr);
  EXPECT_EQ(box->windowModality(), Qt::WindowModal);
  EXPECT_EQ(box->text(), "<b>Message</b>");
  EXPECT_EQ(box->informativeText(), "Informative <i>text</i>");
  for (const QLabel* label : box->findChildren<QLabel*>()) {
    if (label->text().isEmpty()) continue;  // the icon
    EXPECT_EQ(label->textFormat(), Qt::PlainText);
  }
  EXPECT_EQ(box->defaultButton()->text(), "One");
  QTest::mouseClick(box->findChild<QPushButton*>("One"), Qt::LeftButton);
  EXPECT_THAT(answers, ElementsAre(0u));
}

TEST_F(Main, AnAlertThatIsClosedAnswersWithItsLastButtonOnce) {
  show();
  std::vector<std::size_t> answers;
  const Alert alert{"Message", "Text", {"One", "Two"}};
  const auto take = [&](std::size_t button) { answers.push_back(button); };
  dialogs.beginAlert(window.get(), alert, take);
  QTest::keyClick(window->findChild<QMessageBox*>(), Qt::Key_Escape);
  EXPECT_THAT(answers, ElementsAre(1u));
  QCoreApplication::sendPostedEvents(nullptr, QEvent::DeferredDelete);
  dialogs.beginAlert(window.get(), alert, take);
  QTest::mouseClick(window->findChild<QMessageBox*>()->findChild<QPushButton*>("Two"),
                    Qt::LeftButton);
  EXPECT_THAT(answers, ElementsAre(1u, 1u));
}

class Menus : public Main {
 protected:
  Menus() {
    buildMainMenu(*window, delegate, [this] { ++quits; });
    delegate.applicationDidFinishLaunching(*window->menuBar());
    show();
  }

  QAction* item(int menu, const char* title) const {
    const QMenu* const found = window->menuBar()->actions().at(menu)->menu();
    for (QAction* const action : found->actions()) {
      if (action->text().remove('&') == QLatin1String(title)) return action;
    }
    return nullptr;
  }

  StoreScript store;
  ScriptedAlerts alerts;
  std::vector<std::string> opened;
  int quits = 0;
  AppDelegate delegate{alerts,
                       {[this] { return std::make_unique<ScriptedContainer>(store); },
                        [this](const QUrl& url) { opened.push_back(toText(url.toString())); },
                        QIcon(),
                        {}}};
};

TEST_F(Menus, AreThoseOfADesktopProgram) {
  std::vector<std::string> titles;
  for (const QAction* menu : window->menuBar()->actions()) {
    titles.push_back(toText(menu->text().remove('&')));
  }
  EXPECT_THAT(titles, ElementsAre("Tolvane", "Edit", "View", "Window", "Help"));
}

TEST_F(Menus, AboutHasItsRoleAndShowsTheWindow) {
  EXPECT_EQ(item(0, "About Tolvane")->menuRole(), QAction::AboutRole);
  item(0, "About Tolvane")->trigger();
  ASSERT_NE(delegate.aboutWindow(), nullptr);
  EXPECT_TRUE(delegate.aboutWindow()->isVisible());
}

TEST_F(Menus, ControlQQuits) {
  EXPECT_EQ(item(0, "Quit Tolvane")->menuRole(), QAction::QuitRole);
  QTest::keyClick(window.get(), Qt::Key_Q, Qt::ControlModifier);
  EXPECT_EQ(quits, 1);
}

TEST_F(Menus, TextCommandsGoToTheFocusedField) {
  QLineEdit& field = *window->controller().controls().repoURLField;
  field.setFocus();
  field.setText("https://packages.example/");
  item(1, "Select All")->trigger();
  item(1, "Cut")->trigger();
  EXPECT_EQ(field.text(), "");
  item(1, "Paste")->trigger();
  EXPECT_EQ(field.text(), "https://packages.example/");
  item(1, "Undo")->trigger();
  EXPECT_EQ(field.text(), "");
  item(1, "Redo")->trigger();
  EXPECT_EQ(field.text(), "https://packages.example/");
}

TEST_F(Menus, CopyWorksInTheConsoleToo) {
  window->controller().appendConsoleMessage("Hello", "info");
  window->controller().controls().consoleTextView->setFocus();
  item(1, "Select All")->trigger();
  item(1, "Copy")->trigger();
  EXPECT_TRUE(QApplication::clipboard()->text().endsWith("Hello"));
}

TEST_F(Menus, CopyWorksInTheStatisticsLineToo) {
  ElidedLabel& label = *window->controller().controls().statsLabel;
  label.setFocus();
  item(1, "Copy")->trigger();
  EXPECT_EQ(QApplication::clipboard()->text(), "No repository loaded.");
  label.setSelection(3, 10);
  QTest::keyClick(&label, Qt::Key_C, Qt::ControlModifier);
  EXPECT_EQ(QApplication::clipboard()->text(), "repository");
}

TEST_F(Menus, CopyTakesWhatIsSelectedOfALabelWhereNothingElseCanBeCopied) {
  const MainWindowControls& c = window->controller().controls();
  c.fetchButton->setFocus();
  c.statsLabel->setSelection(0, 2);
  item(1, "Copy")->trigger();
  EXPECT_EQ(QApplication::clipboard()->text(), "No");
}

TEST_F(Menus, KeysReachTheItemsOfTheMenu) {
  const MainWindowControls& c = window->controller().controls();
  const auto press = [](Qt::Key key, Qt::KeyboardModifiers modifiers = Qt::ControlModifier) {
    QTest::keyClick(QApplication::focusWidget(), key, modifiers);
  };
  press(Qt::Key_L);
  EXPECT_TRUE(c.repoURLField->hasFocus());
  QTest::keyClicks(c.repoURLField, "one");
  press(Qt::Key_A);
  press(Qt::Key_X);
  EXPECT_EQ(c.repoURLField->text(), "");
  press(Qt::Key_V);
  press(Qt::Key_V);
  EXPECT_EQ(c.repoURLField->text(), "oneone");
  press(Qt::Key_Z);
  EXPECT_EQ(c.repoURLField->text(), "one");
  window->controller().loadPackagesIntoUI(makePackages(2), std::nullopt);
  press(Qt::Key_F);
  EXPECT_TRUE(c.searchField->hasFocus());
  c.tableView->setFocus();
  c.tableView->selectRow(1);
  press(Qt::Key_C);
  EXPECT_TRUE(QApplication::clipboard()->text().startsWith("Name: Package 1\n"));
  int fetches = 0;
  QObject::connect(window->controller().actions().fetch, &QAction::triggered, [&] { ++fetches; });
  c.repoURLField->clear();
  press(Qt::Key_F5, Qt::NoModifier);
  EXPECT_EQ(fetches, 1);
  press(Qt::Key_M);
  EXPECT_TRUE(window->isMinimized());
}

TEST_F(Menus, FetchIsDisabledWithItsButton) {
  window->controller().controls().fetchButton->setEnabled(false);
  EXPECT_FALSE(item(2, "Fetch Repository")->isEnabled());
  window->controller().controls().fetchButton->setEnabled(true);
  EXPECT_TRUE(item(2, "Fetch Repository")->isEnabled());
}

TEST_F(Menus, UndoElsewhereIsTheUndoManagersOfTheWindow) {
  struct Change : QUndoCommand {
    explicit Change(int& count) : count_(count) {}
    void undo() override { --count_; }
    void redo() override { ++count_; }
    int& count_;
  };
  int changes = 0;
  delegate.windowWillReturnUndoManager(window.get()).push(new Change(changes));
  window->controller().controls().fetchButton->setFocus();
  item(1, "Undo")->trigger();
  EXPECT_EQ(changes, 0);
  item(1, "Redo")->trigger();
  EXPECT_EQ(changes, 1);
}

TEST_F(Menus, ViewHoldsTheKeysOfTheWindow) {
  EXPECT_NE(item(1, "Find Packages"), nullptr);
  EXPECT_NE(item(2, "Repository URL"), nullptr);
  EXPECT_NE(item(2, "Fetch Repository"), nullptr);
  EXPECT_EQ(item(2, "Sort By")->menu()->actions().size(), 8);
}

TEST_F(Menus, WindowMinimizesAndZooms) {
  item(3, "Zoom")->trigger();
  EXPECT_TRUE(window->isMaximized());
  item(3, "Zoom")->trigger();
  EXPECT_FALSE(window->isMaximized());
  item(3, "Minimize")->trigger();
  EXPECT_TRUE(window->isMinimized());
}

TEST_F(Menus, HelpOpensTheWebsite) {
  item(4, "Tolvane Website")->trigger();
  EXPECT_THAT(opened, ElementsAre(kWebsite));
}

}  // namespace
}  // namespace tolvane
