// SPDX-License-Identifier: MIT
#include "tests/cli/Compression.h"

#include <bzlib.h>
#include <cstdint>
#include <gtest/gtest.h>
#include <lzma.h>

namespace tolvane {

std::string bzip2ed(const std::string& bytes) {
  std::string source = bytes;
  std::string packed(bytes.size() + bytes.size() / 100 + 600, '\0');
  auto size = static_cast<unsigned>(packed.size());
  EXPECT_EQ(BZ2_bzBuffToBuffCompress(packed.data(), &size, source.data(),
                                     static_cast<unsigned>(source.size()), 9, 0, 0),
            BZ_OK);
  packed.resize(size);
  return packed;
}

std::string xzed(const std::string& bytes) {
  std::string packed(lzma_stream_buffer_bound(bytes.size()), '\0');
  std::size_t size = 0;
  EXPECT_EQ(lzma_easy_buffer_encode(
                0, LZMA_CHECK_CRC64, nullptr, reinterpret_cast<const std::uint8_t*>(bytes.data()),
                bytes.size(), reinterpret_cast<std::uint8_t*>(packed.data()), &size, packed.size()),
            LZMA_OK);
  packed.resize(size);
  return packed;
}

}  // namespace tolvane
