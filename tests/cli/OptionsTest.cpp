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
using testing::Not;

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
  EXPECT_EQ(options.type, RepositoryKind::automatic);
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
  EXPECT_EQ(parsed({"list", "u", "--type", "auto"}).type, RepositoryKind::automatic);
  EXPECT_EQ(parsed({"list", "u", "--type", "apt"}).type, RepositoryKind::apt);
  EXPECT_EQ(parsed({"list", "u", "--type=installer4"}).type, RepositoryKind::installer4);
  EXPECT_EQ(parsed({"download", "u", "f", "--type", "installer3"}).type,
            RepositoryKind::installer3);
}

TEST(Options, OptionsMayAppearAnywhereAfterTheSubcommand) {
  const Options options = parsed({"download", "--json", "--connections", "64", "u", "--metadata",
                                  "--type", "apt", "f", "--package", "a"});
  EXPECT_TRUE(options.json);
  EXPECT_TRUE(options.metadata);
  EXPECT_EQ(options.connections, 64);
  EXPECT_EQ(options.type, RepositoryKind::apt);
  EXPECT_EQ(options.url, "u");
  EXPECT_EQ(options.folder, "f");
}

TEST(Options, APackageTakesOneIdentifierAndMayBeRepeated) {
  const Options options = parsed({"download", "--package", "a", "u", "--package", "[b,c]", "f"});
  EXPECT_THAT(options.packages, ElementsAre("a", "[b,c]"));
  EXPECT_EQ(options.url, "u");
  EXPECT_EQ(options.folder, "f");
}

TEST(Options, QuietAndVerboseMayPrecedeTheSubcommand) {
  EXPECT_TRUE(parsed({"--quiet", "list", "u"}).quiet);
  EXPECT_TRUE(parsed({"list", "u", "--quiet"}).quiet);
  EXPECT_TRUE(parsed({"--verbose", "download", "u", "f"}).verbose);
  EXPECT_TRUE(parsed({"download", "u", "f", "--verbose"}).verbose);
}

TEST(Options, AFolderMayBeNamedLikeASubcommand) {
  EXPECT_EQ(parsed({"download", "u", "list"}).folder, "list");
  EXPECT_EQ(parsed({"download", "u", "download"}).folder, "download");
}

TEST(Options, AFolderMayBeginWithADashAfterADoubleDash) {
  EXPECT_EQ(parsed({"download", "u", "--", "-folder"}).folder, "-folder");
}

TEST(Options, ASearchMayBeAnyString) {
  EXPECT_EQ(parsed({"list", "u", "--search", "two words"}).search, "two words");
  EXPECT_EQ(parsed({"list", "u", "--search", ""}).search, "");
  EXPECT_EQ(parsed({"list", "u", "--search=-x"}).search, "-x");
}

TEST(Options, AValueIsNeverAnOption) {
  for (const char* next : {"--json", "--quiet", "--", "--unknown", "-h"}) {
    expectWrongUsage({"list", "u", "--search", next}, "--search");
    expectWrongUsage({"list", "u", "--type", next}, "--type");
    for (const char* option : {"--user-agent", "--header", "--max-time", "--index"}) {
      expectWrongUsage({"list", "u", option, next}, option);
      expectWrongUsage({"download", "u", "f", option, next}, option);
    }
    for (const char* option : {"--package", "--connections", "--max-size"}) {
      expectWrongUsage({"download", "u", "f", option, next}, option);
    }
  }
}

TEST(Options, AnythingAfterAnEqualsSignIsAValue) {
  EXPECT_EQ(parsed({"list", "u", "--search=--json"}).search, "--json");
  EXPECT_FALSE(parsed({"list", "u", "--search=--json"}).json);
  EXPECT_EQ(parsed({"list", "u", "--search=-h"}).search, "-h");
  EXPECT_THAT(parsed({"download", "u", "f", "--package=--x"}).packages, ElementsAre("--x"));
}

TEST(Options, AValueMayBeginWithOneDash) {
  EXPECT_EQ(parsed({"list", "u", "--search", "-x"}).search, "-x");
  EXPECT_EQ(parsed({"list", "u", "--search", "-"}).search, "-");
}

TEST(Options, AWordAfterADoubleDashIsNoOption) {
  EXPECT_EQ(parsed({"download", "u", "--", "--package"}).folder, "--package");
}

TEST(Options, TransferOptionsHaveDefaults) {
  const Options options = parsed({"download", "u", "f"});
  EXPECT_EQ(options.userAgent, "");
  EXPECT_THAT(options.headers, IsEmpty());
  EXPECT_EQ(options.maxTime, std::nullopt);
  EXPECT_EQ(options.maxSize, kMaximumFileSize);
}

TEST(Options, HeadersAreNamesAndValues) {
  const Options options = parsed({"list", "--header", "Authorization: Bearer a:b ", "u",
                                  "--header=x!#$%&'*+-.^_`|~9:\t c", "--header", "Empty:"});
  EXPECT_THAT(options.headers,
              ElementsAre(std::pair("Authorization", "Bearer a:b"),
                          std::pair("x!#$%&'*+-.^_`|~9", "c"), std::pair("Empty", "")));
  EXPECT_EQ(options.url, "u");
}

