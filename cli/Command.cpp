// SPDX-License-Identifier: MIT
#include "cli/Command.h"

#include <future>
#include <memory>
#include <optional>
#include <string_view>
#include <utility>
#include <variant>

#include "cli/DownloadCommand.h"
#include "cli/ExitStatus.h"
#include "cli/ListCommand.h"
#include "cli/Options.h"
#include "platform/SystemLog.h"
#include "platform/Text.h"
#include "platform/URL.h"
#include "repository/RepositoryFetcher.h"

namespace tolvane {

namespace {

using PackageList = RepositoryFetcher::PackageList;

// The repository's URL, trimmed; no value for one without a scheme or a host.
std::optional<URL> repositoryURL(const Options& options) {
  std::optional<URL> url = URL::parse(trimWhitespaceAndNewlines(options.url));
  if (!url || url->scheme().empty() || url->host().empty()) return std::nullopt;
  return url;
}

std::string_view choiceOf(RepositoryType type) {
  switch (type) {
    case RepositoryType::automatic:
      return kAutoDetectChoice;
    case RepositoryType::installer4:
      return kInstaller4Choice;
    case RepositoryType::installer3:
      return kInstaller3Choice;
    case RepositoryType::apt:
      break;
  }
  return kAPTChoice;
}

ConsoleSettings consoleSettings(const Options& options, ConsoleSettings settings) {
  settings.warningsOnly = options.quiet;
  // The system log writes to standard error too, and knows nothing of a line that stays last.
  settings.statusLine = settings.statusLine && !options.quiet && !options.verbose;
  return settings;
}

// Waits for the list; no value when the repository could not be loaded, for whatever reason.
std::optional<PackageList> fetchPackages(RepositoryType type, const URL& url,
                                         const URLSessionFactory& sessionFactory) {
  const auto promise = std::make_shared<std::promise<std::optional<PackageList>>>();
  RepositoryFetcher(sessionFactory)
      .fetchPackagesOfChosenKind(
          choiceOf(type), url,
          [promise](std::optional<PackageList> packages, const std::optional<Error>&) {
            promise->set_value(std::move(packages));
          });
  return promise->get_future().get();
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
  const std::optional<PackageList> packages =
      fetchPackages(options.type, *url, environment.sessionFactory);
  if (!packages) return kExitNotLoaded;
  if (options.command == Options::Command::download) {
    return downloadPackages(*packages, *url, options, environment.sessionFactory, *console,
                            environment.output);
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
