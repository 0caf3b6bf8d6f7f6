// SPDX-License-Identifier: MIT
#include <QTest>
#include <QTimer>
#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include "app/ApplicationEvents.h"
#include "tests/app/ScriptedStore.h"

namespace tolvane {
namespace {

using testing::SizeIs;

// A program with a main window and, where a test shows it, an About window. A save that fails asks
// the user, so the number of questions is the number of times that the quit logic has run.
class ProgramEvents : public testing::Test {
 protected:
  explicit ProgramEvents(LastWindowClosed lastWindowClosed = LastWindowClosed::quits)
      : events(delegate, lastWindowClosed, [this] { ++ends; }) {
    delegate.addWindow(&window);
    window.show();
    store.changed = true;
    store.saveError = Error{"NSSQLiteErrorDomain", 13, "database or disk is full"};
  }

  void userStays() { alerts.answer = 1; }
  void userQuits() { alerts.answer = 0; }
  std::size_t questions() const { return alerts.alerts.size(); }

  AppDelegate::Settings settings() {
    return {[this] { return std::make_unique<ScriptedContainer>(store); },
            [](const QUrl&) {},
            QIcon(),
            {}};
  }

  // Qt sends this event for the menu's Quit on macOS and for the end of a session.
  static bool sendQuit() {
    QEvent quit(QEvent::Quit);
    QCoreApplication::sendEvent(qApp, &quit);
    return quit.isAccepted();
  }