TEST(Options, AMalformedHeaderIsRefusedAndItsValueNotShown) {
  for (const char* header : {"secret", ":secret", " A: secret", "A : secret", "A(: secret",
                             "\xC3\xA4: secret", "A: secret\r\nB: c", "A: secret\nB"}) {
    expectWrongUsage({"list", "u", "--header", header}, "--header");
    EXPECT_THAT(answered({"list", "u", "--header", header}).text, Not(HasSubstr("secret")));
  }
}

TEST(Options, AHeaderThatWouldChangeWhatIsSavedOrFrameTheMessageIsRefused) {
  for (const char* name :
       {"Range", "If-Range", "If-Match", "If-None-Match", "If-Modified-Since",
        "If-Unmodified-Since", "Accept-Encoding", "TE", "Transfer-Encoding", "Content-Length",
        "Connection", "Upgrade", "Expect", "Host", "hOST", "Keep-Alive", "Trailer"}) {
    expectWrongUsage({"list", "u", "--header", std::string(name) + ": secret"}, name);
    EXPECT_THAT(answered({"list", "u", "--header", std::string(name) + ": secret"}).text,
                Not(HasSubstr("secret")));
  }
}

TEST(Options, AnIndexIsAFile) {
  EXPECT_EQ(parsed({"list", "u"}).indexFile, std::nullopt);
  EXPECT_EQ(parsed({"list", "u", "--index", "Packages.gz"}).indexFile, "Packages.gz");
  EXPECT_EQ(parsed({"download", "u", "f", "--index", ""}).indexFile, "");
}

TEST(Options, AUserAgentIsOneLine) {
  EXPECT_EQ(parsed({"list", "u", "--user-agent", "Mirror/2 (me)"}).userAgent, "Mirror/2 (me)");
  expectWrongUsage({"list", "u", "--user-agent", "a\r\nB: c"}, "--user-agent");
}

TEST(Options, AMaximumTimeIsInWholeSeconds) {
  EXPECT_EQ(parsed({"list", "u", "--max-time", "5"}).maxTime, std::chrono::seconds(5));
  EXPECT_EQ(parsed({"download", "u", "f", "--max-time=0"}).maxTime, std::chrono::seconds(0));
  for (const char* value : {"-1", "1.5", "", "x", "99999999999999999999"}) {
    expectWrongUsage({"list", "u", "--max-time", value}, "--max-time");
  }
}

TEST(Options, AMaximumSizeIsInBytesOrPowersOf1024) {
  const auto sizeOf = [](const char* text) {
    return parsed({"download", "u", "f", "--max-size", text}).maxSize;
  };
  EXPECT_EQ(sizeOf("1"), 1U);
  EXPECT_EQ(sizeOf("1500"), 1500U);
  EXPECT_EQ(sizeOf("3K"), 3U << 10);
  EXPECT_EQ(sizeOf("3m"), 3U << 20);
  EXPECT_EQ(sizeOf("5G"), std::uint64_t{5} << 30);
  EXPECT_EQ(sizeOf("17179869183G"), std::uint64_t{17179869183} << 30);
  for (const char* value : {"0", "0K", "", "K", "-1", "+1", "1.5G", "1KB", "1 K", "1T", "0x10",
                            "17179869184G", "18446744073709551616"}) {
    expectWrongUsage({"download", "u", "f", "--max-size", value}, "--max-size");
  }
  expectWrongUsage({"list", "u", "--max-size", "1"}, "--max-size");
}

TEST(Options, WrongUsageHasNoControlCharacters) {
  const UsageAnswer answer = answered({"list", "u", "a\033[2J\u009B\u202E"});
  EXPECT_THAT(answer.text, HasSubstr("a\uFFFD[2J\uFFFD\uFFFD\n"));
}

TEST(Options, HelpNamesTheSubcommandsAndTheirOptions) {
  const UsageAnswer help = answered({"--help"});
  EXPECT_EQ(help.exitStatus, kExitDone);
  EXPECT_THAT(help.text, HasSubstr("list"));
  EXPECT_THAT(help.text, HasSubstr("download"));
  const UsageAnswer downloadHelp = answered({"download", "--help"});
  EXPECT_EQ(downloadHelp.exitStatus, kExitDone);
  for (const char* word :
       {"URL", "FOLDER", "--type", "--package", "--metadata", "--connections", "--json", "--quiet",
        "--verbose", "--user-agent", "--header", "--max-time", "--max-size", "--index"}) {
    EXPECT_THAT(downloadHelp.text, HasSubstr(word));
  }
}

TEST(Options, VersionPrintsNameAndNumber) {
  const UsageAnswer answer = answered({"--version"});
  EXPECT_EQ(answer.exitStatus, kExitDone);
  EXPECT_EQ(answer.text, "tolvane-cli " TOLVANE_VERSION "\n");
}

TEST(Options, AMissingOrUnknownSubcommandIsWrongUsage) {
  for (const std::vector<std::string>& arguments : {std::vector<std::string>{}, {"fetch", "u"}}) {
    const UsageAnswer answer = answered(arguments);
    EXPECT_EQ(answer.exitStatus, kExitUsage);
    EXPECT_THAT(answer.text, Not(IsEmpty()));
  }
}

TEST(Options, WrongUsageNamesTheArgument) {
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
