// SPDX-License-Identifier: MIT
#pragma once

#include <functional>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

#include "async/Lifetime.h"
#include "async/MainQueue.h"
#include "base/Error.h"
#include "base/URL.h"
#include "model/PackageEntry.h"
#include "model/RepositoryKind.h"
#include "repository/RepositoryFetcher.h"
#include "workflow/WorkflowObserver.h"

namespace tolvane {

// What a fetch came to: packages; another URL that is to be fetched instead; or a failure. An
// Installer 3 repository may give none of them (Installer3RepositoryFetcher); the window then shows
// an empty list.
struct FetchEnd {
  URL url;
  std::optional<std::vector<PackageEntry>> packages;
  std::optional<URL> retryURL;
  std::string failure;  // one sentence
};

// Loads a repository's list of packages. Where HTTPS fails it asks whether to try the same address
// over HTTP. Main thread.
class FetchWorkflow {
 public:
  using Completion = std::function<void(FetchEnd)>;
  // Writes a line to the system log, under the tag of the program. Any thread.
  using Log = void (*)(std::string_view line);

  // The references outlive the workflow. A fetch under way when it is destroyed has no completion.
  FetchWorkflow(MainQueue& mainQueue, RepositoryFetcher& fetcher, WorkflowObserver& observer,
                Log log)
      : mainQueue_(mainQueue), fetcher_(fetcher), observer_(observer), log_(log) {}

  // The URL that a person has typed, without white space around it. Reports the fetch that is about
  // to begin; no value, and a report of that, for a text that is empty or has no scheme or host.
  std::optional<URL> enteredURL(std::string_view entered, std::string_view typeTitle) const;

  void fetchRepositoryURL(const URL& url, RepositoryKind kind, bool allowHTTPFallback,
                          const Completion& completion);

  // The same URL with the scheme "http", an explicit port included.
  static std::optional<URL> HTTPURLFromHTTPSURL(const URL& url);

  // Asks, and completes with `httpURL` to be fetched instead, or with the error's sentence.
  void askToRetryWithHTTPURL(const URL& httpURL, const Error& originalError,
                             const Completion& completion);

 private:
  void fetchDidComplete(FetchEnd end, const std::optional<Error>& error, bool allowHTTPFallback,
                        const Completion& completion);

  MainQueue& mainQueue_;
  RepositoryFetcher& fetcher_;
  WorkflowObserver& observer_;
  const Log log_;
  Lifetime lifetime_;
};

}  // namespace tolvane
