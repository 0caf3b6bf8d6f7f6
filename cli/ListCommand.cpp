// SPDX-License-Identifier: MIT
#include "cli/ListCommand.h"

#include <algorithm>
#include <array>
#include <nlohmann/json.hpp>
#include <string>
#include <string_view>

#include "base/TerminalText.h"
#include "cli/Json.h"
#include "model/PackageSearch.h"

namespace tolvane {

namespace {

using Field = PackageEntry::Field;
using Packages = std::span<const PackageEntry>;

struct Column {
  std::string_view title;
  Field field;
};

// The name comes last because it is the one that runs long, and the last column needs no padding.
constexpr std::array<Column, 6> kColumns{{
    {"Identifier", Field::packageName},
    {"Version", Field::version},
    {"Arch", Field::architecture},
    {"Size", Field::size},
    {"Section", Field::section},
    {"Name", Field::displayName},
}};

// One long text must not push the whole table apart: it runs over its column instead.
constexpr std::size_t kWidestColumn = 48;

constexpr std::size_t kBytesAtOnce = 64 * 1024;

using Row = std::array<std::string_view, kColumns.size()>;
using Widths = std::array<std::size_t, kColumns.size()>;

Row titles() {
  Row row;
  std::transform(kColumns.begin(), kColumns.end(), row.begin(),
                 [](const Column& column) { return column.title; });
  return row;
}

Row rowOf(const PackageEntry& package) {
  Row row;
  std::transform(kColumns.begin(), kColumns.end(), row.begin(),
                 [&](const Column& column) { return package.text(column.field); });
  return row;
}

void widen(Widths& widths, const Row& row) {
  for (std::size_t i = 0; i < widths.size(); ++i) {
    widths[i] = std::max(widths[i], std::min(displayWidth(row[i]), kWidestColumn));
  }
}

void appendRow(std::string& table, const Row& row, const Widths& widths) {
  for (std::size_t i = 0; i + 1 < row.size(); ++i) {
    const std::size_t width = displayWidth(row[i]);
    appendPrintable(table, row[i]);
    table.append(widths[i] > width ? widths[i] - width : 0, ' ');
    table += "  ";
  }
  appendPrintable(table, row.back());
  table += '\n';
}

void printTable(Packages packages, std::ostream& output) {
  Widths widths{};
  widen(widths, titles());
  for (const PackageEntry& package : packages) widen(widths, rowOf(package));
  std::string lines;
  appendRow(lines, titles(), widths);
  for (const PackageEntry& package : packages) {
    appendRow(lines, rowOf(package), widths);
    if (lines.size() < kBytesAtOnce) continue;
    output << lines;
    lines.clear();
  }
  output << lines;
}

// Object by object: a list of many packages is never one value, or one text, in memory.
void printJSON(Packages packages, std::ostream& output) {
  const char* separator = "[\n";
  for (const PackageEntry& package : packages) {
    output << separator << jsonText(jsonObject(package));
    separator = ",\n";
  }
  output << (packages.empty() ? "[]\n" : "\n]\n");
}

}  // namespace

void printPackages(Packages packages, const Options& options, std::ostream& output) {
  std::vector<PackageEntry> found;
  if (!options.search.empty()) {
    found = PackageSearch(packages).packagesMatching(options.search);
    packages = found;
  }
  if (options.json) {
    printJSON(packages, output);
  } else {
    printTable(packages, output);
  }
}

}  // namespace tolvane
