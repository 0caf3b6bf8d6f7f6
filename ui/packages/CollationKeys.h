// SPDX-License-Identifier: MIT
#pragma once

#include <array>
#include <compare>
#include <cstdint>
#include <memory>
#include <memory_resource>
#include <span>
#include <string>
#include <string_view>
#include <vector>

struct UCollator;

namespace tolvane {

// Where a text stands among others: bytes that compare so. The first of them are in the key itself,
// where most comparisons end.
struct CollationKey {
  std::array<std::uint64_t, 2> head;
  std::string_view rest;

  auto operator<=>(const CollationKey&) const =
      default;  // NOLINT(modernize-use-nullptr): a false alarm
};

// Makes such keys, which last as long as it does: by the rules of a language and whatever the case
// of the letters. Where no rules can be had, by the code points of the small letters.
class CollationKeys {
 public:
  // A name such as "de_AT". A language that nobody has rules for goes by those that most share; a
  // name that is none, or a library without its data, has no rules.
  explicit CollationKeys(const std::string& language);

  CollationKey keyOf(std::string_view text);

 private:
  CollationKey keyOfBytes(std::span<const std::uint8_t> bytes);
  std::size_t writeKey(std::u16string_view string);

  std::unique_ptr<UCollator, void (*)(UCollator*)> rules_;  // none where no rules can be had
  std::vector<std::uint8_t> bytes_ = std::vector<std::uint8_t>(256);
  std::pmr::monotonic_buffer_resource memory_;
};

}  // namespace tolvane
