// SPDX-License-Identifier: MIT
#include "repository/PackagesIndex.h"

#include <fmt/format.h>
#include <new>
#include <utility>

#include "base/SystemLog.h"
#include "base/UTF8.h"
#include "model/CrawlerLogger.h"
#include "repository/RepoParser.h"

namespace tolvane {

namespace {

constexpr std::string_view kUTF8Mark = "\xEF\xBB\xBF";

using Unpack = std::optional<std::string>(std::string_view bytes, std::size_t maximumSize);

// Null for the name of a file that is not compressed.
Unpack* unpackerOf(std::string_view name) {
  if (name.ends_with(".gz")) return unpackGzip;
  if (name.ends_with(".bz2")) return unpackBzip2;
  if (name.ends_with(".xz")) return unpackXZ;
  return nullptr;
}

}  // namespace

std::optional<std::string> decodeIndexText(std::string bytes, std::size_t maximumSize) {
  if (!isValidUTF8(bytes)) return textFromLatin1(std::move(bytes), maximumSize);
  if (bytes.starts_with(kUTF8Mark)) bytes.erase(0, kUTF8Mark.size());
  if (bytes.size() > maximumSize) return std::nullopt;
  return bytes;
}

std::optional<std::string> decodeIndex(std::string bytes, std::string_view name,
                                       std::size_t maximumSize) {
  if (Unpack* const unpack = unpackerOf(name)) {
    std::optional<std::string> unpacked = unpack(bytes, maximumSize);
    if (!unpacked) return std::nullopt;
    bytes = std::move(*unpacked);  // frees the compressed bytes
  }
  return decodeIndexText(std::move(bytes), maximumSize);
}

PackagesIndex readPackagesIndex(std::string bytes, std::string_view name) {
  PackagesIndex index;
  try {
    std::optional<std::string> text = decodeIndex(std::move(bytes), name);
    if (!text) return index;
    const std::size_t length = utf16Length(*text);
    SystemLog::write("[Crawler] Decoded Packages file ({} chars)", length);
    CrawlerLogger::logSuccess(fmt::format("Decoded Packages file ({} chars)", length));
    index.packages.emplace();
    index.packages = RepoParser::packagesInText(std::move(*text));
  } catch (const std::bad_alloc&) {
    index.outOfMemory = true;
    if (!index.packages) return index;
  }
  SystemLog::write("[Crawler] Parsed {} packages", index.packages->size());
  CrawlerLogger::logSuccess(fmt::format("Parsed {} package(s)", index.packages->size()));
  return index;
}

}  // namespace tolvane
