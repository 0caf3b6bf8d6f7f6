// SPDX-License-Identifier: MIT
#pragma once

#include <QString>
#include <string>
#include <string_view>

namespace tolvane {

// Between UTF-8 and Qt's strings. Bytes that are not UTF-8 become replacement characters.
inline QString toQString(std::string_view text) {
  return QString::fromUtf8(text.data(), static_cast<qsizetype>(text.size()));
}

inline std::string toText(const QString& string) {
  const QByteArray bytes = string.toUtf8();
  return {bytes.constData(), static_cast<std::size_t>(bytes.size())};
}

// The first bytes of a UTF-8 text, without a cut character at their end.
inline std::string_view prefixOf(std::string_view text, std::size_t length) {
  if (length >= text.size()) return text;
  while (length > 0 && (static_cast<unsigned char>(text[length]) & 0xC0) == 0x80) --length;
  return text.substr(0, length);
}

}  // namespace tolvane
