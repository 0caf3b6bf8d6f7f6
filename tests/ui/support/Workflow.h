// SPDX-License-Identifier: MIT
#pragma once

#include <QElapsedTimer>
#include <QEvent>
#include <algorithm>
#include <atomic>
#include <chrono>
#include <functional>
#include <memory>
#include <thread>

#include "base/NotificationCenter.h"
#include "model/CrawlerLogger.h"
#include "tests/support/LoopbackHandlers.h"
#include "tests/support/LoopbackServer.h"
#include "tests/support/TemporaryFolder.h"
#include "tests/ui/support/Window.h"

namespace tolvane {

// Every text that the status line shows, one after another.
class StatusRecorder : public QObject {
 public:
  explicit StatusRecorder(ElidedLabel& label) : label_(label) { label.installEventFilter(this); }

  std::vector<std::string> texts;

 protected:
  bool eventFilter(QObject* /*object*/, QEvent* event) override {
    // The label's tool tip follows its text.
    if (event->type() == QEvent::ToolTipChange) {
      const std::string text = toText(label_.text());
      if (texts.empty() || texts.back() != text) texts.push_back(text);
    }
    return false;
  }

 private:
  ElidedLabel& label_;
};

// Keeps package steps of the download queue from ending for as long as it lives, so that those
// behind them wait. A step logs, on its own thread, what it is about to download.
class HeldSteps {
 public:
  HeldSteps()
      : token_(NotificationCenter::defaultCenter().addObserver(
            CrawlerLoggerDidLogMessageNotification, [held = held_](const UserInfo& userInfo) {
              if (!userInfo.at("message").starts_with("Downloading: ")) return;
              while (*held) std::this_thread::sleep_for(std::chrono::milliseconds(1));
            })) {}
  ~HeldSteps() { *held_ = false; }

  HeldSteps(const HeldSteps&) = delete;
  HeldSteps& operator=(const HeldSteps&) = delete;

 private:
  std::shared_ptr<std::atomic<bool>> held_ = std::make_shared<std::atomic<bool>>(true);
  NotificationCenter::Token token_;
};

// The record of a package in an APT index, for a file of `bytes`.
struct ServedPackage {
  std::string name;
  std::string bytes;
  std::string size = std::to_string(bytes.size());

  std::string filename() const { return name + "_1.deb"; }
  std::string stanza() const {
    return "Package: " + name + "\nVersion: 1\nFilename: debs/" + filename() + "\nSize: " + size +
           "\n\n";
  }
};

inline const ServedPackage kA{"a", "bytes of a"};
inline const ServedPackage kB{"b", "bytes of b, which are more"};
inline const ServedPackage kC{"c", "c"};
// Its file is not what the index promises.
inline const ServedPackage kBad{"bad", "too short", "1000"};

// The window at work on repositories of a server on loopback.
class Workflow : public Window {
 protected:
  static constexpr auto kPatience = std::chrono::seconds(20);

  // Runs the main thread until the condition holds; a test in which it never does fails.
  void runUntil(const std::function<bool()>& condition) {
    const auto end = std::chrono::steady_clock::now() + kPatience;
    while (!condition()) {
      if (std::chrono::steady_clock::now() > end) {
        FAIL() << "it did not come; the status is: " << status();
      }
      runFor(std::chrono::milliseconds(1));
    }
  }

  // Runs the main thread for a while, in which whatever must not come has time to come.
  void runFor(std::chrono::milliseconds time) {
    std::this_thread::sleep_for(time);
    queue.drain();
    QCoreApplication::processEvents();
  }

  void runUntilStatus(const std::string& text) {
    runUntil([&] { return status() == text; });
  }

  // The console's messages as "type: text", without their times.
  std::vector<std::string> consoleLines() const {
    std::vector<std::string> lines;
    for (const ConsoleMessage& message : controller.consoleMessages()) {
      EXPECT_EQ(message.message.substr(9, 2), "] ") << message.message;
      lines.push_back(message.type + ": " + message.message.substr(11));
    }
    return lines;
  }

