// SPDX-License-Identifier: MIT
#include <cstddef>
#include <cstdint>
#include <cstdlib>
#include <new>

#include "repository/PayloadDecoder.h"

// The libraries' own readers are fuzzed elsewhere; here it is the loop around them, which has to
// end whatever they answer, and within its limit.
extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
  constexpr std::size_t kMaximumSize = 300'000;
  const std::string_view bytes(reinterpret_cast<const char*>(data), size);
  for (const auto unpack : {tolvane::unpackGzip, tolvane::unpackBzip2, tolvane::unpackXZ}) {
    try {
      const auto text = unpack(bytes, kMaximumSize);
      if (text && text->size() > kMaximumSize) std::abort();
    } catch (const std::bad_alloc&) {  // for a dictionary of gigabytes
    }
  }
  return 0;
}
