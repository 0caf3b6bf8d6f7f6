// SPDX-License-Identifier: MIT
#pragma once

#include <gtest/gtest.h>
#include <optional>
#include <string>
#include <thread>
#include <utility>
#include <vector>

#include "base/Error.h"
#include "model/PackageEntry.h"
#include "tests/support/CompletionProbe.h"
#include "tests/support/LogRecorder.h"
#include "tests/support/ScriptedHTTPClient.h"

namespace tolvane {

// What a fetch came to, and on which thread its completion ran.
struct FetchOutcome {
  std::optional<std::vector<PackageEntry>> packages;
  std::optional<Error> error;
  std::thread::id thread;
};

// Hands start() a completion and waits until that has been called, once and never again. Other
// fetches may run at the same time.
template <typename Start>
FetchOutcome outcomeAmongOthers(Start start) {
  const CompletionProbe<FetchOutcome> probe;
  start(probe.completion(
      [](std::optional<std::vector<PackageEntry>> packages, std::optional<Error> error) {
        return FetchOutcome{std::move(packages), std::move(error), std::this_thread::get_id()};
      }));
  return probe.wait();
}

// The same where no other fetch runs: all that this one reports, it has reported when it calls
// its completion.
template <typename Start>
FetchOutcome outcomeOf(Start start) {
  const LogRecorder log;
  std::vector<std::string> reportsAtCompletion;
  FetchOutcome outcome = outcomeAmongOthers([&](auto completion) {
    start([&, completion](auto packages, auto error) {
      reportsAtCompletion = log.reports();
      completion(std::move(packages), std::move(error));
    });
  });
  EXPECT_EQ(log.reports(), reportsAtCompletion);
  return outcome;
}

// What two fetches of one fetcher came to that were in flight at once: from http://one.example and
// from http://two.example.
template <typename Fetcher>
std::pair<FetchOutcome, FetchOutcome> outcomesOfTwo(ScriptedHTTPClient& session) {
  const Fetcher fetcher(session.factory());
  session.hold();
  FetchOutcome two;
  FetchOutcome one = outcomeAmongOthers([&](auto completionOfOne) {
    two = outcomeAmongOthers([&](auto completionOfTwo) {
      fetcher.fetchPackagesFromRepositoryURL(URL::parse("http://one.example"), completionOfOne);
      fetcher.fetchPackagesFromRepositoryURL(URL::parse("http://two.example"), completionOfTwo);
      ASSERT_TRUE(session.waitForRequests(2));
      session.releaseAll();
    });
  });
  return {std::move(one), std::move(two)};
}

// Answers so many requests of a session that is held; each must wait for the one before.
inline void expectOneInFlightAtATime(ScriptedHTTPClient& session, std::size_t requests) {
  for (std::size_t count = 1; count <= requests; ++count) {
    ASSERT_TRUE(session.waitForRequests(count));
    EXPECT_EQ(session.requests().size(), count);
    session.release(1);
  }
}

// An old-style text list whose "packages" are these items, such as "{ name = A; }, { name = B; }".
inline std::string packagesList(const std::string& items) {
  return "{ packages = (" + items + "); }";
}

}  // namespace tolvane
