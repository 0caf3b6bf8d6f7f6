// SPDX-License-Identifier: MIT
#include <ctime>
#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <sstream>
#include <thread>

#include "cli/Console.h"
#include "model/CrawlerLogger.h"
#include "tests/cli/CommandResult.h"

namespace tolvane {
namespace {

using testing::ElementsAre;
using testing::EndsWith;
using testing::StartsWith;

ConsoleSettings colored() {
  ConsoleSettings settings;
  settings.color = true;
  return settings;
}

ConsoleSettings withStatusLine(std::size_t columns = 80) {
  ConsoleSettings settings;
  settings.statusLine = true;
  settings.columns = columns;
  return settings;
}

TEST(Console, StampsEachMessageWithTheLocalTime) {
  std::ostringstream stream;
  Console console(stream, {});
  const std::time_t before = std::time(nullptr);
  console.append("Parsed 3 package(s)", "success");
  const std::time_t after = std::time(nullptr);
  std::vector<std::string> expected;
  for (const std::time_t time : {before, after}) {
    char text[16];
    std::strftime(text, sizeof text, "[%H:%M:%S] ", std::localtime(&time));
    expected.push_back(std::string(text) + "Parsed 3 package(s)\n");
  }
  EXPECT_THAT(expected, testing::Contains(stream.str()));
}

TEST(Console, ColorsLinesByTheirType) {
  const std::vector<std::pair<std::string, std::string>> colors{
      {"error", "\033[31m"}, {"success", "\033[32m"}, {"warning", "\033[33m"},
      {"info", "\033[2m"},   {"other", "\033[2m"},
  };
  for (const auto& [type, color] : colors) {
    std::ostringstream stream;
    Console(stream, colored()).append("text", type);
    EXPECT_THAT(stream.str(), StartsWith(color + "[")) << type;
    EXPECT_THAT(stream.str(), EndsWith("] text\033[0m\n")) << type;
  }
}

TEST(Console, ShowsOnlyWarningsAndErrorsWithWarningsOnly) {
  std::ostringstream stream;
  ConsoleSettings settings;
  settings.warningsOnly = true;
  Console console(stream, settings);
  for (const char* type : {"info", "success", "warning", "error"}) console.append(type, type);
  EXPECT_THAT(consoleMessages(stream.str()), ElementsAre("warning", "error"));
}

TEST(Console, SendsNoControlCharacterOfAMessage) {
  std::ostringstream stream;
  Console(stream, {}).append("a\033[2Jb\nc", "info");
  EXPECT_THAT(consoleMessages(stream.str()), ElementsAre("a\uFFFD[2Jb\uFFFDc"));
}

TEST(Console, KeepsTheStatusBelowTheMessages) {
  std::ostringstream stream;
  {
    Console console(stream, withStatusLine());
    console.showStatus("1 of 2");
    EXPECT_EQ(stream.str(), "\r\033[K1 of 2");
    stream.str("");
    console.append("text", "info");
    EXPECT_THAT(stream.str(), StartsWith("\r\033[K["));
    EXPECT_THAT(stream.str(), EndsWith("] text\n1 of 2"));
    stream.str("");
  }
  EXPECT_EQ(stream.str(), "\r\033[K");
}

TEST(Console, WritesNoStatusWithoutAStatusLine) {
  std::ostringstream stream;
  {
    Console console(stream, {});
    console.showStatus("1 of 2");
    console.clearStatus();
  }
  EXPECT_EQ(stream.str(), "");
}

TEST(Console, CutsTheStatusToTheTerminal) {
  std::ostringstream stream;
  Console console(stream, withStatusLine(10));
  console.showStatus("0123456789abc");
  EXPECT_THAT(stream.str(), EndsWith("012345678"));
}

TEST(Console, ShowsTheLogBusWhileTheTokenLives) {
  std::ostringstream stream;
  auto token = showLogBus(std::make_shared<Console>(stream, ConsoleSettings()));
  CrawlerLogger::logInfo("one");
  CrawlerLogger::logError("two");
  token.reset();
  CrawlerLogger::logError("three");
  EXPECT_THAT(consoleMessages(stream.str()), ElementsAre("one", "two"));
}

TEST(Console, LeavesOutMessagesOfTheLogBusWithAGivenEnding) {
  std::ostringstream stream;
  const auto console = std::make_shared<Console>(stream, ConsoleSettings());
  const auto token = showLogBus(console);
  console->leaveOut("disk full");
  CrawlerLogger::logError("Download failed: disk full");
  CrawlerLogger::logError("disk full!");
  console->append("Could not save Release: disk full", "error");
  console->leaveOut("");
  CrawlerLogger::logError("disk full");
  EXPECT_THAT(consoleMessages(stream.str()),
              ElementsAre("disk full!", "Could not save Release: disk full", "disk full"));
}

TEST(Console, APlainLineHasNeitherTimeNorColorAndIsShownWithWarningsOnly) {
  std::ostringstream stream;
  ConsoleSettings settings = colored();
  settings.warningsOnly = true;
  Console(stream, settings).appendPlain("a\033[2J\nb");
  EXPECT_EQ(stream.str(), "a\uFFFD[2J\uFFFDb\n");
}

TEST(Console, DoesNotMixMessagesOfSeveralThreads) {
  std::ostringstream stream;
  constexpr int kThreads = 4;
  constexpr int kMessages = 200;
  {
    Console console(stream, withStatusLine());
    std::vector<std::thread> threads;
    for (int i = 0; i < kThreads; ++i) {
      threads.emplace_back([&console] {
        for (int j = 0; j < kMessages; ++j) {
          console.append("message", "info");
          console.showStatus("status");
        }
      });
    }
    for (std::thread& thread : threads) thread.join();
  }
  const std::string text = stream.str();
  std::size_t count = 0;
  for (auto at = text.find("] message\n"); at != std::string::npos;
       at = text.find("] message\n", at + 1)) {
    ++count;
  }
  EXPECT_EQ(count, static_cast<std::size_t>(kThreads * kMessages));
}

}  // namespace
}  // namespace tolvane
