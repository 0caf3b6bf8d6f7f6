// SPDX-License-Identifier: MIT
#include "cli/Options.h"

#include <CLI/CLI.hpp>
#include <algorithm>
#include <fmt/format.h>
#include <iterator>
#include <map>
#include <sstream>
#include <string_view>

#include "base/TerminalText.h"
#include "base/URL.h"
#include "cli/ExitStatus.h"
#include "cli/OptionValues.h"

namespace tolvane {

namespace {

constexpr int kMaximumConnections = 64;
constexpr int kMaximumSeconds = 100'000'000;  // some three years

// Accepted before the subcommand as well as after it.
void addConsoleFlags(CLI::App& app, Options& options) {
  app.add_flag("--quiet", options.quiet, "Show only warnings and errors on standard error");
  app.add_flag("--verbose", options.verbose, "Show the system log on standard error");
}

void addTransferOptions(CLI::App& command, Options& options) {
  command
      .add_option("--user-agent", options.userAgent, "What the program calls itself to a server")
      ->check(userAgentFault);
  command
      .add_option_function<std::vector<std::string>>(
          "--header",
          [&options](const std::vector<std::string>& texts) {
            std::ranges::transform(texts, std::back_inserter(options.headers), headerField);
          },
          "Header field for the repository's own server; may be given several times")
      ->type_name("'NAME: VALUE'")
      ->allow_extra_args(false)
      ->check(headerFieldFault);
  command
      .add_option_function<int>(
          "--max-time",
          [&options](int seconds) { options.maxTime = std::chrono::seconds(seconds); },
          "The longest that one transfer of any kind may take, 0 for any time; without it a "
          "package "
          "may take 300, an index 60 or 120, other files a week")
      ->type_name("SECONDS")
      ->check(CLI::Range(0, kMaximumSeconds));
}

void addIndexOption(CLI::App& command, Options& options) {
  command
      .add_option_function<std::string>(
          "--index", [&options](const std::string& path) { options.indexFile = path; },
          "Read the list of packages from this file, and ask the repository for none")
      ->type_name("FILE");
}

void addSharedOptions(CLI::App& command, Options& options) {
  static const std::map<std::string, RepositoryKind> kTypes{
      {"auto", RepositoryKind::automatic},
      {"apt", RepositoryKind::apt},
      {"installer4", RepositoryKind::installer4},
      {"installer3", RepositoryKind::installer3},
  };
  command.add_option("URL", options.url, "URL of the repository")->required();
  command
      .add_option_function<std::string>(
          "--type", [&options](const std::string& name) { options.type = kTypes.at(name); },
          "Kind of the repository, auto by default")
      ->type_name("TYPE")
      ->check(CLI::IsMember(kTypes));
  command.add_flag("--json", options.json, "Print JSON to standard output");
  addIndexOption(command, options);
  addTransferOptions(command, options);
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
  download
      ->add_option_function<std::string>(
          "--max-size", [&options](const std::string& text) { options.maxSize = *byteCount(text); },
          "The longest file of which no size is known, 4G by default")
      ->type_name("BYTES")
      ->check([](const std::string& text) {
        return byteCount(text) ? "" : "a number of bytes above 0, with K, M or G";
      });
  download->callback([&options] { options.command = Options::Command::download; });
}

bool takesValue(const CLI::App& app, const std::string& word) {
  const auto commands = app.get_subcommands({});
  return std::ranges::any_of(commands, [&word](const CLI::App* command) {
    const CLI::Option* option = command->get_option_no_throw(word);
    return word.starts_with("--") && option != nullptr && option->get_items_expected_min() > 0;
  });
}

// CLI11 takes any word after an option for its value.
void refuseOptionsAsValues(const CLI::App& app, const std::vector<std::string>& arguments) {
  for (std::size_t i = 0; i + 1 < arguments.size() && arguments[i] != "--"; ++i) {
    const std::string& next = arguments[i + 1];
    if ((next.starts_with("--") || next == "-h") && takesValue(app, arguments[i])) {
      throw CLI::ValidationError(arguments[i], fmt::format("its value is missing before {}", next));
    }
  }
}

// Messages of CLI11, which may contain words as they were typed.
std::string printableLines(const std::string& text) {
  std::istringstream lines(text);
  std::string result;
  for (std::string line; std::getline(lines, line);)
    result += printable(withoutPasswords(line)) + '\n';
  return result;
}

// The words that were not expected. One with a blank may be a header field without its option, so
// its value may be a secret.
std::string unexpectedWords(const CLI::App& app) {
  std::string text = "Not expected:";
  for (const std::string& word : app.remaining(true)) {
    const bool isShown = word.find(' ') == std::string::npos;
    text += " " + (isShown ? word.substr(0, word.starts_with("-") ? word.find('=') : word.npos)
                           : std::string("(a text with a blank in it)"));
  }
  return text + "\nRun with --help for more information.\n";
}

UsageAnswer answerTo(const CLI::App& app, const CLI::ParseError& error) {
  if (error.get_exit_code() == static_cast<int>(CLI::ExitCodes::ExtrasError)) {
    return {printableLines(unexpectedWords(app)), kExitUsage};
  }
  std::ostringstream output, errors;
  const int status = app.exit(error, output, errors);
  if (status == 0) return {output.str(), kExitDone};
  return {printableLines(errors.str()), kExitUsage};
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
    refuseOptionsAsValues(app, arguments);
    // CLI11 expects the words in reverse order.
    app.parse(std::vector<std::string>(arguments.rbegin(), arguments.rend()));
  } catch (const CLI::ParseError& error) {
    return answerTo(app, error);
  }
  return options;
}

}  // namespace tolvane
