// SPDX-License-Identifier: MIT
#include "base/NotificationCenter.h"
#include "base/SystemLog.h"
#include "model/CrawlerLogger.h"
#include "tests/support/LogRecorder.h"

namespace tolvane {
namespace {

using testing::ElementsAre;
using testing::IsEmpty;
using testing::Pair;

// What the notification carries, and on which thread it arrived.
struct Posts {
  std::vector<UserInfo> userInfos;
  std::vector<std::thread::id> threads;
  NotificationCenter::Token token = NotificationCenter::defaultCenter().addObserver(
      "CrawlerLoggerDidLogMessageNotification", [this](const UserInfo& userInfo) {
        userInfos.push_back(userInfo);
        threads.push_back(std::this_thread::get_id());
      });
};

TEST(CrawlerLogger, PostsTheMessageAndTheTypeAndNothingElse) {
  const Posts posts;
  CrawlerLogger::logMessage("A message", static_cast<int>(LogType::warning));
  EXPECT_THAT(posts.userInfos,
              ElementsAre(ElementsAre(Pair("message", "A message"), Pair("type", "warning"))));
}

TEST(CrawlerLogger, WritesOneLineToTheSystemLog) {
  const LogRecorder log;
  CrawlerLogger::logMessage("100 %@ {} %s", static_cast<int>(LogType::error));
  EXPECT_THAT(log.allLines(), ElementsAre("[CrawlerLogger][error] 100 %@ {} %s"));
}

TEST(CrawlerLogger, WritesTheLineBeforeItPosts) {
  std::vector<std::string> order;
  const auto line = SystemLog::observe([&](std::string_view) { order.push_back("line"); });
  const auto post = NotificationCenter::defaultCenter().addObserver(
      CrawlerLoggerDidLogMessageNotification, [&](const UserInfo&) { order.push_back("post"); });
  CrawlerLogger::logInfo("a");
  EXPECT_THAT(order, ElementsAre("line", "post"));
}

TEST(CrawlerLogger, EachShortOperationHasItsOwnLevel) {
  const LogRecorder log;
  CrawlerLogger::logInfo("a");
  CrawlerLogger::logSuccess("b");
  CrawlerLogger::logWarning("c");
  CrawlerLogger::logError("d");
  EXPECT_THAT(log.messages(), ElementsAre("info: a", "success: b", "warning: c", "error: d"));
  EXPECT_THAT(log.allLines(),
              ElementsAre("[CrawlerLogger][info] a", "[CrawlerLogger][success] b",
                          "[CrawlerLogger][warning] c", "[CrawlerLogger][error] d"));
}

TEST(CrawlerLogger, LevelsAreTheNumbersZeroToThree) {
  EXPECT_EQ(CrawlerLogger::stringForLogType(0), "info");
  EXPECT_EQ(CrawlerLogger::stringForLogType(1), "success");
  EXPECT_EQ(CrawlerLogger::stringForLogType(2), "warning");
  EXPECT_EQ(CrawlerLogger::stringForLogType(3), "error");
}

TEST(CrawlerLogger, AnyOtherLevelCountsAsInfo) {
  const LogRecorder log;
  CrawlerLogger::logMessage("a", 7);
  CrawlerLogger::logMessage("b", -1);
  EXPECT_THAT(log.messages(), ElementsAre("info: a", "info: b"));
  EXPECT_EQ(CrawlerLogger::stringForLogType(4), "info");
}

TEST(CrawlerLogger, AnEmptyMessageDoesNothing) {
  const Posts posts;
  const LogRecorder log;
  CrawlerLogger::logMessage("", static_cast<int>(LogType::error));
  CrawlerLogger::logInfo({});
  EXPECT_THAT(posts.userInfos, IsEmpty());
  EXPECT_THAT(log.allLines(), IsEmpty());
}

TEST(CrawlerLogger, NotifiesOnTheCallingThreadBeforeItReturns) {
  const Posts posts;
  std::thread::id caller;
  std::thread([&] {
    caller = std::this_thread::get_id();
    CrawlerLogger::logInfo("a");
    EXPECT_EQ(posts.userInfos.size(), 1U);
  }).join();
  EXPECT_THAT(posts.threads, ElementsAre(caller));
}

// The messages of observeCrawlerLog(), as "type text" with the type as its number.
struct Messages {
  std::vector<std::string> texts;
  NotificationCenter::Token token = observeCrawlerLog([this](const CrawlerMessage& message) {
    texts.push_back(std::to_string(static_cast<int>(message.type)) + " " +
                    std::string(message.typeText) + " " + std::string(message.text));
  });
};

TEST(CrawlerLogObserver, GetsEachMessageWithItsType) {
  const Messages messages;
  CrawlerLogger::logInfo("a");
  CrawlerLogger::logSuccess("b");
  CrawlerLogger::logWarning("c");
  CrawlerLogger::logError("d");
  EXPECT_THAT(messages.texts, ElementsAre("0 info a", "1 success b", "2 warning c", "3 error d"));
}

TEST(CrawlerLogObserver, GetsAnUnknownTypeAsInfoWithItsTextKept) {
  const Messages messages;
  for (const char* type : {"Error", "error ", "debug", ""}) {
    NotificationCenter::defaultCenter().post(CrawlerLoggerDidLogMessageNotification,
                                             {{"message", "a"}, {"type", type}});
  }
  EXPECT_THAT(messages.texts, ElementsAre("0 Error a", "0 error  a", "0 debug a", "0  a"));
}

TEST(CrawlerLogObserver, GetsAnEmptyInfoMessageForANotificationWithoutEntries) {
  const Messages messages;
  NotificationCenter::defaultCenter().post(CrawlerLoggerDidLogMessageNotification, {});
  EXPECT_THAT(messages.texts, ElementsAre("0 info "));
}

TEST(CrawlerLogObserver, GetsNothingOnceItsTokenIsDestroyed) {
  Messages messages;
  messages.token.reset();
  CrawlerLogger::logInfo("a");
  EXPECT_THAT(messages.texts, IsEmpty());
}

}  // namespace
}  // namespace tolvane
