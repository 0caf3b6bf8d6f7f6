// SPDX-License-Identifier: MIT
#pragma once

#include <future>
#include <gtest/gtest.h>
#include <memory>
#include <optional>
#include <string>
#include <thread>
#include <utility>
#include <vector>

#include "repository/RepositoryFetcher.h"
#include "tests/support/LogRecorder.h"
#include "tests/support/ScriptedURLSession.h"

namespace tolvane {

// An index of one package, 39 characters long.
inline const std::string kIndex = "Package: com.example.a\nFilename: a.deb\n";

// What a fetch came to, once its completion has run.
struct Outcome {
  std::optional<RepositoryFetcher::PackageList> packages;
  std::optional<Error> error;
  std::thread::id thread;
};

// Runs walks over a scripted session and records what they report.
class RepositoryFetcherTest : public testing::Test {
 protected:
  Outcome fetch(const std::string& url) { return fetch(URL::parse(url)); }

  Outcome fetch(const std::optional<URL>& url) {
    return outcomeOf([&](const RepositoryFetcher& fetcher, auto completion) {
      fetcher.fetchPackagesFromRepositoryURL(url, std::move(completion));
    });
  }

  Outcome walk(std::vector<std::string> paths) {
    return outcomeOf([&](const RepositoryFetcher& fetcher, auto completion) {
      fetcher.tryCandidatePaths(std::make_shared<const std::vector<std::string>>(std::move(paths)),
                                0, URL::parse("http://repo.example"), false, std::move(completion));
    });
  }

  ScriptedURLSession session_;
  LogRecorder log_;

 private:
  // A second call of the completion fails in set_value(). The fetcher is gone before its walk ends.
  template <typename Start>
  Outcome outcomeOf(Start start) {
    const auto outcome = std::make_shared<std::promise<Outcome>>();
    start(RepositoryFetcher(session_.factory()), [outcome](auto packages, auto error) {
      outcome->set_value({std::move(packages), std::move(error), std::this_thread::get_id()});
    });
    return outcome->get_future().get();
  }
};

}  // namespace tolvane
