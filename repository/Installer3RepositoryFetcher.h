// SPDX-License-Identifier: MIT
#pragma once

#include <functional>
#include <memory>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

#include "base/Error.h"
#include "base/URL.h"
#include "http/HTTPClient.h"
#include "model/PackageEntry.h"
#include "plist/PropertyList.h"
#include "repository/IndexAnswer.h"

namespace tolvane {

inline constexpr std::string_view kInstaller3ErrorDomain = "Installer3";
inline constexpr int kNoPackagesArrayError = 1001;

// Reads an Installer 3 repository: one property list, at the repository URL itself, that names
// every package and where to download it.
//
// Its own errors have the domain "Installer3": the HTTP status of an answer that is no success or
// has no body, or kNoPackagesArrayError. Those of the transfer and of the property-list reader are
// passed on as they are.
//
// A fetch carries all that it needs; the fetcher may be destroyed before it ends.
class Installer3RepositoryFetcher {
 public:
  using PackageList = std::vector<PackageEntry>;

  // A list (an empty one is a success), an error, or neither: a property list that was read but
  // whose root is no dictionary. Called once, on a background thread; may be empty.
  using Completion = std::function<void(std::optional<PackageList>, std::optional<Error>)>;

  explicit Installer3RepositoryFetcher(const HTTPClientFactory& clientFactory = makeHTTPClient,
                                       IndexObserver observer = {});

  // With two retries.
  void fetchPackagesFromRepositoryURL(const std::optional<URL>& repositoryURL,
                                      Completion completion) const;

  // A lost connection (-1005) and a timeout (-1001) are tried again after 1.5 seconds, at most
  // `retryCount` times.
  void fetchPackagesFromRepositoryURL(const std::optional<URL>& repositoryURL, long retryCount,
                                      Completion completion) const;

  struct Reading {
    std::optional<PackageList> packages;
    std::optional<Error> error;
    bool outOfMemory = false;  // whether that is why there are no packages
  };

  // The packages of a list's bytes, or why there are none; both absent for a property list whose
  // root is no dictionary. Reports either.
  static Reading readList(std::string_view bytes);

  // The text form of a value, "" for a value that is absent or has none.
  static std::string stringValue(const PropertyList* value);

 private:
  IndexObserver observer_;               // may be empty
  std::shared_ptr<HTTPClient> session_;  // 60 seconds a wait, 120 seconds a transfer
};

}  // namespace tolvane
