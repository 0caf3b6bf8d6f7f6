// SPDX-License-Identifier: MIT
#pragma once

#include <fcntl.h>
#include <unistd.h>

namespace tolvane {

// A file descriptor that its destructor closes. For the .cpp files of this folder only.
class FileDescriptor {
 public:
  FileDescriptor(const char* path, int flags) : value_(::open(path, flags | O_CLOEXEC)) {}
  ~FileDescriptor() {
    if (isOpen()) ::close(value_);
  }
  FileDescriptor(const FileDescriptor&) = delete;
  FileDescriptor& operator=(const FileDescriptor&) = delete;

  bool isOpen() const { return value_ >= 0; }
  int get() const { return value_; }

 private:
  int value_;
};

}  // namespace tolvane
