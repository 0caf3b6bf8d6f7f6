// SPDX-License-Identifier: MIT
#include <QMenu>
#include <QTest>
#include <QTranslator>
#include <QUrl>
#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <thread>

#include "app/AppDelegate.h"
#include "base/SystemLog.h"
#include "tests/app/ScriptedStore.h"
#include "tests/support/LogRecorder.h"
#include "ui/Strings.h"
#include "ui/widgets/SystemColors.h"

namespace tolvane {
namespace {

using testing::ElementsAre;
using testing::IsEmpty;

const Error kSaveError{"NSSQLiteErrorDomain", 13, "database or disk is full"};

class Delegate : public testing::Test {
 protected:
  AppDelegate::Settings settings() {
    return {[this] { return std::make_unique<ScriptedContainer>(store); },
            [this](const QUrl& url) { opened.push_back(toText(url.toString())); },
            QIcon(),
            {"1.2", "34"}};
  }

  LogRecorder log;
  StoreScript store;
  ScriptedAlerts alerts;
  std::vector<std::string> opened;
  AppDelegate delegate{alerts, settings()};
};

using Store = Delegate;

TEST_F(Store, IsMadeAndLoadedOnFirstUse) {
  EXPECT_EQ(store.containers, 0);
  delegate.persistentContainer();
  delegate.persistentContainer();
  EXPECT_EQ(store.containers, 1);
  EXPECT_EQ(store.loads, 1);
}

TEST_F(Store, IsMadeOnceHoweverManyThreadsUseItFirst) {
  std::vector<std::thread> threads;
  for (int i = 0; i < 16; ++i) threads.emplace_back([this] { delegate.persistentContainer(); });
  for (std::thread& thread : threads) thread.join();
  EXPECT_EQ(store.containers, 1);
  EXPECT_EQ(store.loads, 1);
}

TEST_F(Store, ThatCannotBeLoadedEndsTheProcessWithALine) {
  GTEST_FLAG_SET(death_test_style, "threadsafe");
  store.loadFailure = {{"NSSQLiteErrorDomain", 26, "file is not a database"}, "{path = \"x\"}"};
  EXPECT_EXIT(
      {
        SystemLog::writeToStandardError(true);
        delegate.persistentContainer();
      },
      testing::KilledBySignal(SIGABRT),
      "Unresolved error Error Domain=NSSQLiteErrorDomain Code=26 \"file is not a database\", "
      ".path = \"x\".");
}

TEST_F(Store, SaveWithoutChangesSavesNothing) {
  delegate.save();
  EXPECT_EQ(store.saves, 0);
  EXPECT_THAT(log.lines(), IsEmpty());
}

TEST_F(Store, SaveWithChangesSavesThem) {
  store.changed = true;
  delegate.save();
  EXPECT_EQ(store.saves, 1);
  EXPECT_THAT(alerts.errors, IsEmpty());
}

TEST_F(Store, SaveContinuesAfterARefusedCommit) {
  store.commits = false;
  store.changed = true;
  delegate.save();
  EXPECT_THAT(log.lines(), ElementsAre("AppDelegate:save unable to commit editing before saving"));
  EXPECT_EQ(store.saves, 1);
}

TEST_F(Store, AFailedSaveIsShownToTheUser) {
  store.changed = true;
  store.saveError = kSaveError;
  delegate.save();
  EXPECT_THAT(alerts.errors, ElementsAre(kSaveError));
  EXPECT_THAT(alerts.alerts, IsEmpty());
  EXPECT_EQ(store.saves, 1);
}

TEST_F(Store, TheWindowsUndoManagerIsThatOfTheContext) {
  const QWidget window;
  EXPECT_EQ(&delegate.windowWillReturnUndoManager(&window),
            &delegate.persistentContainer().mainContext().undoManager());
}

using Quit = Delegate;

TEST_F(Quit, WithoutChangesIsAtOnce) {
  EXPECT_EQ(delegate.applicationShouldTerminate(), TerminateReply::now);
  EXPECT_EQ(store.saves, 0);
  EXPECT_THAT(log.lines(), IsEmpty());
}

TEST_F(Quit, IsRefusedWhereACommitIs) {
  store.commits = false;
  store.changed = true;
  EXPECT_EQ(delegate.applicationShouldTerminate(), TerminateReply::cancel);
  EXPECT_THAT(log.lines(), ElementsAre("AppDelegate:applicationShouldTerminate: unable to commit "
                                       "editing to terminate"));
  EXPECT_EQ(store.saves, 0);
}

TEST_F(Quit, SavesChangesFirst) {
  store.changed = true;
  EXPECT_EQ(delegate.applicationShouldTerminate(), TerminateReply::now);
  EXPECT_EQ(store.saves, 1);
  EXPECT_THAT(alerts.errors, IsEmpty());
}

TEST_F(Quit, IsCalledOffWherePresentingTheErrorPutsItRight) {
  store.changed = true;
  store.saveError = kSaveError;
  alerts.recovers = true;
  EXPECT_EQ(delegate.applicationShouldTerminate(), TerminateReply::cancel);
  EXPECT_THAT(alerts.errors, ElementsAre(kSaveError));
  EXPECT_THAT(alerts.alerts, IsEmpty());
}

TEST_F(Quit, AfterAFailedSaveAsksAndQuitsOnTheFirstButton) {
  store.changed = true;
  store.saveError = kSaveError;
  alerts.answer = 0;
  EXPECT_EQ(delegate.applicationShouldTerminate(), TerminateReply::now);
  ASSERT_EQ(alerts.alerts.size(), 1u);
  EXPECT_EQ(alerts.alerts[0].messageText, "Could not save changes while quitting. Quit anyway?");
  EXPECT_EQ(alerts.alerts[0].informativeText,
            "Quitting now will lose any changes you have made since the last successful save");
  EXPECT_THAT(alerts.alerts[0].buttons, ElementsAre("Quit anyway", "Cancel"));
}

TEST_F(Quit, AfterAFailedSaveStaysOnTheSecondButtonOnly) {
  store.changed = true;
  store.saveError = kSaveError;
  alerts.answer = 1;
  EXPECT_EQ(delegate.applicationShouldTerminate(), TerminateReply::cancel);
  alerts.answer = 2;
  EXPECT_EQ(delegate.applicationShouldTerminate(), TerminateReply::now);
}

TEST_F(Quit, ItsTextsAreTheirOwnKeysInTheTableOfTranslations) {
  struct Shouting : QTranslator {
    QString translate(const char*, const char* text, const char*, int) const override {
      return QString::fromUtf8(text).toUpper();
    }
    bool isEmpty() const override { return false; }
  } translator;
  QCoreApplication::installTranslator(&translator);
  store.changed = true;
  store.saveError = kSaveError;
  delegate.applicationShouldTerminate();
  QCoreApplication::removeTranslator(&translator);
  ASSERT_EQ(alerts.alerts.size(), 1u);
  EXPECT_EQ(alerts.alerts[0].messageText, "COULD NOT SAVE CHANGES WHILE QUITTING. QUIT ANYWAY?");
  EXPECT_EQ(alerts.alerts[0].informativeText,
            "QUITTING NOW WILL LOSE ANY CHANGES YOU HAVE MADE SINCE THE LAST SUCCESSFUL SAVE");
  EXPECT_THAT(alerts.alerts[0].buttons, ElementsAre("QUIT ANYWAY", "CANCEL"));
}

TEST_F(Quit, WritesNothingOnItsWayOut) {
  delegate.applicationWillTerminate();
  EXPECT_THAT(log.lines(), IsEmpty());
  EXPECT_TRUE(AppDelegate::applicationSupportsSecureRestorableState());
}

using Reopen = Delegate;

TEST_F(Reopen, WithVisibleWindowsDoesNothing) {
  QWidget window;
  delegate.addWindow(&window);
  EXPECT_TRUE(delegate.applicationShouldHandleReopen(true));
  EXPECT_FALSE(window.isVisible());
}

TEST_F(Reopen, WithoutVisibleWindowsShowsTheFirstOne) {
  QWidget first;
  QWidget second;
  delegate.addWindow(&first);
  delegate.addWindow(&second);
  EXPECT_TRUE(delegate.applicationShouldHandleReopen(false));
  EXPECT_TRUE(first.isVisible());
  EXPECT_FALSE(second.isVisible());
  EXPECT_TRUE(QTest::qWaitForWindowActive(&first));
}

TEST_F(Reopen, WithoutAnyWindowShowsNothing) {
  {
    QWidget gone;
    delegate.addWindow(&gone);
  }
  EXPECT_TRUE(delegate.applicationShouldHandleReopen(false));
}

class Launch : public Delegate {
 protected:
  QAction* add(QMenu* menu, const char* title, QAction::MenuRole role) {
    QAction* const item = menu->addAction(QLatin1String(title));
    item->setMenuRole(role);
    QObject::connect(item, &QAction::triggered, [this, title] { triggered.emplace_back(title); });
    return item;
  }
  bool isAboutShown() const {
    return delegate.aboutWindow() != nullptr && delegate.aboutWindow()->isVisible();
  }

