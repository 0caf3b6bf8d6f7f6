// SPDX-License-Identifier: MIT
#include <cstddef>
#include <cstdint>

#include "tests/fuzz/PropertyListFuzzing.h"

// The second time through the entry, which takes marks and UTF-16 off before the reader sees them.
extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
  const std::string_view bytes(reinterpret_cast<const char*>(data), size);
  tolvane::checkResult(tolvane::readXMLPropertyList(bytes, false, 0));
  tolvane::checkResult(tolvane::readPropertyList(bytes));
  return 0;
}
