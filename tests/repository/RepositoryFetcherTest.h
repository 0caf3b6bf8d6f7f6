// SPDX-License-Identifier: MIT
#pragma once

#include <gtest/gtest.h>
#include <memory>
#include <optional>
#include <string>
#include <utility>
#include <vector>

#include "repository/RepositoryFetcher.h"
#include "tests/repository/FetchOutcome.h"
#include "tests/support/LogRecorder.h"
#include "tests/support/ScriptedHTTPClient.h"

namespace tolvane {

// An index of one package, 39 characters long.
inline const std::string kIndex = "Package: com.example.a\nFilename: a.deb\n";

// Runs walks over a scripted session and records what they report.
class RepositoryFetcherTest : public testing::Test {
 protected:
  FetchOutcome fetch(const std::string& url) { return fetch(URL::parse(url)); }

  FetchOutcome fetch(const std::optional<URL>& url) {
    return outcomeOfWalk([&](const RepositoryFetcher& fetcher, auto completion) {
      fetcher.fetchPackagesFromRepositoryURL(url, std::move(completion));
    });
  }

  FetchOutcome walk(std::vector<std::string> paths) {
    return outcomeOfWalk([&](const RepositoryFetcher& fetcher, auto completion) {
      fetcher.tryCandidatePaths(std::make_shared<const std::vector<std::string>>(std::move(paths)),
                                0, URL::parse("http://repo.example"), false, std::move(completion));
    });
  }

  ScriptedHTTPClient session_;
  LogRecorder log_;

 private:
  // The fetcher is destroyed before its walk ends.
  template <typename Start>
  FetchOutcome outcomeOfWalk(Start start) {
    return outcomeOf([&](auto completion) {
      start(RepositoryFetcher(session_.factory()), std::move(completion));
    });
  }
};

}  // namespace tolvane
