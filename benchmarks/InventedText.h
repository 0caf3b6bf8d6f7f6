// SPDX-License-Identifier: MIT
#pragma once

#include <cstddef>
#include <fmt/format.h>
#include <random>
#include <span>
#include <string>
#include <string_view>
#include <utility>

namespace tolvane {

// Writes invented indexes from a list of words, the same in every run.
class InventedText {
 public:
  // The words have to live as long as the object.
  explicit InventedText(std::span<const std::string_view> words) : words_(words) {}

  std::size_t pick(std::size_t count) { return random_() % count; }

  std::string words(std::size_t count, std::string_view separator) {
    std::string text;
    for (; count > 0; --count) {
      text += words_[pick(words_.size())];
      if (count > 1) text += separator;
    }
    return text;
  }

  std::string version() { return fmt::format("{}.{}.{}-{}", pick(9), pick(30), pick(9), pick(5)); }

  void add(std::string_view name, std::string_view value) {
    text_.append(name).append(": ").append(value).append("\n");
  }
  // A continuation line of the last field.
  void addContinuation(std::string_view value) { text_.append(" ").append(value).append("\n"); }
  void endStanza() { text_ += "\n"; }

  std::string take() { return std::move(text_); }

 private:
  std::span<const std::string_view> words_;
  std::mt19937 random_{1};
  std::string text_;
};

}  // namespace tolvane
