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

// Whether the name is one component that can stand in a folder: not empty, ".", "..", and without
// "/" and NUL. Names that strangers choose are joined with a folder only after this.
bool isFileName(std::string_view name);

// Whether the name holds a control character, a line break among them, of ASCII or (in UTF-8) of
// ISO 8859-1.
bool hasControlCharacter(std::string_view name);

// The part after the last "/", trailing "/" ignored; "" for a path of nothing but "/". It is not
// percent-decoded, and a query stays part of it.
std::string_view lastPathComponent(std::string_view path);

// `folder` and `name` joined with exactly one "/" between them; `name` alone for an empty folder.
std::string joinPath(std::string_view folder, std::string_view name);

// Whether the file system takes no name as long as the path's last component, or no path as long as
// this one. Its folder need not exist.
bool isNameTooLong(const std::string& path);

// Whether a file or folder exists at the path. Links are followed.
bool fileExists(const std::string& path);

// Size in bytes of what stands at the path, links followed; no value when it cannot be read.
std::optional<std::uint64_t> fileSize(const std::string& path);

// The folder that the path stands in, "." for a bare name.
std::string folderOf(const std::string& path);

// Appends the bytes of the file at the path to `bytes`; nothing where it fails, as it does for
// everything but a regular file.
std::optional<Error> appendFile(const std::string& path, std::string& bytes);

// Creates the folder with all missing intermediate folders. Success when it is there already.
std::optional<Error> createFolder(const std::string& path);

// The folder itself where it exists, else its nearest existing ancestor ("." for a relative path
// of which nothing exists).
std::string nearestExistingFolder(const std::string& path);

}  // namespace tolvane
