// SPDX-License-Identifier: MIT
#include "benchmarks/GeneratedIndex.h"

#include <array>
#include <cstddef>
#include <fmt/format.h>
#include <string_view>

#include "benchmarks/InventedText.h"

namespace tolvane {

namespace {

constexpr int kStanzaCount = 63'000;

constexpr std::array<std::string_view, 24> kWords = {
    "audio", "battery", "clock",  "daemon", "editor", "font",   "game",  "helper",
    "icon",  "journal", "kernel", "lock",   "mirror", "notify", "open",  "panel",
    "query", "ring",    "screen", "theme",  "update", "video",  "watch", "zoom"};

class IndexWriter : InventedText {
 public:
  IndexWriter() : InventedText(kWords) {}

  std::string write(int stanzaCount) {
    for (int i = 0; i < stanzaCount; ++i) addStanza(i);
    return take();
  }

 private:
  std::string digits(std::size_t count) {
    std::string text;
    for (; count > 0; --count) text += "0123456789abcdef"[pick(16)];
    return text;
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
      addContinuation(words(8, " "));
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
    endStanza();
  }
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
