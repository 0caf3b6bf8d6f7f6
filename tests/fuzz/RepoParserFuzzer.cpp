// SPDX-License-Identifier: MIT
#include <cstddef>
#include <cstdint>
#include <cstdlib>
#include <string>

#include "base/UTF8.h"
#include "repository/RepoParser.h"
#include "repository/RepositoryFetcher.h"

// The reader moves text about inside of the index. What comes out of text is to be text.
extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
  using tolvane::PackageEntry;
  auto text = tolvane::RepositoryFetcher::stringFromTextData(
      std::string(reinterpret_cast<const char*>(data), size));
  if (!text) std::abort();
  for (const PackageEntry& package : tolvane::RepoParser::parsePackagesText(std::move(*text))) {
    for (const std::string_view value : {package.packageName(), package.displayName(),
                                         package.packageDescription(), package.filename()}) {
      if (value.size() > 2 * size || !tolvane::isValidUTF8(value)) std::abort();
    }
  }
  return 0;
}