  bool consoleHas(const std::string& line) const {
    const auto lines = consoleLines();
    return std::find(lines.begin(), lines.end(), line) != lines.end();
  }

  // From now on, the console and the status line are recorded anew.
  void forgetTexts() {
    forgotten_ = controller.consoleMessages().size();
    statuses.texts.clear();
  }
  std::vector<std::string> newConsoleLines() const {
    auto lines = consoleLines();
    lines.erase(lines.begin(), lines.begin() + static_cast<std::ptrdiff_t>(forgotten_));
    return lines;
  }

  std::vector<std::string> systemLines(std::string_view tag) const {
    auto lines = log.lines();
    std::erase_if(lines, [&](const std::string& line) { return !line.starts_with(tag); });
    return lines;
  }

  void enterURL(const std::string& url) { c.repoURLField->setText(toQString(url)); }
  void choose(std::string_view type) { c.repositoryTypePopup->setCurrentText(toQString(type)); }
  void press(QPushButton* button) { QTest::mouseClick(button, Qt::LeftButton); }
  void fetch(const std::string& url) {
    enterURL(url);
    press(c.fetchButton);
  }
  void awaitFetch() {
    runUntil([&] { return c.fetchButton->isEnabled(); });
  }

  // Serves the packages as an APT repository and loads it into the window.
  void loadRepository(const std::vector<ServedPackage>& packages) {
    std::string index;
    for (const ServedPackage& package : packages) {
      index += package.stanza();
      server.on("/repo/debs/" + package.filename(), respond(200, package.bytes));
    }
    server.on("/repo/Packages", respond(200, index));
    fetch(repository());
    awaitFetch();
    ASSERT_EQ(controller.packages().size(), packages.size());
    forgetTexts();
  }
  std::string repository() const { return server.url("/repo/"); }
  std::string address(const ServedPackage& package) const {
    return repository() + "debs/" + package.filename();
  }

  // One alert is open, with these texts and the button "OK".
  void expectNotice(std::string_view message, std::string_view information) const {
    ASSERT_EQ(dialogs.shown.size(), 1u);
    EXPECT_EQ(dialogs.shown[0].window, controller.window());
    EXPECT_EQ(dialogs.shown[0].alert.messageText, message);
    EXPECT_EQ(dialogs.shown[0].alert.informativeText, information);
    EXPECT_THAT(dialogs.shown[0].alert.buttons, testing::ElementsAre("OK"));
  }
  // Answers the open alert.
  void answer(std::size_t button) {
    ASSERT_FALSE(dialogs.shown.empty());
    const auto alert = dialogs.shown.back();
    dialogs.shown.pop_back();
    alert.answered(button);
  }
  void chooseFolder(const std::string& path) { answerPanel(ChosenFolder{path, nullptr}); }
  void cancelPanel() { answerPanel(std::nullopt); }
  void answerPanel(std::optional<ChosenFolder> chosen) {
    ASSERT_FALSE(dialogs.panels.empty());
    const auto panel = dialogs.panels.back();
    dialogs.panels.pop_back();
    panel.chosen(std::move(chosen));
  }

  // Whether the progress bar is there, and moves without saying how far things are.
  bool barMoves() const {
    return !c.progressIndicator->isHidden() && c.progressIndicator->isIndeterminate();
  }

  // Which of the buttons that workflows enable and disable are enabled, by their titles.
  std::vector<std::string> enabledButtons() const {
    std::vector<std::string> titles;
    for (const QPushButton* button :
         {c.fetchButton, c.downloadSelectedButton, c.downloadMissingButton, c.checkArchiveButton,
          c.cancelDownloadsButton}) {
      if (button->isEnabled()) titles.push_back(toText(button->text()));
    }
    return titles;
  }

  LoopbackServer server;
  TemporaryFolder folder;
  StatusRecorder statuses{*c.statusLabel};

 private:
  std::size_t forgotten_ = 0;
};

}  // namespace tolvane
