// SPDX-License-Identifier: MIT
#pragma once

#include <string>
#include <variant>
#include <vector>

namespace tolvane {

enum class RepositoryType { automatic, apt, installer4, installer3 };

// What the command line asks for.
struct Options {
  enum class Command { list, download };

  Command command = Command::list;
  std::string url;  // as typed
  RepositoryType type = RepositoryType::automatic;
  bool json = false;
  bool quiet = false;
  bool verbose = false;

  std::string search;  // list

  std::string folder;                 // download, as all below
  std::vector<std::string> packages;  // identifiers; none means whatever the folder lacks
  bool metadata = false;
  int connections = 6;  // to one host
};

// A command line that is answered with a text: help, the version, or what is wrong with it.
struct UsageAnswer {
  std::string text;
  int exitStatus = 0;
};

// `arguments` are those after the program's name.
std::variant<Options, UsageAnswer> parseOptions(const std::vector<std::string>& arguments);

}  // namespace tolvane
