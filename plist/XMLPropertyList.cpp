// SPDX-License-Identifier: MIT
#include <algorithm>
#include <cstring>
#include <fmt/format.h>
#include <libxml/SAX2.h>
#include <libxml/parser.h>
#include <libxml/parserInternals.h>
#include <memory>
#include <new>
#include <utility>

#include "base/Text.h"
#include "base/UTF8.h"
#include "plist/PropertyListReaders.h"

namespace tolvane {

namespace {

// Attributes are ignored, but libxml2 before 2.12 compares each attribute of a tag with all before
// it, which takes hours for very many.
constexpr int kMaximumAttributeSlots = 8192;

constexpr std::size_t kLongestMessage = 200;

std::string_view view(const xmlChar* text) {
  return reinterpret_cast<const char*>(text);
}

class XMLReader {
 public:
  explicit XMLReader(std::string_view bytes) : rest_(bytes) {}

  PropertyListResult read(bool transcoded, std::size_t lines);

 private:
  enum class Element {
    None,
    Wrapper,
    Dictionary,
    Key,
    List,
    Text,
    Integer,
    Real,
    True,
    False,
    Date,
    Data
  };

  class ErrorRedirection;

  static Element elementOf(std::string_view name);
  static xmlSAXHandler handler();
  static int supply(void* self, char* buffer, int size);

  void start(std::string_view name);
  void startWrapper();
  void startContainer(Element element);
  void characters(std::string_view text);
  void end();
  void endScalar();
  void endContainer();
  PropertyList* addValue();
  void reportDamage(const xmlError& error);

  static bool lacksValue(const PropertyList::Dictionary& dictionary);
  void fail(std::string_view what);

  // Runs the handler of one event, and keeps its exceptions out of libxml2. Once the reader has
  // stopped, libxml2 gets no more bytes, and further events are dropped.
  template <typename Event>
  static void handle(void* self, Event event) noexcept {
    auto& reader = *static_cast<XMLReader*>(self);
    if (reader.isStopped_) return;
    try {
      event(reader);
    } catch (const std::bad_alloc&) {
      reader.isOutOfMemory_ = true;
      reader.isStopped_ = true;
    }
  }

  std::string_view rest_;  // not yet given to libxml2
  xmlParserCtxtPtr context_ = nullptr;

  PropertyList root_;
  bool hasRoot_ = false;
  bool isWrapped_ = false;
  std::vector<PropertyList*> open_;  // containers from the outside in, each in the one before it
  Element scalar_ = Element::None;   // the one that is open
  std::string text_;                 // its characters
  std::size_t values_ = 0;

