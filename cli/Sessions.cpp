// SPDX-License-Identifier: MIT
#include "cli/Sessions.h"

#include <fmt/format.h>
#include <mutex>
#include <set>
#include <string>
#include <utility>

namespace tolvane {

namespace {

// Longer than any transfer, and short enough to be added to any time without overflow.
constexpr auto kNoLimit = std::chrono::hours(24 * 365 * 10);

// Transfers of several clients may report at the same time.
class InsecureRedirects {
 public:
  explicit InsecureRedirects(std::shared_ptr<Console> console) : console_(std::move(console)) {}

  void report(const URL& from, const URL& to) {
    const std::lock_guard lock(mutex_);
    if (!reported_.emplace(from.origin(), to.origin()).second) return;
    console_->append(fmt::format("Redirected from https to http, which anybody on the way can read "
                                 "and change: {} to {}",
                                 displayText(from), displayText(to)),
                     "warning");
  }

 private:
  std::mutex mutex_;
  std::set<std::pair<std::string, std::string>> reported_;
  const std::shared_ptr<Console> console_;
};

}  // namespace

HTTPClientFactory sessionsOfRun(const Options& options, const URL& repositoryURL,
                                std::shared_ptr<Console> console, HTTPClientFactory factory) {
  const auto redirects = std::make_shared<InsecureRedirects>(std::move(console));
  return [options, origin = repositoryURL.origin(), redirects,
          factory = std::move(factory)](HTTPOptions configuration) {
    configuration.userAgent = options.userAgent;
    configuration.headersOrigin = origin;
    configuration.headers = options.headers;
    if (options.maxTime) {
      configuration.timeoutIntervalForResource =
          options.maxTime->count() == 0 ? kNoLimit : std::chrono::milliseconds(*options.maxTime);
    }
    configuration.maximumFileSize = options.maxSize;
    configuration.maximumConnectionsPerHost = options.connections;
    configuration.onInsecureRedirect = [redirects](const URL& from, const URL& to) {
      redirects->report(from, to);
    };
    return factory(configuration);
  };
}

}  // namespace tolvane
