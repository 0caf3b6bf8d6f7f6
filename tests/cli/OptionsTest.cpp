// SPDX-License-Identifier: MIT
#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include "cli/ExitStatus.h"
#include "cli/Options.h"

namespace tolvane {
namespace {

using testing::ElementsAre;
using testing::HasSubstr;
using testing::IsEmpty;

Options parsed(const std::vector<std::string>& arguments) {
  const auto result = parseOptions(arguments);
  const auto* options = std::get_if<Options>(&result);
  if (options != nullptr) return *options;
  ADD_FAILURE() << std::get<UsageAnswer>(result).text;
  return {};
}

UsageAnswer answered(const std::vector<std::string>& arguments) {
  const auto result = parseOptions(arguments);
  const auto* answer = std::get_if<UsageAnswer>(&result);
  if (answer != nullptr) return *answer;
  ADD_FAILURE() << "accepted";
  return {};
}

void expectWrongUsage(const std::vector<std::string>& arguments, const std::string& about) {
  const UsageAnswer answer = answered(arguments);
  EXPECT_EQ(answer.exitStatus, kExitUsage);
  EXPECT_THAT(answer.text, HasSubstr(about));
}

TEST(Options, AListNeedsAURLAndHasDefaults) {
  const Options options = parsed({"list", "http://repo.example/"});
  EXPECT_EQ(options.command, Options::Command::list);
  EXPECT_EQ(options.url, "http://repo.example/");
  EXPECT_EQ(options.type, RepositoryType::automatic);
  EXPECT_EQ(options.search, "");
  EXPECT_FALSE(options.json);
  EXPECT_FALSE(options.quiet);
  EXPECT_FALSE(options.verbose);
}

TEST(Options, ADownloadNeedsAURLAndAFolderAndHasDefaults) {
  const Options options = parsed({"download", "http://repo.example/", "some folder"});
  EXPECT_EQ(options.command, Options::Command::download);
  EXPECT_EQ(options.url, "http://repo.example/");
  EXPECT_EQ(options.folder, "some folder");
  EXPECT_THAT(options.packages, IsEmpty());
  EXPECT_FALSE(options.metadata);
  EXPECT_EQ(options.connections, 6);
}

TEST(Options, EveryTypeHasItsName) {
  EXPECT_EQ(parsed({"list", "u", "--type", "auto"}).type, RepositoryType::automatic);
  EXPECT_EQ(parsed({"list", "u", "--type", "apt"}).type, RepositoryType::apt);
  EXPECT_EQ(parsed({"list", "u", "--type=installer4"}).type, RepositoryType::installer4);
  EXPECT_EQ(parsed({"download", "u", "f", "--type", "installer3"}).type,
            RepositoryType::installer3);
}

TEST(Options, OptionsMayStandAnywhereAfterTheCommand) {
  const Options options = parsed({"download", "--json", "--connections", "64", "u", "--metadata",
                                  "--type", "apt", "f", "--package", "a"});
  EXPECT_TRUE(options.json);
  EXPECT_TRUE(options.metadata);
  EXPECT_EQ(options.connections, 64);
  EXPECT_EQ(options.type, RepositoryType::apt);
  EXPECT_EQ(options.url, "u");
  EXPECT_EQ(options.folder, "f");
}

TEST(Options, APackageTakesOneIdentifierAndMayBeRepeated) {
  const Options options = parsed({"download", "--package", "a", "u", "--package", "[b,c]", "f"});
  EXPECT_THAT(options.packages, ElementsAre("a", "[b,c]"));
  EXPECT_EQ(options.url, "u");
  EXPECT_EQ(options.folder, "f");
}

TEST(Options, QuietAndVerboseMayStandBeforeTheCommandToo) {
  EXPECT_TRUE(parsed({"--quiet", "list", "u"}).quiet);
  EXPECT_TRUE(parsed({"list", "u", "--quiet"}).quiet);
  EXPECT_TRUE(parsed({"--verbose", "download", "u", "f"}).verbose);
  EXPECT_TRUE(parsed({"download", "u", "f", "--verbose"}).verbose);
}

TEST(Options, AFolderMayBeNamedLikeACommand) {
  EXPECT_EQ(parsed({"download", "u", "list"}).folder, "list");
  EXPECT_EQ(parsed({"download", "u", "download"}).folder, "download");
}

TEST(Options, AFolderMayBeginWithADashAfterADoubleDash) {
  EXPECT_EQ(parsed({"download", "u", "--", "-folder"}).folder, "-folder");
}

TEST(Options, ASearchTakesAnyText) {
  EXPECT_EQ(parsed({"list", "u", "--search", "two words"}).search, "two words");
  EXPECT_EQ(parsed({"list", "u", "--search", ""}).search, "");
  EXPECT_EQ(parsed({"list", "u", "--search=-x"}).search, "-x");
}

TEST(Options, HelpNamesTheCommandsAndTheirOptions) {
  const UsageAnswer help = answered({"--help"});
  EXPECT_EQ(help.exitStatus, kExitDone);
  EXPECT_THAT(help.text, HasSubstr("list"));
  EXPECT_THAT(help.text, HasSubstr("download"));
  const UsageAnswer downloadHelp = answered({"download", "--help"});
  EXPECT_EQ(downloadHelp.exitStatus, kExitDone);
  for (const char* word : {"URL", "FOLDER", "--type", "--package", "--metadata", "--connections",
                           "--json", "--quiet", "--verbose"}) {
    EXPECT_THAT(downloadHelp.text, HasSubstr(word));
  }
}

TEST(Options, VersionPrintsNameAndNumber) {
  const UsageAnswer answer = answered({"--version"});
  EXPECT_EQ(answer.exitStatus, kExitDone);
  EXPECT_EQ(answer.text, "tolvane-cli " TOLVANE_VERSION "\n");
}

TEST(Options, WrongUsageIsNamed) {
  expectWrongUsage({}, "subcommand");
  expectWrongUsage({"fetch", "u"}, "subcommand");
  expectWrongUsage({"list"}, "URL");
  expectWrongUsage({"list", "u", "extra"}, "extra");
  expectWrongUsage({"list", "u", "--type", "cydia"}, "cydia");
  expectWrongUsage({"list", "u", "--type", "1"}, "--type");
  expectWrongUsage({"list", "u", "--search"}, "--search");
  expectWrongUsage({"list", "u", "--package", "a"}, "--package");
  expectWrongUsage({"list", "u", "--unknown"}, "--unknown");
  expectWrongUsage({"download", "u"}, "FOLDER");
  expectWrongUsage({"download", "u", "f", "--search", "x"}, "--search");
  expectWrongUsage({"download", "u", "f", "--package"}, "--package");
}

TEST(Options, ConnectionsAreOneToSixtyFour) {
  EXPECT_EQ(parsed({"download", "u", "f", "--connections", "1"}).connections, 1);
  for (const char* value : {"0", "65", "-1", "six", "", "99999999999999999999"}) {
    expectWrongUsage({"download", "u", "f", "--connections", value}, "--connections");
  }
}

}  // namespace
}  // namespace tolvane