  bool isStopped_ = false;
  bool isComplete_ = false;
  bool isOutOfMemory_ = false;
  std::optional<Error> error_;
};

// libxml2 passes errors of the parser and of its decoders to a handler of the thread; without one
// it prints them.
class XMLReader::ErrorRedirection {
 public:
  explicit ErrorRedirection(XMLReader* reader) {
    xmlInitParser();
    xmlSetStructuredErrorFunc(reader, [](void* self, auto* error) {
      if (error->level != XML_ERR_FATAL) return;
      handle(self, [error](XMLReader& each) { each.reportDamage(*error); });
    });
  }
  ~ErrorRedirection() { xmlSetStructuredErrorFunc(nullptr, nullptr); }
  ErrorRedirection(const ErrorRedirection&) = delete;
  ErrorRedirection& operator=(const ErrorRedirection&) = delete;
};

PropertyListResult XMLReader::read(bool transcoded, std::size_t lines) {
  const ErrorRedirection redirection(this);
  xmlSAXHandler events = handler();
  const std::unique_ptr<xmlParserCtxt, decltype(&xmlFreeParserCtxt)> context(
      xmlCreateIOParserCtxt(&events, this, supply, nullptr, this,
                            transcoded ? XML_CHAR_ENCODING_UTF8 : XML_CHAR_ENCODING_NONE),
      xmlFreeParserCtxt);
  if (!context) throw std::bad_alloc();
  context_ = context.get();
  const int options = XML_PARSE_NONET | XML_PARSE_HUGE | (transcoded ? XML_PARSE_IGNORE_ENC : 0);
  xmlCtxtUseOptions(context_, options);
  context_->input->line += static_cast<int>(lines);
  xmlParseDocument(context_);
  if (isOutOfMemory_) throw std::bad_alloc();
  if (!isComplete_ && !error_) fail("the list ends too early");
  if (error_) return {std::nullopt, error_};
  return {std::move(root_), std::nullopt};
}

// Without handlers for them, libxml2 stores no entity and loads no external subset. It would store
// declared attributes and add them to each element.
xmlSAXHandler XMLReader::handler() {
  xmlSAXHandler sax;
  std::memset(&sax, 0, sizeof sax);
  sax.initialized = XML_SAX2_MAGIC;
  sax.startElementNs = [](void* self, const xmlChar* name, auto...) {
    handle(self, [name](XMLReader& reader) { reader.start(view(name)); });
  };
  sax.endElementNs = [](void* self, auto...) {
    handle(self, [](XMLReader& reader) { reader.end(); });
  };
  sax.characters = [](void* self, const xmlChar* text, int size) {
    const std::string_view characters(reinterpret_cast<const char*>(text),
                                      static_cast<std::size_t>(size));
    handle(self, [characters](XMLReader& reader) { reader.characters(characters); });
  };
  sax.ignorableWhitespace = sax.characters;
  sax.cdataBlock = sax.characters;
  sax.reference = [](void* self, const xmlChar*) {
    handle(self, [](XMLReader& reader) { reader.fail("there is an entity"); });
  };
  sax.attributeDecl = [](void* self, const xmlChar*, const xmlChar*, int, int, const xmlChar*,
                         xmlEnumerationPtr tree) {
    xmlFreeEnumeration(tree);
    handle(self, [](XMLReader& reader) { reader.fail("attributes are declared"); });
  };
  return sax;
}

int XMLReader::supply(void* self, char* buffer, int size) {
  auto& reader = *static_cast<XMLReader*>(self);
  const xmlParserCtxtPtr context = reader.context_;
  if (context != nullptr && std::max(context->maxatts, context->nsNr) > kMaximumAttributeSlots) {
    handle(self, [](XMLReader& each) { each.fail("a tag has too many attributes"); });
  }
  if (reader.isStopped_) return 0;
  const std::size_t given = reader.rest_.copy(buffer, static_cast<std::size_t>(size));
  reader.rest_.remove_prefix(given);
  return static_cast<int>(given);
}

XMLReader::Element XMLReader::elementOf(std::string_view name) {
  static constexpr std::pair<std::string_view, Element> kElements[] = {
      {"string", Element::Text}, {"key", Element::Key},         {"dict", Element::Dictionary},
      {"array", Element::List},  {"integer", Element::Integer}, {"real", Element::Real},
      {"true", Element::True},   {"false", Element::False},     {"date", Element::Date},
      {"data", Element::Data},   {"plist", Element::Wrapper}};
  for (const auto& [known, element] : kElements) {
    if (known == name) return element;
  }
  return Element::None;
}

void XMLReader::start(std::string_view name) {
  if (scalar_ != Element::None) return fail("there is an element inside a text");
  if (++values_ > kMaximumPropertyListValues) return fail("there are too many values");
  const Element element = elementOf(name);
  switch (element) {
    case Element::None:
      return fail(fmt::format("<{}> is no element of a property list",
                              name.size() <= kLongestMessage ? name : "..."));
    case Element::Wrapper:
      return startWrapper();
    case Element::Dictionary:
    case Element::List:
      return startContainer(element);
    default:
      scalar_ = element;
      text_.clear();
  }
}

void XMLReader::startWrapper() {
  if (isWrapped_ || hasRoot_) return fail("there is a <plist> inside the list");
  isWrapped_ = true;
}

void XMLReader::startContainer(Element element) {
  if (open_.size() >= kMaximumPropertyListDepth) return fail("values are nested too deep");
  PropertyList* const container = addValue();
  if (container == nullptr) return;
  if (element == Element::List) {
    container->value.emplace<PropertyList::List>();
  } else {
    container->value.emplace<PropertyList::Dictionary>();
  }
  open_.push_back(container);
}

void XMLReader::characters(std::string_view text) {
  if (scalar_ != Element::None) {
    text_ += text;
  } else if (text.find_first_not_of(" \t\n\r") != std::string_view::npos) {
    fail("there is text between the values");
  }
}

void XMLReader::end() {
  if (scalar_ != Element::None) {
    endScalar();
    scalar_ = Element::None;
  } else if (!open_.empty()) {
    endContainer();
  } else if (!hasRoot_) {
    return fail("<plist> is empty");
  } else {
    isWrapped_ = false;
  }
  isComplete_ = hasRoot_ && open_.empty() && !isWrapped_;
  isStopped_ = isStopped_ || isComplete_;
}

void XMLReader::endScalar() {
  if (scalar_ == Element::Key) {
    auto* dictionary =
        open_.empty() ? nullptr : std::get_if<PropertyList::Dictionary>(&open_.back()->value);
    if (dictionary == nullptr) return fail("there is a <key> outside of a <dict>");
    if (lacksValue(*dictionary)) return fail("there is a <key> without a value");
    dictionary->entries.push_back({text_, {}});
    return;
  }
  PropertyList* const scalar = addValue();
  if (scalar == nullptr) return;
  switch (scalar_) {
    case Element::Text:
      scalar->value = text_;
      break;
    case Element::Integer:
      scalar->value = xmlInteger(text_);
      break;
    case Element::Real:
      scalar->value = xmlReal(text_);
      break;
    case Element::Date:
      scalar->value = xmlDate(text_);
      break;
    case Element::Data:
      scalar->value = xmlData(text_);
      break;
    default:
      if (trimWhitespaceAndNewlines(text_).empty()) scalar->value = scalar_ == Element::True;
  }
  if (std::holds_alternative<std::monostate>(scalar->value)) fail("there is a malformed value");
}

void XMLReader::endContainer() {
  const auto* dictionary = open_.back()->dictionary();
  if (dictionary != nullptr && lacksValue(*dictionary)) {
    return fail("there is a <key> without a value");
  }
  open_.pop_back();
}

// Adds a value to the open container; null, with an error, if no value is allowed here.
PropertyList* XMLReader::addValue() {
  if (open_.empty()) {
    if (hasRoot_) {
      fail("there is a second value in <plist>");
      return nullptr;
    }
    hasRoot_ = true;
    return &root_;
  }
  auto& container = open_.back()->value;
  if (auto* list = std::get_if<PropertyList::List>(&container)) return &list->emplace_back();
  auto& dictionary = std::get<PropertyList::Dictionary>(container);
  if (!lacksValue(dictionary)) {
    fail("there is a value without a <key>");
    return nullptr;
  }
  return &dictionary.entries.back().value;
}

// XML has no null object: a null is the value of a key that is still to be read.
bool XMLReader::lacksValue(const PropertyList::Dictionary& dictionary) {
  return !dictionary.entries.empty() &&
         std::holds_alternative<std::monostate>(dictionary.entries.back().value.value);
}

// The message is libxml2's, and can quote untrusted input.
void XMLReader::reportDamage(const xmlError& error) {
  std::string what(trimWhitespaceAndNewlines(error.message != nullptr ? error.message : ""));
  std::replace(what.begin(), what.end(), '\n', ' ');
  if (what.empty() || what.size() > kLongestMessage || !isValidUTF8(what)) what = "damaged XML";
  fail(what);
}

void XMLReader::fail(std::string_view what) {
  const int line = context_ != nullptr ? xmlSAX2GetLineNumber(context_) : 1;
  error_ = propertyListErrorAtLine(what, static_cast<std::size_t>(std::max(line, 1)));
  isStopped_ = true;
}

}  // namespace

PropertyListResult readXMLPropertyList(std::string_view bytes, bool transcoded, std::size_t lines) {
  return XMLReader(bytes).read(transcoded, lines);
}

}  // namespace tolvane
