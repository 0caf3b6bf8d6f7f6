// SPDX-License-Identifier: MIT
#pragma once

#include <QFont>
#include <QPainter>
#include <QRectF>
#include <string_view>

namespace tolvane {

// A package's description in a table cell: plain text, wrapped by words. Only what can be visible
// is laid out, so the cost does not grow with its length.
namespace DescriptionText {

// Height of the text within the width; may stop counting once it is above `limit`.
double height(std::string_view description, const QFont& font, double width, double limit);

// Draws the lines that fit into the rectangle, from its top.
void draw(QPainter& painter, const QRectF& rectangle, std::string_view description);

}  // namespace DescriptionText

inline constexpr int kBaseRowHeight = 28;
inline constexpr int kTallestRow = 86;
// Above and below a text that is taller than one line, together.
inline constexpr int kRowPadding = 10;
// Left and right of a cell's text, together.
inline constexpr int kCellPadding = 12;

// The height of a row whose description is in a column of the given width: enough for the text,
// between 28 and 86. QTableView::resizeRowsToContents() would lay out every row of a repository in
// full.
int rowHeightForDescription(std::string_view description, int columnWidth, const QFont& font);

}  // namespace tolvane
