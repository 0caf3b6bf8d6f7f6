// SPDX-License-Identifier: MIT
#include "cli/Command.h"

#include <charconv>
#include <cstdint>
#include <fmt/format.h>
#include <memory>
#include <optional>
#include <string_view>
#include <utility>
#include <variant>

#include "async/RunLoop.h"
#include "base/SystemLog.h"
#include "base/Text.h"
#include "base/URL.h"
#include "cli/ConsoleObserver.h"
#include "cli/DownloadCommand.h"
#include "cli/ExitStatus.h"
#include "cli/LineLimit.h"
#include "cli/ListCommand.h"
#include "cli/LoadFailures.h"
#include "cli/Options.h"
#include "cli/Sessions.h"
#include "repository/IndexFile.h"
#include "repository/RepositoryFetcher.h"
#include "workflow/FetchWorkflow.h"

namespace tolvane {

namespace {

using PackageList = RepositoryFetcher::PackageList;

// Whether a server can listen on the port that a URL names; none stands for the scheme's usual one.
bool isPort(std::string_view text) {
  if (text.empty()) return true;
  std::uint16_t port = 0;
  const auto failure = std::from_chars(text.data(), text.data() + text.size(), port).ec;
  return failure == std::errc() && port != 0;
}

// The repository's URL, trimmed; no value for one that no request can ever be sent to.
std::optional<URL> repositoryURL(const Options& options) {
  std::optional<URL> url = URL::parse(trimWhitespaceAndNewlines(options.url));
  if (!url || !url->isHTTP() || url->host().empty() || !isPort(url->port())) return std::nullopt;
  return url;
}

ConsoleSettings consoleSettings(const Options& options, ConsoleSettings settings) {
  settings.warningsOnly = options.quiet;
  // The system log writes to standard error too, and knows nothing of a line that stays last.
  settings.statusLine = settings.statusLine && !options.quiet && !options.verbose;
  return settings;
}

// Waits for the list; no value when the repository could not be loaded, for whatever reason. Then
// the console says what the requests came to.
std::optional<PackageList> fetchPackages(RepositoryKind kind, const URL& url,
                                         const HTTPClientFactory& clientFactory, Console& console) {
  LoadFailures failures;
  RunLoop mainQueue;
  ConsoleObserver observer(console);
  RepositoryFetcher fetcher(clientFactory,
                            [&](const IndexAnswer& answer) { failures.add(answer); });
  FetchWorkflow workflow(mainQueue, fetcher, observer, [](std::string_view) {});
  std::optional<PackageList> packages;
  workflow.fetchRepositoryURL(url, kind, false, [&](FetchEnd end) {
    packages = std::move(end.packages);
    mainQueue.quit();
  });
  mainQueue.run();
  if (!packages) {
    const std::vector<std::string> lines = failures.lines();
    showAtMost20(
        lines.size(), [&](std::size_t i) { return lines[i]; },
        [&](const std::string& line) { console.appendPlain(line); });
  }
  return packages;
}

// The list of options.indexFile; no value where that gives none. Then the console says why.
std::optional<PackageList> readPackages(const Options& options, Console& console) {
  IndexFileResult result = readIndexFile(*options.indexFile, options.type);
  if (!result.error) return std::move(result.packages);
  console.appendPlain(
      fmt::format("Could not read {}: {}", *options.indexFile, result.error->description));
  return std::nullopt;
}

int runOptions(const Options& options, const CommandEnvironment& environment) {
  const std::optional<URL> url = repositoryURL(options);
  if (!url) {
    environment.errorOutput << "Invalid repository URL.\n";
    return kExitUsage;
  }
  if (options.verbose) SystemLog::writeToStandardError(true);
  const auto console = std::make_shared<Console>(environment.errorOutput,
                                                 consoleSettings(options, environment.console));
  const auto logBus = showLogBus(console);
  const HTTPClientFactory sessions =
      sessionsOfRun(options, *url, console, environment.clientFactory);
  const std::optional<PackageList> packages =
      options.indexFile ? readPackages(options, *console)
                        : fetchPackages(options.type, *url, sessions, *console);
  if (!packages) return kExitNotLoaded;
  if (options.command == Options::Command::download) {
    return downloadPackages(*packages, *url, options, sessions, *console, environment.output);
  }
  printPackages(*packages, options, environment.output);
  return kExitDone;
}

int answerUsage(const UsageAnswer& answer, const CommandEnvironment& environment) {
  (answer.exitStatus == kExitDone ? environment.output : environment.errorOutput) << answer.text;
  return answer.exitStatus;
}

}  // namespace

int runCommand(const std::vector<std::string>& arguments, const CommandEnvironment& environment) {
  const auto parsed = parseOptions(arguments);
  const auto* answer = std::get_if<UsageAnswer>(&parsed);
  const int status = answer ? answerUsage(*answer, environment)
                            : runOptions(std::get<Options>(parsed), environment);
  environment.output.flush();
  if (environment.output) return status;
  environment.errorOutput << "Could not write to standard output.\n";
  return status == kExitDone ? kExitFailed : status;
}

}  // namespace tolvane
