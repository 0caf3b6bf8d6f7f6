// SPDX-License-Identifier: MIT
#pragma once

#include <chrono>
#include <cstdint>
#include <optional>
#include <string>
#include <variant>
#include <vector>

#include "http/HTTPClient.h"
#include "model/RepositoryKind.h"

namespace tolvane {

// The parsed command line.
struct Options {
  enum class Command { list, download };

  Command command = Command::list;
  std::string url;  // as typed
  RepositoryKind type = RepositoryKind::automatic;
  bool json = false;
  bool quiet = false;
  bool verbose = false;
  std::string userAgent;  // "" for the program's own
  HeaderFields headers;   // for the repository's own server alone; may hold secrets
  // The limit for each transfer, 0 for none; no value for the program's own limits.
  std::optional<std::chrono::seconds> maxTime;
  std::optional<std::string> indexFile;  // read instead of requesting an index

  std::string search;  // list

  std::string folder;                 // download, as all below
  std::vector<std::string> packages;  // identifiers; empty for all that the folder lacks
  bool metadata = false;
  int connections = 6;                       // to one host
  std::uint64_t maxSize = kMaximumFileSize;  // bytes of a transfer of which no size is known
};

// The answer to a command line that runs nothing: help, the version, or what is wrong with it.
struct UsageAnswer {
  std::string text;
  int exitStatus = 0;
};

// `arguments` are those after the program's name. A word that begins with "--", or is "-h", is the
// value of an option only after "=".
std::variant<Options, UsageAnswer> parseOptions(const std::vector<std::string>& arguments);

}  // namespace tolvane
