// SPDX-License-Identifier: MIT
#include "plist/PropertyListFile.h"

#include <utility>

#include "base/File.h"
#include "plist/PropertyList.h"

namespace tolvane {

PropertyListText textInPropertyListFile(const std::string& path, std::string_view key) {
  if (!fileExists(path)) return {};
  std::string bytes;
  if (std::optional<Error> error = appendFile(path, bytes)) return {"", std::move(error)};
  PropertyListResult list = readPropertyList(bytes);
  if (list.error) return {"", std::move(list.error)};
  const PropertyList::Dictionary* root = list.value->dictionary();
  const PropertyList* value = root ? root->find(key) : nullptr;
  return {value ? value->textForm().value_or("") : "", std::nullopt};
}

}  // namespace tolvane
