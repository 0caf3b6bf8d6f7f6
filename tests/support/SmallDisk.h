// SPDX-License-Identifier: MIT
#pragma once

#include <string>
#include <sys/mount.h>

#include "tests/support/TemporaryFolder.h"

namespace tolvane {

// A tmpfs of `size` bytes, if the tests are permitted to mount one.
class SmallDisk {
 public:
  explicit SmallDisk(std::size_t size) {
    const std::string options = "mode=0700,size=" + std::to_string(size);
    mounted_ = ::mount("tmpfs", folder_.path().c_str(), "tmpfs", 0, options.c_str()) == 0;
  }
  ~SmallDisk() {
    if (mounted_) ::umount2(folder_.path().c_str(), MNT_DETACH);
  }

  SmallDisk(const SmallDisk&) = delete;
  SmallDisk& operator=(const SmallDisk&) = delete;

  bool isMounted() const { return mounted_; }
  const TemporaryFolder& folder() const { return folder_; }

 private:
  TemporaryFolder folder_;
  bool mounted_ = false;
};

}  // namespace tolvane
