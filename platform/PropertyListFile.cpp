// SPDX-License-Identifier: MIT
#include "platform/PropertyListFile.h"

#include "platform/File.h"
#include "platform/PropertyList.h"
#include "platform/SystemLog.h"

namespace tolvane {

std::string textInPropertyListFile(const std::string& path, std::string_view key) {
  if (!fileExists(path)) return "";
  std::string bytes;
  PropertyListResult list;
  list.error = appendFile(path, bytes);
  if (!list.error) list = readPropertyList(bytes);
  if (list.error) {
    SystemLog::write("[MAIN] Could not read {}: {}", path, describe(list.error));
    return "";
  }
  const PropertyList::Dictionary* root = list.value->dictionary();
  const PropertyList* value = root ? root->find(key) : nullptr;
  return value ? value->textForm().value_or("") : "";
}

}  // namespace tolvane
