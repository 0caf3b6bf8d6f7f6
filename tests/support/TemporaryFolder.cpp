// SPDX-License-Identifier: MIT
#include "tests/support/TemporaryFolder.h"

#include <algorithm>
#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <gtest/gtest.h>
#include <iterator>
#include <stdlib.h>
#include <system_error>

namespace tolvane {

TemporaryFolder::TemporaryFolder() {
  std::string pattern = std::filesystem::temp_directory_path() / "tolvane-test-XXXXXX";
  if (mkdtemp(pattern.data()) == nullptr) {
    // A test without a folder of its own would write to the current one.
    std::perror(pattern.c_str());
    std::abort();
  }
  path_ = pattern;
}

TemporaryFolder::~TemporaryFolder() {
  std::error_code error;
  std::filesystem::remove_all(path_, error);
  EXPECT_FALSE(error) << path_ << ": " << error.message();
}

std::string TemporaryFolder::path(std::string_view name) const {
  return std::filesystem::path(path_) / name;
}

std::string TemporaryFolder::write(std::string_view name, std::string_view bytes) const {
  const std::filesystem::path file = path(name);
  std::filesystem::create_directories(file.parent_path());
  std::ofstream stream(file, std::ios::binary | std::ios::trunc);
  stream.write(bytes.data(), static_cast<std::streamsize>(bytes.size()));
  stream.close();
  EXPECT_TRUE(stream) << "cannot write " << file;
  return file;
}

std::string TemporaryFolder::read(std::string_view name) const {
  std::ifstream stream(path(name), std::ios::binary);
  EXPECT_TRUE(stream) << "cannot read " << path(name);
  return std::string(std::istreambuf_iterator<char>(stream), std::istreambuf_iterator<char>());
}

std::vector<std::string> TemporaryFolder::names() const {
  std::vector<std::string> names;
  for (const auto& entry : std::filesystem::directory_iterator(path_)) {
    names.push_back(entry.path().filename());
  }
  std::sort(names.begin(), names.end());
  return names;
}

}  // namespace tolvane