  StoreScript store;
  ScriptedAlerts alerts;
  int ends = 0;
  AppDelegate delegate{alerts, settings()};
  QWidget window;
  ApplicationEvents events;
};

using QuitEvents = ProgramEvents;

TEST_F(QuitEvents, TheMenuEndsTheProgramWhereTheDelegateAgrees) {
  userStays();
  EXPECT_FALSE(events.terminate());
  EXPECT_EQ(ends, 0);
  userQuits();
  EXPECT_TRUE(events.terminate());
  EXPECT_EQ(ends, 1);
  EXPECT_EQ(questions(), 2u);
}

TEST_F(QuitEvents, QtsQuitEventAsksTheDelegateOnceAndClosesNoWindow) {
  userStays();
  EXPECT_FALSE(sendQuit());
  EXPECT_EQ(questions(), 1u);
  EXPECT_TRUE(window.isVisible());
  EXPECT_EQ(ends, 0);
  userQuits();
  EXPECT_TRUE(sendQuit());
  EXPECT_EQ(questions(), 2u);
  EXPECT_EQ(ends, 1);
}

TEST_F(QuitEvents, EndTheEventLoop) {
  QTimer::singleShot(0, &events, [this] { events.terminate(); });
  QTimer::singleShot(20'000, &events, [] { QCoreApplication::exit(1); });
  EXPECT_EQ(QCoreApplication::exec(), 0);
}

TEST_F(QuitEvents, ClosingTheLastWindowAsksBeforeItCloses) {
  userStays();
  EXPECT_FALSE(window.close());
  EXPECT_TRUE(window.isVisible());
  EXPECT_EQ(questions(), 1u);
  userQuits();
  EXPECT_TRUE(window.close());
  EXPECT_EQ(ends, 1);
  EXPECT_EQ(questions(), 2u);
}

TEST_F(QuitEvents, ClosingAWindowThatIsNotTheLastIsNoQuit) {
  delegate.showCustomAboutWindow();
  EXPECT_TRUE(window.close());
  EXPECT_FALSE(window.isVisible());
  EXPECT_EQ(questions(), 0u);
  userStays();
  EXPECT_FALSE(delegate.aboutWindow()->close());
  EXPECT_TRUE(delegate.aboutWindow()->isVisible());
  userQuits();
  EXPECT_TRUE(delegate.aboutWindow()->close());
  EXPECT_EQ(ends, 1);
  EXPECT_EQ(questions(), 2u);
}

TEST_F(QuitEvents, ClosingADialogIsNoQuit) {
  QWidget dialog;
  dialog.show();
  EXPECT_TRUE(dialog.close());
  EXPECT_EQ(questions(), 0u);
  EXPECT_EQ(ends, 0);
}

TEST_F(QuitEvents, WhatIsAskedToQuitAgainMeanwhileStays) {
  struct AskingAgain : ScriptedAlerts {
    std::size_t runModal(const Alert& alert) override {
      again = events->terminate();
      return ScriptedAlerts::runModal(alert);
    }
    ApplicationEvents* events = nullptr;
    bool again = true;
  } asking;
  AppDelegate other(asking, settings());
  ApplicationEvents otherEvents(other, LastWindowClosed::quits, [] {});
  asking.events = &otherEvents;
  EXPECT_TRUE(otherEvents.terminate());
  EXPECT_FALSE(asking.again);
  EXPECT_THAT(asking.alerts, SizeIs(1));
}

TEST_F(QuitEvents, OnceTheProgramEndsNothingIsAskedAnyMore) {
  EXPECT_TRUE(events.terminate());
  EXPECT_TRUE(window.close());
  EXPECT_TRUE(sendQuit());
  EXPECT_EQ(questions(), 1u);
  EXPECT_EQ(ends, 1);
}

TEST_F(QuitEvents, WhatASessionsEndMayDoIsAskedAgainWhenTheEndComes) {
  EXPECT_TRUE(events.sessionMayEnd());
  EXPECT_EQ(ends, 0);
  // Another program has refused; this one has gone on, and the user would now rather stay.
  userStays();
  EXPECT_FALSE(sendQuit());
  EXPECT_EQ(questions(), 2u);
  EXPECT_EQ(ends, 0);
}

TEST_F(QuitEvents, ASessionThatWasRefusedAsksAgain) {
  userStays();
  EXPECT_FALSE(events.sessionMayEnd());
  EXPECT_FALSE(sendQuit());
  EXPECT_EQ(questions(), 2u);
  EXPECT_EQ(ends, 0);
}

class DockEvents : public ProgramEvents {
 protected:
  DockEvents() : ProgramEvents(LastWindowClosed::staysInTheDock) {}

  static void click() { emit qApp->applicationStateChanged(Qt::ApplicationActive); }
};

TEST_F(DockEvents, ClosingTheLastWindowLeavesTheProgramRunning) {
  EXPECT_TRUE(window.close());
  EXPECT_EQ(questions(), 0u);
  EXPECT_EQ(ends, 0);
}

TEST_F(DockEvents, AClickOnTheIconBringsTheFirstWindowBack) {
  window.close();
  click();
  EXPECT_TRUE(window.isVisible());
}

TEST_F(DockEvents, AClickWithAnyWindowInViewDoesNothing) {
  delegate.showCustomAboutWindow();
  window.close();
  click();
  EXPECT_FALSE(window.isVisible());
}

TEST_F(DockEvents, AClickWithAnyWindowMinimisedDoesNothing) {
  delegate.showCustomAboutWindow();
  window.close();
  delegate.aboutWindow()->showMinimized();
  click();
  EXPECT_FALSE(window.isVisible());
  EXPECT_TRUE(delegate.aboutWindow()->isMinimized());
}

TEST_F(DockEvents, LosingTheFocusReopensNothing) {
  window.close();
  for (const auto state : {Qt::ApplicationInactive, Qt::ApplicationHidden}) {
    emit qApp->applicationStateChanged(state);
    EXPECT_FALSE(window.isVisible());
  }
}

TEST_F(ProgramEvents, ElsewhereBecomingActiveReopensNothing) {
  QWidget other;
  delegate.addWindow(&other);
  window.hide();
  emit qApp->applicationStateChanged(Qt::ApplicationActive);
  EXPECT_FALSE(window.isVisible());
}

}  // namespace
}  // namespace tolvane
