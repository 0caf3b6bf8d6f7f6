// SPDX-License-Identifier: MIT
#include "cli/ListCommand.h"

#include <algorithm>
#include <array>
#include <functional>
#include <nlohmann/json.hpp>
#include <string>
#include <string_view>

#include "cli/Json.h"
#include "cli/TerminalText.h"
#include "model/PackageSearch.h"

namespace tolvane {

namespace {

using Field = PackageEntry::Field;
using PackageList = std::vector<PackageEntry>;

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
  for (std::size_t i = 0; i < row.size(); ++i) {
    widths[i] = std::max(widths[i], std::min(displayWidth(row[i]), kWidestColumn));
  }
}

void printRow(const Row& row, const Widths& widths, std::string& line, std::ostream& output) {
  line.clear();
  for (std::size_t i = 0; i + 1 < row.size(); ++i) {
    const std::size_t width = displayWidth(row[i]);
    appendPrintable(line, row[i]);
    line.append(widths[i] > width ? widths[i] - width : 0, ' ');
    line += "  ";
  }
  appendPrintable(line, row.back());
  line += '\n';
  output.write(line.data(), static_cast<std::streamsize>(line.size()));
}

void printTable(const PackageList& packages, std::ostream& output) {
  Widths widths{};
  widen(widths, titles());
  for (const PackageEntry& package : packages) widen(widths, rowOf(package));
  std::string line;
  printRow(titles(), widths, line, output);
  for (const PackageEntry& package : packages) printRow(rowOf(package), widths, line, output);
}

// Object by object: a list of many packages is never one value, or one text, in memory.
void printJSON(const PackageList& packages, std::ostream& output) {
  const char* separator = "[\n";
  for (const PackageEntry& package : packages) {
    output << separator << jsonText(jsonObject(package));
    separator = ",\n";
  }
  output << (packages.empty() ? "[]\n" : "\n]\n");
}

}  // namespace

void printPackages(const PackageList& packages, const Options& options, std::ostream& output) {
  const PackageSearch search(options.search);
  PackageList found;
  std::copy_if(packages.begin(), packages.end(), std::back_inserter(found),
               [&](const PackageEntry& package) { return search.matches(package); });
  if (options.json) {
    printJSON(found, output);
  } else {
    printTable(found, output);
  }
}

}  // namespace tolvane
