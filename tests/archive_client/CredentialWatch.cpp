// SPDX-License-Identifier: MIT
#include "tests/archive_client/CredentialWatch.h"

#include <fstream>
#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <iterator>
#include <memory>

#include "base/SystemLog.h"
#include "tests/support/LogRecorder.h"

namespace tolvane {

namespace {

std::string processArguments() {
  std::ifstream file("/proc/self/cmdline");
  return {std::istreambuf_iterator<char>(file), {}};
}

// Records for one test after another.
class Watch : public testing::EmptyTestEventListener {
 public:
  static Watch*& current() {
    static Watch* watch = nullptr;
    return watch;
  }

  void OnTestStart(const testing::TestInfo&) override {
    shown_.clear();
    log_ = std::make_unique<LogRecorder>();
  }

  void OnTestEnd(const testing::TestInfo&) override {
    EXPECT_THAT(CredentialWatch::leaksIn(logged()), testing::IsEmpty());
    log_.reset();
  }

  void show(const std::string& text) { shown_.push_back(text); }

  std::vector<std::string> logged() const {
    std::vector<std::string> texts = shown_;
    for (std::string& line : log_->allLines()) texts.push_back(std::move(line));
    for (std::string& message : log_->messages()) texts.push_back(std::move(message));
    texts.push_back(processArguments());
    return texts;
  }

 private:
  std::unique_ptr<LogRecorder> log_;
  std::vector<std::string> shown_;
};

// Before the first test, whatever main() the program has. The listener is the framework's.
[[maybe_unused]] const bool kIsOn = [] {
  Watch::current() = new Watch;
  testing::UnitTest::GetInstance()->listeners().Append(Watch::current());
  return true;
}();

}  // namespace

void CredentialWatch::show(const std::string& text) {
  Watch::current()->show(text);
}

std::vector<std::string> CredentialWatch::logged() {
  return Watch::current()->logged();
}

std::vector<std::string> CredentialWatch::leaksIn(const std::vector<std::string>& texts) {
  std::vector<std::string> leaks;
  for (const std::string& text : texts) {
    if (text.find(kCredentialMark) != std::string::npos) leaks.push_back(text);
  }
  return leaks;
}

TEST(CredentialWatch, HearsOfEveryLineMessageErrorAndArgument) {
  const std::string leak = std::string("open ") + kCredentialMark;
  SystemLog::write("a line");
  CredentialWatch::show("an error");
  EXPECT_THAT(CredentialWatch::logged(), testing::IsSupersetOf({"a line", "an error"}));
  EXPECT_THAT(CredentialWatch::logged().back(), testing::HasSubstr("tolvane_archive_client_tests"));
  EXPECT_EQ(CredentialWatch::leaksIn({"a line", leak}), std::vector<std::string>{leak});
}

}  // namespace tolvane
