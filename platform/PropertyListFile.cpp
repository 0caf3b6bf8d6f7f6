// SPDX-License-Identifier: MIT
#include "platform/PropertyListFile.h"

#include <sys/stat.h>

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

void tellIfOthersCanRead(const std::string& path) {
  struct stat status {};
  if (::stat(path.c_str(), &status) != 0 || (status.st_mode & (S_IRGRP | S_IROTH)) == 0) return;
  SystemLog::write("[MAIN] Others can read {}, which may hold a secret.", path);
}

}  // namespace tolvane
