// SPDX-License-Identifier: MIT
#include "benchmarks/ui/GeneratedRepository.h"

#include <array>
#include <fmt/format.h>
#include <random>
#include <string>
#include <string_view>

#include "repository/RepoParser.h"

namespace tolvane {

namespace {

constexpr std::array<std::string_view, 24> kWords = {
    "audio", "Battery", "clock",  "daemon", "Editor", "font",   "game",  "helper",
    "Icon",  "journal", "kernel", "Lock",   "mirror", "notify", "open",  "panel",
    "query", "Ring",    "screen", "theme",  "update", "video",  "Watch", "zoom"};
constexpr std::array<std::string_view, 5> kArchitectures = {
    "iphoneos-arm", "iphoneos-arm64", "iphoneos-arm64e", "darwin-arm64", "all"};

class Writer {
 public:
  std::string write() {
    for (int i = 0; i < kRepositorySize; ++i) addStanza(i);
    return std::move(text_);
  }

 private:
  std::size_t pick(std::size_t count) { return random_() % count; }

  std::string words(std::size_t count, std::string_view separator) {
    std::string text;
    for (; count > 0; --count) {
      text += kWords[pick(kWords.size())];
      if (count > 1) text += separator;
    }
    return text;
  }

  void add(std::string_view name, std::string_view value) {
    text_.append(name).append(": ").append(value).append("\n");
  }

  void addStanza(int number) {
    const int package = number - (number % 10 == 9 ? 1 : 0);
    const std::string identifier = fmt::format("org.example.{}.{}", words(1, ""), package);
    const std::string version = fmt::format("{}.{}.{}-{}", pick(9), pick(30), pick(9), pick(5));
    const std::string_view architecture = kArchitectures[pick(kArchitectures.size())];
    add("Package", identifier);
    add("Name", fmt::format("{} {}", words(5, " "), number));
    add("Version", version);
    add("Architecture", architecture);
    add("Section", fmt::format("{} {}", words(1, ""), pick(2)));
    add("Size", std::to_string(pick(10'000'000)));
    add("Filename", fmt::format("pool/main/{}/{}/{}_{}_{}.deb", words(2, "-"), identifier,
                                identifier, version, architecture));
    add("Author", fmt::format("{} <{}@mail.example>", words(2, " "), words(1, "")));
    add("Maintainer", fmt::format("{} <{}@mail.example>", words(2, " "), words(1, "")));
    add("Depends", fmt::format("firmware (>= {}), {}", pick(15), words(2, "-")));
    add("SHA256", std::string(64, "0123456789abcdef"[pick(16)]));
    add("Description", words(10 + pick(12), " "));
    for (std::size_t lines = pick(4) == 0 ? 1 + pick(4) : 0; lines > 0; --lines) {
      text_.append(" ").append(words(8, " ")).append("\n");
    }
    text_ += "\n";
  }

  std::mt19937 random_{1};
  std::string text_;
};

}  // namespace

std::vector<PackageEntry> generatedRepository() {
  return RepoParser::parsePackagesText(Writer().write());
}

}  // namespace tolvane
