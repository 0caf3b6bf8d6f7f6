// SPDX-License-Identifier: MIT
#include "cli/DownloadCommand.h"

#include <algorithm>
#include <atomic>
#include <cstdint>
#include <fmt/format.h>
#include <iterator>
#include <map>
#include <memory>
#include <mutex>
#include <nlohmann/json.hpp>
#include <optional>
#include <string>
#include <string_view>
#include <utility>

#include "async/RunLoop.h"
#include "base/FolderFlush.h"
#include "cli/ConsoleObserver.h"
#include "cli/DestinationGate.h"
#include "cli/ExitStatus.h"
#include "cli/FailureReport.h"
#include "cli/Json.h"
#include "cli/NameCollisions.h"
#include "cli/SpaceReport.h"
#include "download/DownloadCounters.h"
#include "download/DownloadQueueManager.h"
#include "download/RepositoryMetadataArchiver.h"
#include "workflow/DownloadWorkflow.h"

namespace tolvane {

namespace {

using PackageList = std::vector<PackageEntry>;

// In the order of the repository's list.
PackageList packagesNamed(const std::vector<std::string>& identifiers,
                          const PackageList& packages) {
  PackageList named;
  std::copy_if(packages.begin(), packages.end(), std::back_inserter(named),
               [&](const PackageEntry& package) {
                 return std::find(identifiers.begin(), identifiers.end(), package.packageName()) !=
                        identifiers.end();
               });
  return named;
}

bool hasPackage(const PackageList& packages, std::string_view identifier) {
  return std::any_of(packages.begin(), packages.end(), [&](const PackageEntry& package) {
    return package.packageName() == identifier;
  });
}

nlohmann::ordered_json jsonObject(const DownloadCounters& counters, std::size_t alreadyPresent) {
  return {
      {"downloaded", counters.downloaded}, {"verified", counters.verified},
      {"failed", counters.failed},         {"validationFailed", counters.validationFailed},
      {"skipped", counters.skipped},       {"alreadyPresent", alreadyPresent},
  };
}

// The factory for sessions whose transfers do not start once the gate is closed.
HTTPClientFactory behind(std::shared_ptr<const DestinationGate> gate, HTTPClientFactory factory) {
  return [gate = std::move(gate), factory = std::move(factory)](HTTPOptions configuration) {
    configuration.refusal = [gate] { return gate->refusal(); };
    return factory(configuration);
  };
}

// Why a metadata path that the server has was not saved; no value for one that it does not have,
// and for one that was saved.
std::optional<std::string> metadataFailure(const MetadataOutcome& outcome) {
  const int status = statusOf(outcome.request.response);
  if (status == 404 || status == 410 || !outcome.request.localPath.empty()) return std::nullopt;
  const std::string reason = descriptionOr(outcome.error, fmt::format("HTTP status {}", status));
  return fmt::format("Could not save {}: {}", outcome.path, reason);
}

// One download from its selection to the line that it ends with.
class Download {
 public:
  Download(const URL& repositoryURL, const Options& options, const HTTPClientFactory& clientFactory,
           Console& console, std::ostream& output)
      : repositoryURL_(repositoryURL),
        options_(options),
        console_(console),
        output_(output),
        queue_(mainQueue_, behind(gate_, clientFactory)),
        metadataArchiver_(mainQueue_, clientFactory,
                          [this](const MetadataOutcome& outcome) {
                            if (const auto failure = metadataFailure(outcome)) fail(*failure);
                          }),
        observer_(console),
        workflow_(queue_, metadataArchiver_, observer_) {
    queue_.setObserver([this](const PackageOutcome& outcome) { observe(outcome); });
  }

  int downloadMissing(const PackageList& packages) {
    warnOfNameCollisions(packages, {}, repositoryURL_, console_);
    MissingScan scan = scanForMissing(packages, options_.folder);
    alreadyPresent_ = scan.alreadyPresent;
    std::string text = scan.text();
    if (!scan.missing.empty()) {
      console_.append(text, "info");
      reportSpace(scan.missing, options_.folder, console_);
      text = run({std::move(scan.missing), repositoryURL_, options_.folder, alreadyPresent_});
    }
    if (options_.metadata) saveMetadata();
    return finish(text);
  }

