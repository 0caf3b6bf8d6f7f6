// SPDX-License-Identifier: MIT
#include <cstddef>
#include <cstdint>

#include "tests/fuzz/PropertyListFuzzing.h"

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
  const std::string_view bytes(reinterpret_cast<const char*>(data), size);
  tolvane::checkResult(tolvane::readBinaryPropertyList(bytes));
  return 0;
}
