// SPDX-License-Identifier: MIT
#include "benchmarks/GeneratedPackageList.h"

#include <cstdint>
#include <fmt/format.h>
#include <string_view>
#include <vector>

namespace tolvane {
namespace {

constexpr int kPackages = kGeneratedPackages;
constexpr std::string_view kKeys[] = {"bundleIdentifier", "name",     "version", "description",
                                      "category",         "location", "size",    "maintainer"};

// The values of one package in the order of the keys; the size as decimal digits.
std::vector<std::string> packageValues(int i) {
  static constexpr std::string_view kCategories[] = {"Themes", "Tweaks", "Utilities", "Games"};
  std::string description = "A small tool that changes how this and that looks and works. ";
  while (description.size() < 150u + i % 40) description += "It needs no setting up. ";
  return {fmt::format("com.example.package{}", i),
          fmt::format("Package number {}", i),
          fmt::format("1.{}.{}", i % 100, i % 7),
          description,
          std::string(kCategories[i % 4]),
          fmt::format("http://repo.example/packages/com.example.package{}_1.{}.zip", i, i % 100),
          std::to_string(1000 + 37 * i),
          fmt::format("Somebody {} somebody{}@mail.example", i % 300, i % 300)};
}

std::string makeXMLList() {
  std::string list =
      "<?xml version=\"1.0\" encoding=\"UTF-8\"?>\n<plist version=\"1.0\">\n<dict>\n"
      "\t<key>packages</key>\n\t<array>\n";
  for (int i = 0; i < kPackages; ++i) {
    const auto values = packageValues(i);
    list += "\t\t<dict>\n";
    for (std::size_t k = 0; k < values.size(); ++k) {
      const std::string_view kind = kKeys[k] == "size" ? "integer" : "string";
      list +=
          fmt::format("\t\t\t<key>{0}</key>\n\t\t\t<{1}>{2}</{1}>\n", kKeys[k], kind, values[k]);
    }
    list += "\t\t</dict>\n";
  }
  return list + "\t</array>\n</dict>\n</plist>\n";
}

std::string bigEndian(std::uint64_t number, int width) {
  std::string bytes;
  for (int shift = 8 * (width - 1); shift >= 0; shift -= 8)
    bytes += static_cast<char>(number >> shift);
  return bytes;
}

// Writes binary property lists with references and offsets of four bytes. Only keys are shared.
class BinaryWriter {
 public:
  std::size_t text(std::string_view text) {
    return add("\x5F\x11" + bigEndian(text.size(), 2) + std::string(text));
  }
  std::size_t integer(std::uint64_t number) { return add("\x12" + bigEndian(number, 4)); }

  // With the marker "\xAF" an array of `count` objects, with "\xDF" a dictionary: `count` keys,
  // then as many values.
  std::size_t container(char marker, std::size_t count, const std::vector<std::size_t>& objects) {
    std::string object = marker + ("\x12" + bigEndian(count, 4));
    for (const std::size_t each : objects) object += bigEndian(each, 4);
    return add(object);
  }

  std::string finish(std::size_t top) const {
    return bytes_ + table_ + std::string(6, '\0') + "\x04\x04" + bigEndian(table_.size() / 4, 8) +
           bigEndian(top, 8) + bigEndian(bytes_.size(), 8);
  }

 private:
  std::size_t add(const std::string& object) {
    table_ += bigEndian(bytes_.size(), 4);
    bytes_ += object;
    return table_.size() / 4 - 1;
  }

  std::string bytes_ = "bplist00";
  std::string table_;
};

std::string makeBinaryList() {
  BinaryWriter writer;
  std::vector<std::size_t> keys;
  for (const std::string_view key : kKeys) keys.push_back(writer.text(key));
  std::vector<std::size_t> packages;
  for (int i = 0; i < kPackages; ++i) {
    const auto values = packageValues(i);
    auto references = keys;
    for (std::size_t k = 0; k < values.size(); ++k) {
      references.push_back(kKeys[k] == "size" ? writer.integer(std::stoul(values[k]))
                                              : writer.text(values[k]));
    }
    packages.push_back(writer.container('\xDF', keys.size(), references));
  }
  const std::size_t list = writer.container('\xAF', packages.size(), packages);
  const std::size_t key = writer.text("packages");
  return writer.finish(writer.container('\xDF', 1, {key, list}));
}

}  // namespace

const std::string& generatedXMLPackageList() {
  static const std::string list = makeXMLList();
  return list;
}

const std::string& generatedBinaryPackageList() {
  static const std::string list = makeBinaryList();
  return list;
}

}  // namespace tolvane
