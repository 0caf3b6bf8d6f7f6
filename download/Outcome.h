// SPDX-License-Identifier: MIT
#pragma once

#include <functional>
#include <optional>
#include <string>

#include "base/Error.h"
#include "base/URL.h"
#include "http/HTTPClient.h"
#include "model/PackageEntry.h"

// What observers of a download run and of the saving of metadata are called with. An observer is
// called on a background thread with no lock held, and may be called on several at
// once. The references are valid during the call.
namespace tolvane {

// The last request that was made for a package or path; without a URL where none was made.
struct LastRequest {
  std::optional<URL> url;                // as it was asked, before any redirect
  std::optional<HTTPResponse> response;  // its answer
  std::string localPath;                 // of the file that was moved into place, "" without one
};

// The end of one package that the folder did not hold: called once for each, before it is counted.
struct PackageOutcome {
  const PackageEntry& package;
  const LastRequest& request;  // with localPath also where the file failed its validation
  bool success;
  const std::optional<Error>& error;  // may be absent from a failure too (Installer4Retrieval)
};
using PackageObserver = std::function<void(const PackageOutcome&)>;

// The end of one of a repository's metadata paths.
struct MetadataOutcome {
  const std::string& path;     // relative, as in RepositoryMetadataArchiver::candidatePaths()
  const LastRequest& request;  // with localPath exactly where the path was saved
  const std::optional<Error>& error;  // of the transfer or of the move
};
using MetadataObserver = std::function<void(const MetadataOutcome&)>;

}  // namespace tolvane
