// SPDX-License-Identifier: MIT
#pragma once

#include <QString>
#include <string>
#include <string_view>

namespace tolvane {

// Between the core's UTF-8 texts and the toolkit's strings. Bytes that are not UTF-8 become
// replacement characters.
inline QString toQString(std::string_view text) {
  return QString::fromUtf8(text.data(), static_cast<qsizetype>(text.size()));
}

inline std::string toText(const QString& string) {
  const QByteArray bytes = string.toUtf8();
  return {bytes.constData(), static_cast<std::size_t>(bytes.size())};
}

}  // namespace tolvane
