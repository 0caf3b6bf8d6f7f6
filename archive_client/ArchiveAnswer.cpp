// SPDX-License-Identifier: MIT
#include "archive_client/ArchiveAnswer.h"

#include <fmt/format.h>
#include <new>
#include <utility>
#include <vector>

#include "archive_client/AnswerEncoding.h"
#include "base/Text.h"
#include "base/UTF8.h"
#include "plist/PropertyList.h"

namespace tolvane {

namespace {

using nlohmann::json;

constexpr std::size_t kMaximumDepth = 256;
// A list of the shortest missing packages has fewer in 100 MB. They take 0.4 to 1.6 GB of memory.
constexpr std::size_t kMaximumValues = 10'000'000;

Error readError(std::string_view what) {
  return {std::string(kJSONErrorDomain), kJSONReadError,
          fmt::format("The answer is not JSON that can be read: {}.", what)};
}

// Builds the value of a JSON text and stops at what is wrong with it. The library's own builder has
// no limits, and the value of a short text may need more memory than there is.
class Builder final : public json::json_sax_t {
 public:
  json& value() { return root_; }
  const std::optional<Error>& fault() const { return fault_; }

  bool null() override { return scalar(nullptr); }
  bool boolean(bool value) override { return scalar(value); }
  bool number_integer(json::number_integer_t value) override { return scalar(value); }
  bool number_unsigned(json::number_unsigned_t value) override { return scalar(value); }
  bool number_float(json::number_float_t value, const std::string&) override {
    return scalar(value);
  }
  bool string(std::string& value) override { return scalar(value); }
  bool binary(json::binary_t&) override { return refuse("it holds bytes"); }
  bool key(std::string& name) override {
    member_ = &open_.back()->get_ref<json::object_t&>()[name];
    return true;
  }
  bool start_object(std::size_t) override { return open(json::object()); }
  bool start_array(std::size_t) override { return open(json::array()); }
  bool end_object() override { return close(); }
  bool end_array() override { return close(); }

  bool parse_error(std::size_t position, const std::string&, const json::exception&) override {
    return refuse(fmt::format("it goes wrong at character {}", position));
  }

 private:
  bool open(json&& value) {
    if (open_.size() == kMaximumDepth) return refuse("it is nested deeper than 256 levels");
    if (++values_ > kMaximumValues) return refuse("it has more than 10,000,000 values");
    open_.push_back(insert(std::move(value)));
    return true;
  }

  bool close() {
    open_.pop_back();
    return true;
  }

  bool scalar(json&& value) {
    if (open_.empty()) return refuse("it is neither an object nor a list");
    if (++values_ > kMaximumValues) return refuse("it has more than 10,000,000 values");
    insert(std::move(value));
    return true;
  }

  // Adds the value to the list or object that is open; returns where it is now.
  json* insert(json&& value) {
    json* parent = open_.empty() ? nullptr : open_.back();
    if (parent && parent->is_array()) {
      auto& list = parent->get_ref<json::array_t&>();
      return &list.emplace_back(std::move(value));
    }
    json* target = parent ? member_ : &root_;
    *target = std::move(value);
    return target;
  }

  bool refuse(std::string_view what) {
    fault_ = readError(what);
    return false;
  }

  json root_;
  std::vector<json*> open_;  // the lists and objects that have not ended
  json* member_ = nullptr;   // the value of the last key, where the last of these is an object
  std::size_t values_ = 0;
  std::optional<Error> fault_;
};

struct Reading {
  json value;
  std::optional<Error> error;
};

Reading readUTF8(std::string_view text) {
  // The parser would take it for the end.
  if (text.find('\0') != std::string_view::npos) return {nullptr, readError("it holds a NUL")};
  Builder builder;
  if (!json::sax_parse(text, &builder)) return {nullptr, builder.fault()};
  return {std::move(builder.value()), std::nullopt};
}

Reading readInItsEncoding(std::string_view bytes) {
  if (!isWideJSON(bytes)) return readUTF8(bytes);
  const std::optional<std::string> text = transcodedJSON(bytes);
  return text ? readUTF8(*text) : Reading{nullptr, readError("it holds what is no character")};
}

// Strings, numbers and booleans have a text form, the same as in property lists.
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
