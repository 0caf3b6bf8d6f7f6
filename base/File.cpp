// SPDX-License-Identifier: MIT
#include "base/File.h"

#include <cerrno>
#include <climits>
#include <exception>
#include <filesystem>
#include <memory>
#include <sys/stat.h>
#include <unistd.h>

#include "base/FileDescriptor.h"
#include "base/FolderFlush.h"
#include "base/LargeString.h"

namespace tolvane {

namespace {

constexpr std::size_t kReadPart = std::size_t{256} << 10;
constexpr std::size_t kAlwaysShortEnough = 128;  // in bytes, for a name on every file system

bool isUsablePath(const std::string& path) {
  return !path.empty() && path.find('\0') == std::string::npos;
}

std::optional<struct stat> statusOf(const std::string& path) {
  struct stat status {};
  if (!isUsablePath(path) || ::stat(path.c_str(), &status) != 0) return std::nullopt;
  return status;
}

bool isFolder(const std::string& path) {
  const auto status = statusOf(path);
  return status && S_ISDIR(status->st_mode);
}

std::string_view withoutTrailingSlashes(std::string_view text) {
  while (text.ends_with('/')) text.remove_suffix(1);
  return text;
}

}  // namespace

bool isFileName(std::string_view name) {
  return !name.empty() && name != "." && name != ".." &&
         name.find_first_of(std::string_view("/\0", 2)) == std::string_view::npos;
}

bool hasControlCharacter(std::string_view name) {
  for (std::size_t i = 0; i < name.size(); ++i) {
    const auto byte = static_cast<unsigned char>(name[i]);
    if (byte < 0x20 || byte == 0x7F) return true;
    // U+0080 to U+009F in UTF-8.
    const bool leadsC1 = byte == 0xC2 && i + 1 < name.size();
    if (leadsC1 && static_cast<unsigned char>(name[i + 1]) <= 0x9F) return true;
  }
  return false;
}

std::string_view lastPathComponent(std::string_view path) {
  path = withoutTrailingSlashes(path);
  return path.substr(path.rfind('/') + 1);
}

std::string joinPath(std::string_view folder, std::string_view name) {
  if (folder.empty()) return std::string(name);
  folder = withoutTrailingSlashes(folder);
  while (name.starts_with('/')) name.remove_prefix(1);
  std::string path;
  path.reserve(folder.size() + 1 + name.size());
  return path.append(folder).append("/").append(name);
}

bool fileExists(const std::string& path) {
  return statusOf(path).has_value();
}

std::optional<std::uint64_t> fileSize(const std::string& path) {
  const auto status = statusOf(path);
  if (!status) return std::nullopt;
  return static_cast<std::uint64_t>(status->st_size);
}

std::string folderOf(const std::string& path) {
  const std::string folder = std::filesystem::path(path).parent_path().string();
  return folder.empty() ? "." : folder;
}

std::optional<Error> appendFile(const std::string& path, std::string& bytes) {
  if (!isUsablePath(path)) return posixError(EINVAL);
  const FileDescriptor file(path.c_str(),
                            O_RDONLY | O_NONBLOCK);  // else a pipe that has no writer blocks
  struct stat status {};
  if (!file.isOpen() || ::fstat(file.get(), &status) != 0) return posixError(errno);
  if (!S_ISREG(status.st_mode)) return posixError(S_ISDIR(status.st_mode) ? EISDIR : EINVAL);
  const std::size_t before = bytes.size();
  try {
    reserveLarge(bytes, before + static_cast<std::size_t>(status.st_size));
    // In parts: resize() would fill the memory with zeros before read(2) fills it.
    const auto part = std::make_unique_for_overwrite<char[]>(kReadPart);
    ssize_t count = 0;
    while ((count = ::read(file.get(), part.get(), kReadPart)) > 0) {
      bytes.append(part.get(), static_cast<std::size_t>(count));
    }
    if (count == 0) return std::nullopt;
  } catch (const std::exception&) {  // std::bad_alloc or std::length_error
    errno = ENOMEM;
  }
  const Error error = posixError(errno);
  bytes.resize(before);
  return error;
}

std::optional<Error> createFolder(const std::string& path) {
  if (!isUsablePath(path)) return posixError(EINVAL);
  if (isFolder(path)) return std::nullopt;
  const std::string existing = nearestExistingFolder(path);
  std::error_code failure;
  std::filesystem::create_directories(path, failure);
  if (failure) return posixError(failure.value());
  for (std::string made = path; made != existing && made != "."; made = folderOf(made)) {
    flushFolderSoon(folderOf(made));
  }
  return std::nullopt;
}

bool isNameTooLong(const std::string& path) {
  const std::size_t length = std::filesystem::path(path).filename().native().size();
  if (length <= kAlwaysShortEnough && path.size() < PATH_MAX) return false;
  const std::string folder = nearestExistingFolder(folderOf(path));
  const long longest = ::pathconf(folder.c_str(), _PC_NAME_MAX);
  if (longest > 0 && length > static_cast<std::size_t>(longest)) return true;
  struct stat status {};
  return ::lstat(path.c_str(), &status) != 0 && errno == ENAMETOOLONG;
}

std::string nearestExistingFolder(const std::string& path) {
  std::filesystem::path folder = isUsablePath(path) ? path : ".";
  while (!isFolder(folder)) {
    const std::filesystem::path parent = folder.parent_path();
    if (parent.empty() || parent == folder) return ".";
    folder = parent;
  }
  return folder;
}

}  // namespace tolvane
