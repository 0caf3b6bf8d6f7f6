// SPDX-License-Identifier: MIT
#pragma once

#include <gtest/gtest.h>
#include <optional>
#include <string>
#include <thread>
#include <utility>

#include "download/Installer4Retrieval.h"
#include "tests/support/CompletionProbe.h"
#include "tests/support/LogRecorder.h"
#include "tests/support/ScriptedHTTPClient.h"
#include "tests/support/TemporaryFolder.h"

namespace tolvane {

inline constexpr const char* kInfo = "http://info.example/a.plist";
inline constexpr const char* kInfoMirror = "http://repo.example/info/a.plist";
inline constexpr const char* kZip = "http://zip.example/packages/a.zip";
inline constexpr const char* kZipMirror = "http://repo.example/packages/a.zip";

inline const Error kInfoMissing{"Installer4", 404, "Could not load Installer package info plist."};
inline const Error kZipMissing{"Installer4", 404, "Could not download Installer package ZIP."};
inline const Error kInvalidZip{"Installer4", 1004, "Invalid Installer package ZIP URL."};

// How a retrieval ended, and on which thread.
struct RetrievalOutcome {
  bool success = false;
  bool verified = false;
  bool validationFailed = false;
  std::optional<Error> error;
  std::thread::id thread;
};

// How an info fetch ended.
struct InfoOutcome {
  std::optional<PropertyList::Dictionary> info;
  std::optional<Error> error;
  std::thread::id thread;
};

// Hands start() a completion and waits until that has been called, once and never again.
template <typename Start>
RetrievalOutcome outcomeOfRetrieval(Start start) {
  const CompletionProbe<RetrievalOutcome> probe;
  start(probe.completion(
      [](bool success, bool verified, bool validationFailed, std::optional<Error> error) {
        return RetrievalOutcome{success, verified, validationFailed, std::move(error),
                                std::this_thread::get_id()};
      }));
  return probe.wait();
}

inline PackageEntry packageWithInfo(const std::string& url) {
  return PackageEntry({{"Package", "a"}, {"Installer4Package", "1"}, {"PackageInfoURL", url}});
}

inline std::string infoWithLocation(const std::string& location) {
  return "{ location = \"" + location + "\"; }";
}

class Installer4RetrievalTest : public testing::Test {
 protected:
  void serve(const std::string& url, const std::string& body) {
    session_.answer(url, {.body = body});
  }

  // The retrieval object is destroyed before the retrieval ends.
  RetrievalOutcome retrieve(const PackageEntry& package) {
    return outcomeOfRetrieval([&](auto completion) {
      Installer4Retrieval(session_.factory())
          .downloadInstaller4Package(package, repository_, folder_.path(), std::move(completion));
    });
  }

  RetrievalOutcome retrieve(const std::string& infoURL = kInfo) {
    return retrieve(packageWithInfo(infoURL));
  }

  InfoOutcome fetchInfo(const std::string& url, const std::string& fallbackURL) {
    const CompletionProbe<InfoOutcome> probe;
    Installer4Retrieval(session_.factory())
        .fetchInstaller4PackageInfoFromURL(
            URL::parse(url), URL::parse(fallbackURL),
            probe.completion([](auto info, std::optional<Error> error) {
              return InfoOutcome{std::move(info), std::move(error), std::this_thread::get_id()};
            }));
    return probe.wait();
  }

  RetrievalOutcome downloadZip(const std::string& url, const std::string& fallbackURL) {
    return downloadZip(url, fallbackURL, folder_.path());
  }

  RetrievalOutcome downloadZip(const std::string& url, const std::string& fallbackURL,
                               const std::string& folder) {
    return outcomeOfRetrieval([&](auto completion) {
      Installer4Retrieval(session_.factory())
          .downloadInstaller4PackageZipFromURL(URL::parse(url), URL::parse(fallbackURL), folder,
                                               std::move(completion));
    });
  }

  // One attempt, of a URL that has no fallback.
  RetrievalOutcome downloadZip(const std::string& url) {
    return outcomeOfRetrieval([&](auto completion) {
      Installer4Retrieval(session_.factory())
          .downloadInstaller4PackageZipFromURL(URL::parse(url), folder_.path(),
                                               std::move(completion));
    });
  }

  const TemporaryFolder folder_;
  const std::optional<URL> repository_ = URL::parse("http://repo.example");
  ScriptedHTTPClient session_;
  const LogRecorder log_;
};

inline void expectFailure(const RetrievalOutcome& outcome, const std::optional<Error>& error) {
  EXPECT_FALSE(outcome.success);
  EXPECT_FALSE(outcome.verified);
  EXPECT_FALSE(outcome.validationFailed);
  EXPECT_EQ(outcome.error, error);
}

inline void expectSuccess(const RetrievalOutcome& outcome) {
  EXPECT_TRUE(outcome.success);
  EXPECT_TRUE(outcome.verified);
  EXPECT_FALSE(outcome.validationFailed);
  EXPECT_EQ(outcome.error, std::nullopt);
}

}  // namespace tolvane
