// SPDX-License-Identifier: MIT
#include "benchmarks/ui/GeneratedRepository.h"

#include <array>
#include <fmt/format.h>
#include <string>
#include <string_view>

#include "benchmarks/InventedText.h"
#include "repository/RepoParser.h"

namespace tolvane {

namespace {

constexpr std::array<std::string_view, 24> kWords = {
    "audio", "Battery", "clock",  "daemon", "Editor", "font",   "game",  "helper",
    "Icon",  "journal", "kernel", "Lock",   "mirror", "notify", "open",  "panel",
    "query", "Ring",    "screen", "theme",  "update", "video",  "Watch", "zoom"};
constexpr std::array<std::string_view, 5> kArchitectures = {
    "iphoneos-arm", "iphoneos-arm64", "iphoneos-arm64e", "darwin-arm64", "all"};

class Writer : InventedText {
 public:
  Writer() : InventedText(kWords) {}

  std::string write() {
    for (int i = 0; i < kRepositorySize; ++i) addStanza(i);
    return take();
  }

 private:
  void addStanza(int number) {
    const int package = number - (number % 10 == 9 ? 1 : 0);
    const std::string identifier = fmt::format("org.example.{}.{}", words(1, ""), package);
    const std::string packageVersion = version();
    const std::string_view architecture = kArchitectures[pick(kArchitectures.size())];
    add("Package", identifier);
    add("Name", fmt::format("{} {}", words(5, " "), number));
    add("Version", packageVersion);
    add("Architecture", architecture);
    add("Section", fmt::format("{} {}", words(1, ""), pick(2)));
    add("Size", std::to_string(pick(10'000'000)));
    add("Filename", fmt::format("pool/main/{}/{}/{}_{}_{}.deb", words(2, "-"), identifier,
                                identifier, packageVersion, architecture));
    add("Author", fmt::format("{} <{}@mail.example>", words(2, " "), words(1, "")));
    add("Maintainer", fmt::format("{} <{}@mail.example>", words(2, " "), words(1, "")));
    add("Depends", fmt::format("firmware (>= {}), {}", pick(15), words(2, "-")));
    add("SHA256", std::string(64, "0123456789abcdef"[pick(16)]));
    add("Description", words(10 + pick(12), " "));
    for (std::size_t lines = pick(4) == 0 ? 1 + pick(4) : 0; lines > 0; --lines) {
      addContinuation(words(8, " "));
    }
    endStanza();
  }
};

}  // namespace

std::vector<PackageEntry> generatedRepository() {
  return RepoParser::parsePackagesText(Writer().write());
}

}  // namespace tolvane
