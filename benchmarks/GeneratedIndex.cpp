// SPDX-License-Identifier: MIT
#include "benchmarks/GeneratedIndex.h"

#include <array>
#include <cstddef>
#include <fmt/format.h>
#include <random>
#include <string_view>
#include <utility>

namespace tolvane {

namespace {

constexpr int kStanzaCount = 63'000;

constexpr std::array<std::string_view, 24> kWords = {
    "audio", "battery", "clock",  "daemon", "editor", "font",   "game",  "helper",
    "icon",  "journal", "kernel", "lock",   "mirror", "notify", "open",  "panel",
    "query", "ring",    "screen", "theme",  "update", "video",  "watch", "zoom"};

class IndexWriter {
 public:
  std::string write(int stanzaCount) {
    for (int i = 0; i < stanzaCount; ++i) addStanza(i);
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

  std::string version() { return fmt::format("{}.{}.{}-{}", pick(9), pick(30), pick(9), pick(5)); }

  std::string digits(std::size_t count) {
    std::string text;
    for (; count > 0; --count) text += "0123456789abcdef"[pick(16)];
    return text;
  }

  void add(std::string_view name, std::string_view value) {
    text_.append(name).append(": ").append(value).append("\n");
  }

  std::string dependencies() {
    std::string list = fmt::format("lib{} (>= {})", words(1, ""), version());
    for (std::size_t count = pick(7); count > 0; --count) {
      list += fmt::format(", lib{} (>= {})", words(2, "-"), version());
    }
    return list;
  }

  void addStanza(int number) {
    const std::string name = fmt::format("{}-{}", words(2, "-"), number);
    const std::string packageVersion = version();
    add("Package", name);
    if (pick(2) == 0) add("Source", words(2, "-"));
    add("Version", packageVersion);
    add("Installed-Size", std::to_string(pick(100'000)));
    add("Maintainer", fmt::format("The {} team <{}@lists.example>", words(1, ""), words(2, "-")));
    add("Architecture", "iphoneos-arm");
    add("Depends", dependencies());
    add("Description", words(5, " "));
    for (std::size_t count = pick(4) == 0 ? 3 : 0; count > 0; --count) {
      text_.append(" ").append(words(8, " ")).append("\n");
    }
    add("Homepage", fmt::format("https://{}.example/{}/", words(1, ""), name));
    add("Description-md5", digits(32));
    add("Tag", fmt::format("implemented-in::{}, role::{}, interface::{},\n use::{}, works-with::{}",
                           words(1, ""), words(1, ""), words(1, ""), words(1, ""), words(1, "")));
    add("Section", words(1, ""));
    add("Priority", "optional");
    add("Filename", fmt::format("pool/main/{}/{}_{}_iphoneos-arm.deb", name, name, packageVersion));
    add("Size", std::to_string(pick(10'000'000)));
    add("MD5sum", digits(32));
    add("SHA256", digits(64));
    text_ += "\n";
  }

  std::mt19937 random_{1};
  std::string text_;
};

}  // namespace

const std::string& generatedIndex() {
  static const std::string index = generatedIndex(kStanzaCount);
  return index;
}

std::string generatedIndex(int stanzaCount) {
  return IndexWriter().write(stanzaCount);
}

}  // namespace tolvane
