// SPDX-License-Identifier: MIT
#include "archive_client/ArchiveAnswer.h"

#include <fmt/format.h>
#include <new>

#include "platform/PropertyList.h"
#include "platform/Text.h"

namespace tolvane {

namespace {

using nlohmann::json;
using namespace std::string_view_literals;

constexpr int kMaximumDepth = 256;
constexpr std::size_t kMaximumValues = 1'000'000;

Error readError(std::string_view what) {
  return {std::string(kJSONErrorDomain), kJSONReadError,
          fmt::format("The answer is not JSON that can be read: {}.", what)};
}

// Goes over a text without keeping anything, and finds what is wrong with it: the parser proper
// would take all memory for what a short text can hold, and all stack when that goes.
class Survey : public json::json_sax_t {
 public:
  const std::optional<Error>& fault() const { return fault_; }

  bool null() override { return scalar(); }
  bool boolean(bool) override { return scalar(); }
  bool number_integer(json::number_integer_t) override { return scalar(); }
  bool number_unsigned(json::number_unsigned_t) override { return scalar(); }
  bool number_float(json::number_float_t, const std::string&) override { return scalar(); }
  bool string(std::string&) override { return scalar(); }
  bool binary(json::binary_t&) override { return refuse("it holds bytes"); }
  bool key(std::string&) override { return true; }
  bool start_object(std::size_t) override { return open(); }
  bool start_array(std::size_t) override { return open(); }
  bool end_object() override { return close(); }
  bool end_array() override { return close(); }

  bool parse_error(std::size_t position, const std::string&, const json::exception&) override {
    return refuse(fmt::format("it goes wrong at character {}", position));
  }

 private:
  bool open() {
    if (++depth_ > kMaximumDepth) return refuse("it is nested deeper than 256 levels");
    return countValue();
  }

  bool close() {
    --depth_;
    return true;
  }

  bool scalar() { return depth_ > 0 ? countValue() : refuse("it is neither an object nor a list"); }

  bool countValue() {
    return ++values_ <= kMaximumValues || refuse("it has more than 1,000,000 values");
  }

  bool refuse(std::string_view what) {
    fault_ = readError(what);
    return false;
  }

  int depth_ = 0;
  std::size_t values_ = 0;
  std::optional<Error> fault_;
};

template <typename Unit>
std::basic_string<Unit> unitsOf(std::string_view bytes, bool bigEndian) {
  constexpr std::size_t kSize = sizeof(Unit);
  std::basic_string<Unit> units;
  units.reserve(bytes.size() / kSize + 1);
  for (; bytes.size() >= kSize; bytes.remove_prefix(kSize)) {
    Unit unit = 0;
    for (std::size_t i = 0; i < kSize; ++i) {
      const auto byte = static_cast<unsigned char>(bytes[bigEndian ? i : kSize - 1 - i]);
      unit = static_cast<Unit>(unit << 8 | byte);
    }
    units += unit;
  }
  if (!bytes.empty()) units += static_cast<Unit>(0xFFFD);  // half a character
  return units;
}

struct Reading {
  json value;
  std::optional<Error> error;
};

template <typename Text>
Reading read(const Text& text) {
  // The parser would take it for the end.
  if (text.find(typename Text::value_type{0}) != Text::npos) {
    return {nullptr, readError("it holds a NUL")};
  }
  Survey survey;
  if (!json::sax_parse(text, &survey)) return {nullptr, survey.fault()};
  return {json::parse(text), std::nullopt};
}

// The first character of JSON is ASCII, so zeros beside it tell the encoding where no mark does.
Reading readInItsEncoding(std::string_view bytes) {
  const auto zeros = [&bytes](std::string_view pattern) {
    if (bytes.size() < pattern.size()) return false;
    for (std::size_t i = 0; i < pattern.size(); ++i) {
      if ((bytes[i] == 0) != (pattern[i] == '0')) return false;
    }
    return true;
  };
  if (bytes.starts_with("\xFF\xFE\0\0"sv)) return read(unitsOf<char32_t>(bytes.substr(4), false));
  if (bytes.starts_with("\0\0\xFE\xFF"sv)) return read(unitsOf<char32_t>(bytes.substr(4), true));
  if (bytes.starts_with("\xFF\xFE")) return read(unitsOf<char16_t>(bytes.substr(2), false));
  if (bytes.starts_with("\xFE\xFF")) return read(unitsOf<char16_t>(bytes.substr(2), true));
  if (zeros("000x")) return read(unitsOf<char32_t>(bytes, true));
  if (zeros("x000")) return read(unitsOf<char32_t>(bytes, false));
  if (zeros("0x")) return read(unitsOf<char16_t>(bytes, true));
  if (zeros("x0")) return read(unitsOf<char16_t>(bytes, false));
  return read(bytes);
}

// Texts, numbers and booleans have a text form, the same as in property lists.
std::optional<std::string> textForm(const json& value) {
  if (value.is_string()) return value.get<std::string>();
  if (value.is_number_float()) {
    return PropertyList{PropertyList::Real{value.get<double>(), false}}.textForm();
  }
  if (value.is_boolean()) return value.get<bool>() ? "1" : "0";
  if (value.is_number()) return value.dump();
  return std::nullopt;
}

}  // namespace

ArchiveAnswer::ArchiveAnswer(std::string_view body) {
  try {
    Reading reading = readInItsEncoding(body);
    json_ = std::move(reading.value);
    parseError_ = std::move(reading.error);
  } catch (const std::bad_alloc&) {
    parseError_ = readError("there is no memory for it");
  }
}

json* ArchiveAnswer::find(std::string_view key) {
  const auto found = json_.find(key);
  return found == json_.end() ? nullptr : &*found;
}

bool ArchiveAnswer::isOK() {
  const json* value = find("ok");
  if (!value) return false;
  if (value->is_string()) return booleanValue(value->get_ref<const std::string&>());
  if (value->is_number()) return value->get<double>() != 0;
  return value->is_boolean() && value->get<bool>();
}

std::string ArchiveAnswer::errorText(std::string_view otherwise) {
  const json* value = find("error");
  return value ? textForm(*value).value_or(std::string(otherwise)) : std::string(otherwise);
}

std::string previewOf(std::string_view body, std::size_t longest) {
  if (!isValidUTF8(body)) return "<non-utf8 response>";
  const std::string_view beginning = utf16Prefix(body, longest);
  std::string preview(beginning);
  return beginning.size() == body.size() ? preview : preview + "...";
}

}  // namespace tolvane
