// SPDX-License-Identifier: MIT
#include "cli/Options.h"

#include <CLI/CLI.hpp>
#include <map>
#include <sstream>

#include "cli/ExitStatus.h"

namespace tolvane {

namespace {

constexpr int kMaximumConnections = 64;

// Accepted before the command's name as well as after it.
void addConsoleFlags(CLI::App& app, Options& options) {
  app.add_flag("--quiet", options.quiet, "Show only warnings and errors on standard error");
  app.add_flag("--verbose", options.verbose, "Show the system log on standard error");
}

void addSharedOptions(CLI::App& command, Options& options) {
  static const std::map<std::string, RepositoryType> kTypes{
      {"auto", RepositoryType::automatic},
      {"apt", RepositoryType::apt},
      {"installer4", RepositoryType::installer4},
      {"installer3", RepositoryType::installer3},
  };
  command.add_option("URL", options.url, "URL of the repository")->required();
  command
      .add_option_function<std::string>(
          "--type", [&options](const std::string& name) { options.type = kTypes.at(name); },
          "Kind of the repository, auto by default")
      ->type_name("TYPE")
      ->check(CLI::IsMember(kTypes));
  command.add_flag("--json", options.json, "Print JSON to standard output");
  addConsoleFlags(command, options);
}

void addList(CLI::App& app, Options& options) {
  CLI::App* list = app.add_subcommand("list", "List the packages of a repository");
  addSharedOptions(*list, options);
  list->add_option("--search", options.search, "List only the packages that contain this text");
  list->callback([&options] { options.command = Options::Command::list; });
}

void addDownload(CLI::App& app, Options& options) {
  CLI::App* download =
      app.add_subcommand("download", "Download and verify the packages that a folder lacks");
  addSharedOptions(*download, options);
  download->add_option("FOLDER", options.folder, "Folder for the packages")->required();
  download
      ->add_option("--package", options.packages,
                   "Download the packages with this identifier; may be given several times")
      ->type_name("IDENTIFIER")
      ->allow_extra_args(false);
  download->add_flag("--metadata", options.metadata, "Save the repository's metadata files too");
  download
      ->add_option("--connections", options.connections, "Connections to one host, 6 by default")
      ->check(CLI::Range(1, kMaximumConnections));
  download->callback([&options] { options.command = Options::Command::download; });
}

UsageAnswer answerTo(const CLI::App& app, const CLI::ParseError& error) {
  std::ostringstream output, errors;
  const int status = app.exit(error, output, errors);
  if (status == 0) return {output.str(), kExitDone};
  return {errors.str(), kExitUsage};
}

}  // namespace

std::variant<Options, UsageAnswer> parseOptions(const std::vector<std::string>& arguments) {
  Options options;
  CLI::App app("Lists and downloads the packages of a repository.", "tolvane-cli");
  app.set_version_flag("--version", "tolvane-cli " TOLVANE_VERSION);
  app.require_subcommand(1);
  addConsoleFlags(app, options);
  addList(app, options);
  addDownload(app, options);
  try {
    // The parser takes its words from the back.
    app.parse(std::vector<std::string>(arguments.rbegin(), arguments.rend()));
  } catch (const CLI::ParseError& error) {
    return answerTo(app, error);
  }
  return options;
}

}  // namespace tolvane