  QMenuBar bar;
  std::vector<std::string> triggered;
};

TEST_F(Launch, TheFirstItemWithTheStandardRoleShowsTheAboutWindow) {
  QMenu* const menu = bar.addMenu("App");
  QAction* const other = add(menu, "Other", QAction::NoRole);
  QAction* const about = add(menu, "About", QAction::AboutRole);
  QAction* const second = add(menu, "Second", QAction::AboutRole);
  delegate.applicationDidFinishLaunching(bar);
  other->trigger();
  second->trigger();
  EXPECT_FALSE(isAboutShown());
  EXPECT_THAT(triggered, ElementsAre("Other", "Second"));
  about->trigger();
  EXPECT_TRUE(isAboutShown());
  EXPECT_EQ(triggered.size(), 2u);
}

TEST_F(Launch, OnlyTheFirstMenuIsSearched) {
  bar.addMenu("App");
  QAction* const about = add(bar.addMenu("Help"), "About", QAction::AboutRole);
  delegate.applicationDidFinishLaunching(bar);
  about->trigger();
  EXPECT_THAT(triggered, ElementsAre("About"));
  EXPECT_FALSE(isAboutShown());
}

TEST_F(Launch, WithoutSuchAnItemNothingChanges) {
  delegate.applicationDidFinishLaunching(bar);
  bar.addAction("No menu");
  delegate.applicationDidFinishLaunching(bar);
  EXPECT_FALSE(isAboutShown());
}

class About : public Delegate {
 protected:
  About() {
    delegate.showCustomAboutWindow();
    window = delegate.aboutWindow();
  }

