// SPDX-License-Identifier: MIT
#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <string>
#include <string_view>
#include <vector>

#include "base/SystemLog.h"

namespace tolvane {
namespace {

using testing::ElementsAre;
using testing::IsEmpty;
using testing::MatchesRegex;

struct Formatted {
  int* count;
};

// Switches the log to standard error on, and captures it until end().
class CapturedStandardError {
 public:
  CapturedStandardError() {
    testing::internal::CaptureStderr();
    SystemLog::writeToStandardError(true);
  }

  std::string end() {
    SystemLog::writeToStandardError(false);
    return testing::internal::GetCapturedStderr();
  }
};

}  // namespace
}  // namespace tolvane

// Counts how often it is formatted.
template <>
struct fmt::formatter<tolvane::Formatted> {
  constexpr auto parse(format_parse_context& context) { return context.begin(); }
  auto format(const tolvane::Formatted& value, format_context& context) const {
    ++*value.count;
    return context.out();
  }
};

namespace tolvane {
namespace {

TEST(SystemLog, AnObserverGetsEveryLineUntilItsTokenIsDestroyed) {
  std::vector<std::string> lines;
  auto token = SystemLog::observe([&](std::string_view line) { lines.emplace_back(line); });
  SystemLog::write("[Tag] {} of {}", 1, "two");
  SystemLog::write("[Tag] plain");
  EXPECT_THAT(lines, ElementsAre("[Tag] 1 of two", "[Tag] plain"));
  token.reset();
  SystemLog::write("[Tag] unheard");
  EXPECT_EQ(lines.size(), 2U);
}

TEST(SystemLog, EveryObserverGetsTheLine) {
  std::vector<std::string> lines;
  const auto add = [&](std::string_view line) { lines.emplace_back(line); };
  const auto first = SystemLog::observe(add);
  const auto second = SystemLog::observe(add);
  SystemLog::write("[Tag] line");
  EXPECT_THAT(lines, ElementsAre("[Tag] line", "[Tag] line"));
}

TEST(SystemLog, AnObserverMayWriteAndEndItsObserving) {
  std::vector<std::string> lines;
  std::shared_ptr<void> token;
  token = SystemLog::observe([&](std::string_view line) {
    lines.emplace_back(line);
    token.reset();
    SystemLog::write("[Tag] second");
  });
  SystemLog::write("[Tag] first");
  SystemLog::write("[Tag] third");
  EXPECT_THAT(lines, ElementsAre("[Tag] first"));
}

TEST(SystemLog, NothingIsFormattedWithoutObservers) {
  int count = 0;
  EXPECT_FALSE(SystemLog::isEnabled());
  SystemLog::write("[Tag] {}", Formatted{&count});
  EXPECT_EQ(count, 0);
  const auto token = SystemLog::observe([](std::string_view) {});
  EXPECT_TRUE(SystemLog::isEnabled());
  SystemLog::write("[Tag] {}", Formatted{&count});
  EXPECT_EQ(count, 1);
}

TEST(SystemLog, StandardErrorIsOffUntilSwitchedOn) {
  testing::internal::CaptureStderr();
  const auto token = SystemLog::observe([](std::string_view) {});
  SystemLog::write("[Tag] line");
  EXPECT_THAT(testing::internal::GetCapturedStderr(), IsEmpty());
}

TEST(SystemLog, ALineOnStandardErrorHasATimeStampAndTheThread) {
  CapturedStandardError standardError;
  SystemLog::write("[Tag] 100% {}", "sure {}");
  EXPECT_THAT(
      standardError.end(),
      MatchesRegex("[0-9]+-[0-9]+-[0-9]+ [0-9]+:[0-9]+:[0-9]+\\.[0-9]+ \\[[0-9]+\\] \\[Tag\\] "
                   "100% sure \\{\\}\n"));
}

TEST(SystemLog, AMessageIsOneLineOnStandardErrorAndKeepsItsTextForObservers) {
  std::string observed;
  const auto token = SystemLog::observe([&](std::string_view line) { observed = line; });
  CapturedStandardError standardError;
  SystemLog::write("[Tag] a\nb\r\x1B[31mc");
  EXPECT_THAT(standardError.end(), testing::EndsWith("[Tag] a\uFFFDb\uFFFD\uFFFD[31mc\n"));
  EXPECT_EQ(observed, "[Tag] a\nb\r\x1B[31mc");
}

TEST(SystemLog, NoControlCharacterAboveASCIIReachesStandardError) {
  CapturedStandardError standardError;
  SystemLog::write("[Tag] a\u009B31mb\u202Ec");
  EXPECT_THAT(standardError.end(), testing::EndsWith("[Tag] a\uFFFD31mb\uFFFDc\n"));
}

}  // namespace
}  // namespace tolvane
