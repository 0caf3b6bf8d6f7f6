// SPDX-License-Identifier: MIT
#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include "cli/LoadFailures.h"

namespace tolvane {
namespace {

using testing::ElementsAre;
using testing::IsEmpty;

const std::optional<URL> kAddress = URL::parse("http://repo.example/Packages");

void add(LoadFailures& failures, std::optional<HTTPResponse> response,
         const std::optional<Error>& error) {
  failures.add({kAddress, response, "", error});
}

Error errorWith(const std::string& detail) {
  return {std::string(kURLErrorDomain), kURLErrorTimedOut, "The request timed out.", detail};
}

TEST(LoadFailures, ShowTheDetailOfAnErrorOrElseItsDescription) {
  LoadFailures failures;
  add(failures, std::nullopt, errorWith("Could not resolve host: repo.example"));
  add(failures, std::nullopt, errorWith(""));
  EXPECT_THAT(failures.lines(), ElementsAre("Could not resolve host: repo.example (1 request)",
                                            "The request timed out. (1 request)"));
}

TEST(LoadFailures, AreListedOnceEachInTheirOrder) {
  LoadFailures failures;
  for (const int status : {503, 404, 503, 503, 404}) {
    add(failures, HTTPResponse{status}, std::nullopt);
  }
  EXPECT_THAT(failures.lines(),
              ElementsAre("HTTP status 503 (3 requests)", "HTTP status 404 (2 requests)"));
}

TEST(LoadFailures, AreTheSameIfOnlyTheTimeDiffers) {
  LoadFailures failures;
  for (const char* time : {"0 ms", "17 ms", "30001 milliseconds"}) {
    add(failures, std::nullopt,
        errorWith("Failed to connect to h port 80 after " + std::string(time) + ": refused"));
  }
  EXPECT_THAT(failures.lines(),
              ElementsAre("Failed to connect to h port 80: refused (3 requests)"));
}

TEST(LoadFailures, AnAnswerWithoutAnIndexIsNoFailure) {
  LoadFailures failures;
  add(failures, HTTPResponse{200}, std::nullopt);
  EXPECT_THAT(failures.lines(), IsEmpty());
}

TEST(LoadFailures, AnErrorTakesPrecedenceOverTheStatus) {
  LoadFailures failures;
  add(failures, HTTPResponse{200}, errorWith(""));
  EXPECT_THAT(failures.lines(), ElementsAre("The request timed out. (1 request)"));
}

}  // namespace
}  // namespace tolvane