  const QLabel& label(const char* name) const { return *window->findChild<QLabel*>(name); }

  // From the bottom-left corner of the content.
  QRect frame(const char* name) const {
    const QRect rectangle = window->findChild<QWidget*>(name)->geometry();
    return {rectangle.x(), window->height() - rectangle.y() - rectangle.height(), rectangle.width(),
            rectangle.height()};
  }

  AboutWindow* window = nullptr;
};

TEST_F(About, IsOneWindowForTheLifeOfTheProcess) {
  window->close();
  EXPECT_FALSE(window->isVisible());
  delegate.showCustomAboutWindow();
  EXPECT_EQ(delegate.aboutWindow(), window);
  EXPECT_TRUE(window->isVisible());
}

TEST_F(About, HasItsSizeTitleAndKind) {
  EXPECT_EQ(window->size(), QSize(520, 390));
  EXPECT_EQ(window->minimumSize(), window->maximumSize());
  EXPECT_EQ(window->windowTitle(), "About Tolvane");
  const Qt::WindowFlags flags = window->windowFlags();
  EXPECT_TRUE(flags & Qt::WindowStaysOnTopHint);
  EXPECT_TRUE(flags & Qt::WindowTitleHint);
  EXPECT_TRUE(flags & Qt::WindowCloseButtonHint);
  EXPECT_FALSE(flags & Qt::WindowMinimizeButtonHint);
  EXPECT_FALSE(flags & Qt::WindowMaximizeButtonHint);
}

TEST_F(About, IsCentredEachTimeItIsShown) {
  const QPoint center = window->screen()->availableGeometry().center();
  EXPECT_NEAR(window->geometry().center().x(), center.x(), 1);
  window->move(0, 0);
  delegate.showCustomAboutWindow();
  EXPECT_NEAR(window->geometry().center().x(), center.x(), 1);
  EXPECT_NEAR(window->geometry().center().y(), center.y(), 1);
  EXPECT_TRUE(QTest::qWaitForWindowActive(window));
}

TEST_F(About, EachControlHasItsFrame) {
  EXPECT_EQ(frame("aboutIcon"), QRect(32, 268, 96, 96));
  EXPECT_EQ(frame("aboutName"), QRect(150, 324, 330, 28));
  EXPECT_EQ(frame("aboutVersion"), QRect(152, 298, 330, 20));
  EXPECT_EQ(frame("aboutDescription"), QRect(32, 185, 456, 70));
  EXPECT_EQ(frame("aboutLink"), QRect(28, 152, 300, 24));
  EXPECT_EQ(frame("aboutCopyright"), QRect(32, 42, 456, 96));
}

TEST_F(About, SaysWhatTheProgramIs) {
  EXPECT_EQ(label("aboutName").text(), "Tolvane");
  EXPECT_TRUE(label("aboutName").font().bold());
  EXPECT_EQ(QFontInfo(label("aboutName").font()).pixelSize(), 24);
  EXPECT_EQ(label("aboutVersion").text(), "Version 1.2 (34)");
  EXPECT_EQ(QFontInfo(label("aboutVersion").font()).pixelSize(), 13);
  const QString description = label("aboutDescription").text();
  EXPECT_TRUE(description.startsWith(
      "Tolvane is a simple native macOS utility for archiving and downloading packages from APT, "
      "Installer 3 & Installer 4 repositories"));
  EXPECT_TRUE(description.endsWith(" developed by The Tolvane Authors"));
  EXPECT_EQ(QFontInfo(label("aboutDescription").font()).pixelSize(), 13);
  EXPECT_GT(label("aboutCopyright").text().count('\n'), 1);
  EXPECT_EQ(QFontInfo(label("aboutCopyright").font()).pixelSize(), 12);
}

TEST_F(About, ItsTextsAreTheseAndNoOthers) {
  EXPECT_EQ(label("aboutDescription").text(),
            "Tolvane is a simple native macOS utility for archiving and downloading packages from "
            "APT, Installer 3 & Installer 4 repositories developed by The Tolvane Authors");
  EXPECT_EQ(label("aboutCopyright").text(),
            QString::fromUtf8("Copyright \u00A9 2026 The Tolvane Authors\n"
                              "Free software under the MIT License.\n\n"
                              "It comes without warranty of any kind. Packages belong to those who "
                              "made them."));
  EXPECT_EQ(window->findChildren<QLabel*>().size(), 4);
  EXPECT_EQ(window->findChildren<QPushButton*>().size(), 1);
  const QColor secondary = secondaryLabelColor(QApplication::palette());
  for (const char* name : {"aboutVersion", "aboutCopyright"}) {
    EXPECT_EQ(label(name).palette().color(QPalette::WindowText), secondary) << name;
  }
  for (const char* name : {"aboutName", "aboutVersion", "aboutDescription", "aboutCopyright"}) {
    EXPECT_EQ(label(name).frameShape(), QFrame::NoFrame) << name;
    EXPECT_EQ(label(name).textFormat(), Qt::PlainText) << name;
  }
}

// A small icon is drawn larger and a large one smaller, with its sides in proportion.
TEST(AboutIcon, FillsItsFrameInProportion) {
  for (const int height : {20, 2000}) {
    QPixmap pixmap(height / 2, height);
    pixmap.fill(Qt::red);
    const AboutWindow about(QIcon(pixmap), {"1.2", "34"});
    const QImage image = about.findChild<QWidget*>("aboutIcon")->grab().toImage();
    const double scale = image.width() / 96.0;
    const auto isRed = [&](int x, int y) {
      return image.pixelColor(qRound(x * scale), qRound(y * scale)).red() == 255 &&
             image.pixelColor(qRound(x * scale), qRound(y * scale)).green() == 0;
    };
    EXPECT_TRUE(isRed(48, 3) && isRed(48, 92) && isRed(27, 48) && isRed(68, 48)) << height;
    EXPECT_FALSE(isRed(20, 48) || isRed(75, 48)) << height;
  }
}

TEST_F(About, ItsParagraphsWrapAndCanBeSelectedAndFitTheirFrames) {
  for (const char* name : {"aboutDescription", "aboutCopyright"}) {
    EXPECT_TRUE(label(name).wordWrap());
    EXPECT_TRUE(label(name).textInteractionFlags() & Qt::TextSelectableByMouse);
    EXPECT_FALSE(label(name).textInteractionFlags() & Qt::TextEditable);
    EXPECT_LE(label(name).heightForWidth(label(name).width()), label(name).height()) << name;
  }
  for (const char* name : {"aboutName", "aboutVersion"}) {
    EXPECT_FALSE(label(name).textInteractionFlags() & Qt::TextSelectableByMouse);
    EXPECT_LE(label(name).sizeHint().width(), label(name).width());
  }
}

TEST_F(About, ItsLinkOpensTheWebsite) {
  auto* const link = window->findChild<QPushButton*>("aboutLink");
  EXPECT_EQ(toText(link->text()), kWebsite);
  QTest::mouseClick(link, Qt::LeftButton);
  EXPECT_THAT(opened, ElementsAre(kWebsite));
}

TEST(VersionLine, WithoutAShortVersionIsABetaRelease) {
  EXPECT_EQ(versionLine({"1.2", "34"}), "Version 1.2 (34)");
  EXPECT_EQ(versionLine({"1.2", ""}), "Version 1.2 ()");
  EXPECT_EQ(versionLine({"", "34"}), "Beta Release");
}

}  // namespace
}  // namespace tolvane
