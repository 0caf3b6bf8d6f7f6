// SPDX-License-Identifier: MIT
#include <QScrollBar>
#include <algorithm>
#include <cmath>
#include <cstdio>
#include <ctime>
#include <fmt/format.h>
#include <thread>

#include "model/CrawlerLogger.h"
#include "tests/ui/support/Window.h"
#include "ui/widgets/SystemColors.h"

namespace tolvane {
namespace {

using testing::ElementsAre;
using testing::EndsWith;
using testing::MatchesRegex;

class Console : public Window {
 protected:
  void append(std::string_view text, std::string_view type = "info") {
    controller.appendConsoleMessage(text, type);
  }

  void chooseErrorsOnly() { c.consoleFilterPopup->setCurrentIndex(1); }
  void chooseAll() { c.consoleFilterPopup->setCurrentIndex(0); }

  // The lines without their time stamps.
  std::vector<std::string> lines() const {
    std::vector<std::string> lines;
    for (const QString& line : c.consoleTextView->toPlainText().split('\n', Qt::SkipEmptyParts)) {
      lines.push_back(toText(line.mid(line.startsWith('[') ? 11 : 0)));
    }
    return lines;
  }

  const ConsoleMessage& record(std::size_t index) const {
    return controller.consoleMessages().at(index);
  }
};

TEST_F(Console, AMessageIsAppendedWithItsTimeAndType) {
  append("Hello", "success");
  ASSERT_EQ(controller.consoleMessages().size(), 1u);
  EXPECT_THAT(record(0).message, MatchesRegex("\\[[0-2][0-9]:[0-5][0-9]:[0-5][0-9]\\] Hello"));
  EXPECT_EQ(record(0).type, "success");
  EXPECT_EQ(console(), record(0).message + "\n");
}

TEST_F(Console, TheTimeIsTheLocalOneInTwentyFourHours) {
  setenv("TZ", "UTC-14", 1);
  tzset();
  const auto hours = (std::time(nullptr) / 3600 + 14) % 24;
  append("Hello");
  EXPECT_EQ(record(0).message.substr(1, 2), fmt::format("{:02}", hours));
  unsetenv("TZ");
  tzset();
}

TEST_F(Console, AnAbsentTextDoesNothing) {
  controller.appendConsoleMessage(std::nullopt, "error");
  EXPECT_TRUE(controller.consoleMessages().empty());
  EXPECT_EQ(console(), "Console messages will appear here.");
}

TEST_F(Console, AnEmptyTextIsABareTimeStamp) {
  append("");
  EXPECT_THAT(record(0).message, MatchesRegex("\\[..:..:..\\] "));
}

TEST_F(Console, AnAbsentTypeIsInfoAndAnUnknownOneIsKept) {
  controller.appendConsoleMessage("Hello", std::nullopt);
  EXPECT_EQ(record(0).type, "info");
  append("Hello", "notice");
  EXPECT_EQ(record(1).type, "notice");
}

TEST_F(Console, EachTypeHasItsColour) {
  const QPalette palette = c.consoleTextView->palette();
  const QColor info = consoleColor("info", palette);
  EXPECT_EQ(info, secondaryLabelColor(palette));
  EXPECT_EQ(consoleColor("notice", palette), info);
  EXPECT_EQ(consoleColor("", palette), info);
  const QColor red = consoleColor("error", palette);
  const QColor green = consoleColor("success", palette);
  const QColor orange = consoleColor("warning", palette);
  EXPECT_TRUE(red.red() > 2 * red.green() && red.red() > 2 * red.blue());
  EXPECT_TRUE(green.green() > 2 * green.red() && green.green() > 2 * green.blue());
  EXPECT_TRUE(orange.red() > orange.green() && orange.green() > orange.blue());
}

TEST_F(Console, ColoursAreReadableOnLightAndDark) {
  const auto luminance = [](const QColor& color) {
    const auto part = [](double value) {
      return value <= 0.03928 ? value / 12.92 : std::pow((value + 0.055) / 1.055, 2.4);
    };
    return 0.2126 * part(color.redF()) + 0.7152 * part(color.greenF()) +
           0.0722 * part(color.blueF());
  };
  for (const auto& [base, text] : {std::pair(Qt::white, Qt::black), {Qt::black, Qt::white}}) {
    QPalette palette;
    palette.setColor(QPalette::Base, base);
    palette.setColor(QPalette::Text, text);
    for (const char* type : {"info", "success", "warning", "error"}) {
      const double one = luminance(base) + 0.05;
      const double other = luminance(consoleColor(type, palette)) + 0.05;
      EXPECT_GE(std::max(one, other) / std::min(one, other), 4.5) << type;
    }
  }
}

TEST_F(Console, AMessageIsDrawnInItsColour) {
  show();
  for (const char* type : {"info", "success", "warning", "error"}) {
    append("\u2588\u2588\u2588\u2588", type);
    const QImage image = c.consoleTextView->viewport()->grab().toImage();
    const QRgb wanted = consoleColor(type, c.consoleTextView->palette()).rgb();
    bool found = false;
    for (int y = 0; y < image.height(); ++y) {
      for (int x = 0; x < image.width(); ++x) found |= image.pixel(x, y) == wanted;
    }
    EXPECT_TRUE(found) << type;
  }
}

TEST_F(Console, WithoutAnyMessageItsTextIsDrawnAsInformationIs) {
  show();
  const auto frame = [this] { return c.consoleTextView->viewport()->grab().toImage(); };
  const auto frameOf = [&](const TextLine& line) {
    c.consoleTextView->setText(LongText::ofLine(line));
    return frame();
  };
  const QImage before = frame();
  controller.refreshConsoleView();
  const QImage after = frame();
  static constexpr TextLine kTexts[][2] = {
      {{"Console messages will appear here.", "info"},
       {"Console messages will appear here.", "error"}},
      {{"No console messages.", "info"}, {"No console messages.", "error"}}};
  EXPECT_EQ(before, frameOf(kTexts[0][0]));
  EXPECT_NE(before, frameOf(kTexts[0][1]));
  EXPECT_EQ(after, frameOf(kTexts[1][0]));
  EXPECT_NE(after, frameOf(kTexts[1][1]));
}

TEST_F(Console, ErrorsOnlyKeepsRecordsWhoseTypeIsExactlyError) {
  append("one", "info");
  append("two", "error");
  append("three", "Error");
  append("four", "error ");
  append("five", "warning");
  append("six", "error");
  chooseErrorsOnly();
  EXPECT_THAT(lines(), ElementsAre("two", "six"));
  append("seven", "error");
  append("eight", "success");
  EXPECT_THAT(lines(), ElementsAre("two", "six", "seven"));
  chooseAll();
  EXPECT_EQ(lines().size(), 8u);
}

TEST_F(Console, ErrorsAreSelectedAsOneTextWithoutWhatCameBetweenThem) {
  append("Before");
  append("One\nof two lines", "error");
  append("Between", "warning");
  append("Two", "error");
  chooseErrorsOnly();
  c.consoleTextView->selectAll();
  EXPECT_EQ(toText(c.consoleTextView->selectedText()),
            record(1).message + "\n" + record(3).message);
  append("Three", "error");
  EXPECT_THAT(lines(), ElementsAre("One", "of two lines", "Two", "Three"));
}

TEST_F(Console, BeforeAnyMessageErrorsOnlySaysSo) {
  chooseErrorsOnly();
  EXPECT_EQ(console(), "No console messages.\n");
  chooseAll();
  EXPECT_EQ(console(), "No console messages.\n");
}

TEST_F(Console, WithoutErrorsErrorsOnlySaysSoAndAllMessagesComeBackWithTheirTimes) {
  append("one");
  append("two");
  const std::string before = console();
  chooseErrorsOnly();
  EXPECT_EQ(console(), "No console messages.\n");
  chooseAll();
  EXPECT_EQ(console(), before);
}

TEST_F(Console, TheFirstMessageReplacesThePlaceholder) {
  append("one");
  EXPECT_THAT(lines(), ElementsAre("one"));
}

TEST_F(Console, FollowsTheNewestLineEvenAfterTheUserScrolledUp) {
  show();
  for (int i = 0; i < 100; ++i) append("message " + std::to_string(i));
  QScrollBar& bar = *c.consoleTextView->verticalScrollBar();
  EXPECT_TRUE(c.consoleTextView->isAtEnd());
  EXPECT_EQ(bar.value(), bar.maximum());
  bar.setValue(0);
  EXPECT_FALSE(c.consoleTextView->isAtEnd());
  append("newest");
  EXPECT_TRUE(c.consoleTextView->isAtEnd());
  EXPECT_EQ(bar.value(), bar.maximum());
  bar.setValue(0);
  chooseErrorsOnly();
  chooseAll();
  EXPECT_TRUE(c.consoleTextView->isAtEnd());
}

TEST_F(Console, ResizingKeepsTheEndInView) {
  show();
  for (int i = 0; i < 100; ++i) append(std::string(90, 'x') + std::to_string(i));
  controller.resize(1600, 900);
  EXPECT_TRUE(c.consoleTextView->isAtEnd());
}

TEST_F(Console, IsNeverTrimmed) {
  for (int i = 0; i < 3000; ++i) append("message " + std::to_string(i));
  EXPECT_EQ(controller.consoleMessages().size(), 3000u);
  EXPECT_EQ(lines().size(), 3000u);
  EXPECT_EQ(lines().front(), "message 0");
  EXPECT_EQ(lines().back(), "message 2999");
}

TEST_F(Console, ShowsWhatIsPostedOnTheLogBusOnceTheMainQueueGetsThere) {
  CrawlerLogger::logWarning("Careful");
  EXPECT_TRUE(controller.consoleMessages().empty());
  queue.drain();
  EXPECT_THAT(lines(), ElementsAre("Careful"));
  EXPECT_EQ(record(0).type, "warning");
}

// Without a recorder, which wants both entries.
TEST(ConsoleAlone, ANotificationWithoutEntriesIsAnEmptyInfoMessage) {
  RunLoop queue;
  ScriptedDialogs dialogs;
  const ViewController controller(queue, dialogs);
  NotificationCenter::defaultCenter().post(CrawlerLoggerDidLogMessageNotification, {});
  queue.drain();
  ASSERT_EQ(controller.consoleMessages().size(), 1u);
  EXPECT_THAT(controller.consoleMessages()[0].message, MatchesRegex("\\[..:..:..\\] "));
  EXPECT_EQ(controller.consoleMessages()[0].type, "info");
}

TEST_F(Console, LinesOfAMessageAndLongOnesAreOneText) {
  const std::string text = "one\ntwo " + std::string(5000, 'x') + "\n\nthree";
  append(text);
  EXPECT_THAT(console(), EndsWith("] " + text + "\n"));
  c.consoleTextView->selectAll();
  EXPECT_THAT(toText(c.consoleTextView->selectedText()), EndsWith("] " + text));
}

TEST_F(Console, ItsOwnMessagesDoNotGoToTheLogs) {
  const auto before = log.allLines();
  append("Hello");
  EXPECT_EQ(log.allLines(), before);
  EXPECT_TRUE(log.messages().empty());
}

TEST_F(Console, AMessageForADestroyedControllerIsDropped) {
  auto other = std::make_unique<ViewController>(queue, dialogs);
  CrawlerLogger::logInfo("Hello");
  other.reset();
  CrawlerLogger::logInfo("Again");
  queue.drain();
  EXPECT_EQ(controller.consoleMessages().size(), 2u);
}

// Runs tasks, and records the order in which they were posted.
TEST_F(Console, TenThousandMessagesFromFourThreadsArriveInTheOrderOfTheMainQueue) {
  constexpr int kThreads = 4;
  constexpr int kMessages = 2500;
  const char* const types[] = {"info", "success", "warning", "error"};
  std::vector<std::thread> threads;
  for (int thread = 0; thread < kThreads; ++thread) {
    threads.emplace_back([thread] {
      for (int i = 0; i < kMessages; ++i) {
        CrawlerLogger::logMessage(fmt::format("{} {}", thread, i), thread);
      }
    });
  }
  for (std::thread& thread : threads) thread.join();
  EXPECT_TRUE(controller.consoleMessages().empty());
  queue.drain();
  ASSERT_EQ(controller.consoleMessages().size(), std::size_t{kThreads * kMessages});
  int next[kThreads] = {};
  for (const ConsoleMessage& message : controller.consoleMessages()) {
    int thread = -1;
    int number = -1;
    int hours = 0;
    int minutes = 0;
    int seconds = 0;
    ASSERT_EQ(std::sscanf(message.message.c_str(), "[%2d:%2d:%2d] %d %d", &hours, &minutes,
                          &seconds, &thread, &number),
              5)
        << message.message;
    EXPECT_EQ(number, next[thread]++);
    EXPECT_EQ(message.type, types[thread]);
  }
  EXPECT_EQ(lines().size(), controller.consoleMessages().size());
}

}  // namespace
}  // namespace tolvane
