// SPDX-License-Identifier: MIT
#pragma once

#include <QColor>
#include <QPalette>
#include <string_view>

namespace tolvane {

bool isDark(const QPalette& palette);

// For text that is less important than the rest.
QColor secondaryLabelColor(const QPalette& palette);

// For thin separating lines.
QColor separatorColor(const QPalette& palette);

// The colour of a console line: red for "error", green for "success", orange for "warning", the
// secondary label colour for any other type; each readable on the palette's base.
QColor consoleColor(std::string_view type, const QPalette& palette);

}  // namespace tolvane
