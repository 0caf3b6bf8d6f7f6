// SPDX-License-Identifier: MIT
#include "base/URL.h"

#include <limits>
#include <uriparser/Uri.h>

#include "base/File.h"
#include "base/Text.h"

namespace tolvane {

namespace {

// The range of a component in the whole string.
struct Position {
  std::size_t begin;
  std::size_t end;
};

// The range of the path in a valid URI (RFC 3986, appendix B).
Position pathPosition(std::string_view text, std::size_t schemeLength) {
  std::size_t begin = schemeLength == 0 ? 0 : schemeLength + 1;
  if (text.substr(begin).starts_with("//")) {
    begin = std::min(text.find_first_of("/?#", begin + 2), text.size());
  }
  return {begin, std::min(text.find_first_of("?#", begin), text.size())};
}

// The range of the password, if there is one, in a string that begins with an authority. A password
// that contains "/", "?" or "#" is found too, although such a string is not a URL.
std::optional<Position> passwordPosition(std::string_view text) {
  std::string_view authority = text.substr(0, text.find_first_of("/?#"));
  const std::size_t colon = authority.find(':');
  if (colon == std::string_view::npos) return std::nullopt;
  const bool isPort = authority.find_first_not_of("0123456789", colon + 1) == authority.npos;
  if (authority.rfind('@') == authority.npos && !isPort && !authority.starts_with('[')) {
    authority = text;
  }
  const std::size_t at = authority.rfind('@');
  if (at == authority.npos || at < colon) return std::nullopt;
  return Position{colon + 1, at};
}

std::string lowerCaseASCII(std::string text) {
  for (char& c : text) {
    if (c >= 'A' && c <= 'Z') c = static_cast<char>(c - 'A' + 'a');
  }
  return text;
}

bool isPathCharacter(char c) {
  const bool isAlphanumeric =
      (c >= '0' && c <= '9') || (c >= 'A' && c <= 'Z') || (c >= 'a' && c <= 'z');
  return isAlphanumeric || std::string_view("-._~!$&'()*+,=:@/").find(c) != std::string_view::npos;
}

}  // namespace

std::optional<URL> URL::parse(std::string_view text) {
  if (text.size() > std::numeric_limits<std::uint32_t>::max()) return std::nullopt;
  URL url;
  url.text_ = text;
  const char* const begin = url.text_.data();
  UriUriA uri;
  const char* errorPosition = nullptr;
  if (uriParseSingleUriExA(&uri, begin, begin + url.text_.size(), &errorPosition) != URI_SUCCESS) {
    return std::nullopt;
  }
  const auto rangeOf = [begin](const UriTextRangeA& range) -> Range {
    if (range.first == nullptr || range.first == range.afterLast) return {};
    return {static_cast<std::uint32_t>(range.first - begin),
            static_cast<std::uint32_t>(range.afterLast - range.first)};
  };
  url.scheme_ = rangeOf(uri.scheme);
  url.host_ = rangeOf(uri.hostText);
  url.port_ = rangeOf(uri.portText);
  uriFreeUriMembersA(&uri);
  const Position path = pathPosition(url.text_, url.scheme_.length);
  url.path_ = {static_cast<std::uint32_t>(path.begin),
               static_cast<std::uint32_t>(path.end - path.begin)};
  return url;
}

bool URL::isHTTP() const {
  return equalsIgnoringASCIICase(scheme(), "http") || isTLS();
}

bool URL::isTLS() const {
  return equalsIgnoringASCIICase(scheme(), "https");
}

std::string URL::origin() const {
  std::string origin(scheme());
  origin.append("://").append(host()).append(":");
  origin.append(port().empty() ? (isTLS() ? "443" : "80") : port());
  return lowerCaseASCII(std::move(origin));
}

std::string URL::lastPathComponent() const {
  std::string component(tolvane::lastPathComponent(path()));
  const char* const end = uriUnescapeInPlaceExA(component.data(), URI_FALSE, URI_BR_DONT_TOUCH);
  component.resize(end - component.data());
  return component;
}

std::string absoluteText(const std::optional<URL>& url) {
  return url ? url->absoluteString() : std::string();
}

std::string displayText(const std::optional<URL>& url) {
  return url ? withoutPasswords(url->absoluteString()) : std::string();
}

std::string withoutPasswords(std::string_view text) {
  std::string shown;
  for (std::size_t slashes = text.find("//"); slashes != std::string_view::npos;
       slashes = text.find("//")) {
    const bool beginsAuthority = slashes == 0 ? shown.empty() : text[slashes - 1] == ':';
    shown.append(text.substr(0, slashes + 2));
    text.remove_prefix(slashes + 2);
    if (!beginsAuthority) continue;
    const std::optional<Position> password = passwordPosition(text);
    if (!password) continue;
    shown.append(text.substr(0, password->begin)).append("***");
    text.remove_prefix(password->end);
  }
  return shown.append(text);
}

std::string describe(const std::optional<URL>& url) {
  return url ? displayText(url) : "(null)";
}

std::string baseText(const std::optional<URL>& url) {
  std::string text = absoluteText(url);
  if (!text.ends_with('/')) text += '/';
  return text;
}

std::optional<URL> urlForCandidatePath(std::string_view path,
                                       const std::optional<URL>& repositoryURL) {
  while (path.starts_with("./")) path.remove_prefix(2);
  return URL::parse(baseText(repositoryURL) + percentEncodePath(path));
}

std::string percentEncodePath(std::string_view path) {
  constexpr std::string_view kDigits = "0123456789ABCDEF";
  std::string encoded;
  encoded.reserve(path.size());
  for (const char c : path) {
    if (isPathCharacter(c)) {
      encoded += c;
    } else {
      const auto byte = static_cast<unsigned char>(c);
      encoded += '%';
      encoded += kDigits[byte >> 4];
      encoded += kDigits[byte & 0xF];
    }
  }
  return encoded;
}

}  // namespace tolvane
