// SPDX-License-Identifier: MIT
#pragma once

#include <string>
#include <string_view>
#include <vector>

namespace tolvane {

// A new folder in that for temporary files, removed with its contents by the destructor.
class TemporaryFolder {
 public:
  TemporaryFolder();
  ~TemporaryFolder();

  TemporaryFolder(const TemporaryFolder&) = delete;
  TemporaryFolder& operator=(const TemporaryFolder&) = delete;

  const std::string& path() const { return path_; }
  std::string path(std::string_view name) const;

  // Makes or replaces the file, and the folders above it. Returns its path.
  std::string write(std::string_view name, std::string_view bytes) const;

  // The file's bytes. A file that cannot be read fails the test.
  std::string read(std::string_view name) const;

  // The names of all direct entries of the folder, in byte order.
  std::vector<std::string> names() const;

 private:
  std::string path_;
};

}  // namespace tolvane
