// SPDX-License-Identifier: MIT
#pragma once

#include <chrono>
#include <functional>
#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <string>
#include <thread>

#include "async/RunLoop.h"
#include "tests/support/ScriptedHTTPClient.h"
#include "tests/workflow/RecordingObserver.h"

namespace tolvane {

inline constexpr const char* kRepository = "http://repo.test/";

// A workflow's surroundings: a main queue that the test drains, and an observer that records.
class WorkflowTest : public testing::Test {
 protected:
  static RunLoop& sharedQueue() {
    static RunLoop queue;
    return queue;
  }

  // Runs the main queue until the condition holds; a test in which it never does fails.
  void runUntil(const std::function<bool()>& condition) {
    const auto end = std::chrono::steady_clock::now() + std::chrono::seconds(20);
    while (!condition()) {
      if (std::chrono::steady_clock::now() > end) FAIL() << "last event: " << lastEvent();
      mainQueue.drain();
      std::this_thread::sleep_for(std::chrono::milliseconds(1));
    }
  }

  void runUntilEvent(const std::string& event) {
    runUntil([&] { return lastEvent() == event; });
  }

  std::string lastEvent() const { return observer.events.empty() ? "" : observer.events.back(); }

  // Of all tests, since what a test leaves behind may post to it later.
  RunLoop& mainQueue = sharedQueue();
  RecordingObserver observer;
  ScriptedHTTPClient client;
};

}  // namespace tolvane
