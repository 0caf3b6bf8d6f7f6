// SPDX-License-Identifier: MIT
#pragma once

#include <cstdlib>

#include "base/UTF8.h"
#include "plist/PropertyListReaders.h"

namespace tolvane {

// Checks what the reader promises for each value. A failed check aborts the process.
inline void checkValue(const PropertyList& list, int depth) {
  if (depth > kMaximumPropertyListDepth) std::abort();
  const auto form = list.textForm();
  if (form && !isValidUTF8(*form)) std::abort();
  if (const auto* members = list.list()) {
    for (const PropertyList& member : *members) checkValue(member, depth + 1);
  }
  if (const auto* dictionary = list.dictionary()) {
    for (const auto& [key, value] : dictionary->entries) {
      if (!isValidUTF8(key)) std::abort();
      checkValue(value, depth + 1);
    }
  }
}

// The same for a whole result: a value or an error, and the error is a sentence.
inline void checkResult(const PropertyListResult& result) {
  if (result.value.has_value() == result.error.has_value()) std::abort();
  if (result.value) return checkValue(*result.value, 0);
  const std::string& sentence = result.error->description;
  if (!isValidUTF8(sentence) || !sentence.ends_with('.') || sentence.size() > 300) std::abort();
}

}  // namespace tolvane
