// SPDX-License-Identifier: MIT
#include "archive_client/CheckRequestBody.h"

#include <fmt/format.h>
#include <initializer_list>
#include <new>
#include <nlohmann/json.hpp>
#include <utility>

#include "base/File.h"
#include "base/UTF8.h"

namespace tolvane {

namespace {

using nlohmann::json;

// The name under which the archive would keep the package. A record has no absent fields: an empty
// string stands for one.
std::string archivedFilenameOf(const PackageEntry& package) {
  for (const std::string_view address : {package.downloadURL(), package.filename()}) {
    const std::string_view name = lastPathComponent(address);
    if (!name.empty()) return std::string(name);
  }
  const auto either = [](std::string_view text, std::string_view otherwise) {
    return text.empty() ? otherwise : text;
  };
  return fmt::format("{}_{}", either(package.packageName(), "package"),
                     either(package.version(), "unknown"));
}

// Whether JSON has the string as it is, unescaped.
bool needsNoEscape(std::string_view text) {
  return isPrintableASCII(text) && text.find('"') == std::string_view::npos &&
         text.find('\\') == std::string_view::npos;
}

// A request has hundreds of thousands of strings; the JSON library is slower than append().
void appendString(std::string_view text, std::string& body) {
  if (needsNoEscape(text)) {
    body.append("\"").append(text).append("\"");
  } else {
    body.append(json(text).dump());
  }
}

using Members = std::initializer_list<std::pair<std::string_view, std::string_view>>;

void appendObject(Members members, std::string& body) {
  char before = '{';
  for (const auto& [name, value] : members) {
    body += before;
    body.append("\"").append(name).append("\":");
    appendString(value, body);
    before = ',';
  }
  body += '}';
}

void appendPackage(const PackageEntry& package, std::string& body) {
  appendObject({{"identifier", package.packageName()},
                {"version", package.version()},
                {"name", package.displayName()},
                {"filename", archivedFilenameOf(package)},
                {"size", package.size()},
                {"original_url", originalURLOf(package)}},
               body);
}

}  // namespace

std::optional<std::string> checkRequestBody(std::string_view repositoryURL,
                                            std::string_view repositoryType,
                                            const std::vector<PackageEntry>& packages) {
  try {
    std::string body;
    appendObject({{"repository_url", repositoryURL}, {"repository_type", repositoryType}}, body);
    body.back() = ',';  // instead of the object's end
    body += R"("packages":[)";
    for (const PackageEntry& package : packages) {
      if (body.back() == '}') body += ',';
      appendPackage(package, body);
    }
    body += "]}";
    return body;
  } catch (const json::exception&) {
    return std::nullopt;
  } catch (const std::bad_alloc&) {
    return std::nullopt;
  }
}

std::string_view originalURLOf(const PackageEntry& package) {
  return package.downloadURL().empty() ? package.filename() : package.downloadURL();
}

}  // namespace tolvane
