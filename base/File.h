// SPDX-License-Identifier: MIT
#pragma once

#include <cstdint>
#include <optional>
#include <string>
#include <string_view>

#include "base/Error.h"

namespace tolvane {

// Paths are the file system's own bytes. An empty path, or one that holds NUL, names nothing: it
// does not exist and every operation on it fails with EINVAL.

// Whether the name is one path component: not empty, ".", "..", and without "/" and NUL. Names from
// untrusted input are checked with this before they are joined with a folder.
bool isFileName(std::string_view name);

// Whether the name holds a control character, a line break among them, of ASCII or (in UTF-8) of
// ISO 8859-1.
bool hasControlCharacter(std::string_view name);

// The part after the last "/", trailing "/" ignored; "" for a path of nothing but "/". It is not
// percent-decoded, and a query stays part of it.
std::string_view lastPathComponent(std::string_view path);

// `folder` and `name` joined with exactly one "/" between them; `name` alone for an empty folder.
std::string joinPath(std::string_view folder, std::string_view name);

// Whether the path or its last component is longer than its file system permits (ENAMETOOLONG). The
// folder need not exist.
bool isNameTooLong(const std::string& path);

// Whether a file or folder exists at the path. Links are followed.
bool fileExists(const std::string& path);

// Size in bytes of the file at the path, links followed; no value if stat(2) fails.
std::optional<std::uint64_t> fileSize(const std::string& path);

// The path without its last component, "." for a path of one component.
std::string folderOf(const std::string& path);

// Appends the contents of the regular file at the path to `bytes`, which an error leaves as it was.
// Anything but a regular file is an error.
std::optional<Error> appendFile(const std::string& path, std::string& bytes);

// Creates the folder with all missing intermediate folders. An existing folder is a success.
std::optional<Error> createFolder(const std::string& path);

// The folder itself where it exists, else its nearest existing ancestor ("." for a relative path
// of which nothing exists).
std::string nearestExistingFolder(const std::string& path);

}  // namespace tolvane
