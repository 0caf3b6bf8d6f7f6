// SPDX-License-Identifier: MIT
#pragma once

#include <cstddef>
#include <fstream>
#include <sys/resource.h>
#include <unistd.h>

namespace tolvane {

// False where a sanitizer owns the address space and would end the process itself.
constexpr bool littleMemoryCanBeHad() {
#if defined(__SANITIZE_ADDRESS__) || defined(__SANITIZE_THREAD__)
  return false;
#else
  return true;
#endif
}

// From now on this process gets no more than some 16 MiB beyond what it has. For the child process
// of a death test.
inline void haveLittleMemory() {
  std::size_t pages = 0;
  std::ifstream("/proc/self/statm") >> pages;
  const rlim_t most = pages * static_cast<std::size_t>(sysconf(_SC_PAGESIZE)) + (16U << 20);
  const rlimit limit{most, most};
  setrlimit(RLIMIT_AS, &limit);
}

}  // namespace tolvane