  int downloadNamed(const PackageList& packages) {
    PackageList named = packagesNamed(options_.packages, packages);
    for (const std::string& identifier : options_.packages) {
      if (!hasPackage(named, identifier)) fail("No such package: " + identifier);
    }
    warnOfNameCollisions(packages, options_.packages, repositoryURL_, console_);
    reportSpace(scanForMissing(named, options_.folder).missing, options_.folder, console_);
    const std::string text = run({std::move(named), repositoryURL_, options_.folder});
    if (options_.metadata) saveMetadata();
    return finish(text);
  }

 private:
  // Returns the text of the run's end.
  std::string run(const DownloadRun& run) {
    std::string text;
    workflow_.start(run, [&](const DownloadEnd& end) {
      counters_ = end.counters;
      text = end.text;
      mainQueue_.quit();
    });
    mainQueue_.run();
    console_.leaveOut("");
    console_.clearStatus();
    return text;
  }

  void observe(const PackageOutcome& outcome) {
    failures_.add(outcome);
    if (outcome.package.installer4Package()) warnOfReplacedFile(outcome);
    // Refused transfers are how the run is cancelled here: cancelAllDownloads() would discard the
    // packages that wait, so that the run had neither an end nor a number for them.
    if (const std::optional<std::string> reason = gate_->closeFor(outcome)) {
      console_.leaveOut(*reason);  // or each package would say it twice
      console_.append("Packages that have not started are not tried: " + *reason, "warning");
    }
  }

  // The name of a ZIP file is known when it arrives, so no warning can come before.
  void warnOfReplacedFile(const PackageOutcome& outcome) {
    if (outcome.request.localPath.empty()) return;
    const std::string title =
        fmt::format("{} {}", outcome.package.packageName(), outcome.package.version());
    const std::lock_guard lock(savedMutex_);
    const auto [saved, isNew] = saved_.try_emplace(outcome.request.localPath, title);
    if (isNew) return;
    console_.append(fmt::format("{} has replaced the file of {}, since both have one file name: {}",
                                title, saved->second, outcome.request.localPath),
                    "warning");
    saved->second = title;
  }

  // In the same folder, and after the downloads: each of the two has sessions of its own, and in
  // parallel they would make twice as many connections to the host as they may.
  void saveMetadata() {
    metadataArchiver_.archiveMetadataForRepositoryURL(
        repositoryURL_, options_.folder, [this](const auto& archived, const auto& missing) {
          const bool hasBegun = archived.size() + missing.size() ==
                                RepositoryMetadataArchiver::candidatePaths().size();
          if (!hasBegun) fail("Could not save metadata: " + missing.front());
          mainQueue_.quit();
        });
    mainQueue_.run();
  }

  // Something that was asked for cannot be had. Any thread.
  void fail(const std::string& reason) {
    console_.append(reason, "error");
    hasFailed_ = true;
  }

  int finish(const std::string& text) {
    if (const std::optional<Error> error = flushFolders()) {
      fail("Could not flush the folder: " + error->description);
    }
    if (options_.json) {
      auto object = jsonObject(counters_, alreadyPresent_);
      object["failures"] = failures_.json();
      output_ << jsonText(object) << std::endl;
    } else {
      output_ << text << std::endl;
    }
    failures_.show(console_, options_.folder);
    return hasFailed_ || counters_.failed > 0 ? kExitFailed : kExitDone;
  }

  const URL& repositoryURL_;
  const Options& options_;
  Console& console_;
  std::ostream& output_;
  RunLoop mainQueue_;
  const std::shared_ptr<DestinationGate> gate_ = std::make_shared<DestinationGate>(options_.folder);
  DownloadQueueManager queue_;
  RepositoryMetadataArchiver metadataArchiver_;
  ConsoleObserver observer_;
  DownloadWorkflow workflow_;
  FailureReport failures_;
  std::mutex savedMutex_;
  std::map<std::string, std::string> saved_;  // by path: the Installer 4 package that it holds
  DownloadCounters counters_;
  std::size_t alreadyPresent_ = 0;
  std::atomic<bool> hasFailed_ = false;  // apart from the packages that are counted
};

}  // namespace

int downloadPackages(const PackageList& packages, const URL& repositoryURL, const Options& options,
                     const HTTPClientFactory& clientFactory, Console& console,
                     std::ostream& output) {
  Download download(repositoryURL, options, clientFactory, console, output);
  return options.packages.empty() ? download.downloadMissing(packages)
                                  : download.downloadNamed(packages);
}

}  // namespace tolvane
