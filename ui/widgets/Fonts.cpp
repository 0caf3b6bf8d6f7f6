// SPDX-License-Identifier: MIT
#include "ui/widgets/Fonts.h"

#include <QApplication>
#include <QFontInfo>
#include <algorithm>

namespace tolvane {

namespace {

constexpr int kSmallestPixelSize = 7;

}  // namespace

QFont systemFont(int size, bool bold) {
  QFont font = QApplication::font();
  font.setPixelSize(size);
  font.setBold(bold);
  return font;
}

void fitTitles(const std::vector<FixedTitle>& titles, QFont font) {
  const auto fits = [&font](const FixedTitle& title) {
    title.widget->setFont(font);
    return title.widget->sizeHint().width() <= title.width;
  };
  for (int size = QFontInfo(font).pixelSize(); size >= kSmallestPixelSize; --size) {
    font.setPixelSize(size);
    if (std::all_of(titles.begin(), titles.end(), fits)) break;
  }
  for (const FixedTitle& title : titles) title.widget->setFont(font);
}

}  // namespace tolvane
