// SPDX-License-Identifier: MIT
#include "ui/SystemColors.h"

namespace tolvane {

namespace {

// Against white and near-black each of these has a contrast of at least 4.5 to 1.
constexpr QRgb kRed = 0xffc9190b;
constexpr QRgb kRedOnDark = 0xffff6961;
constexpr QRgb kGreen = 0xff1e7b34;
constexpr QRgb kGreenOnDark = 0xff4cd964;
constexpr QRgb kOrange = 0xffa65200;
constexpr QRgb kOrangeOnDark = 0xffffa33a;

constexpr double kSecondaryWeight = 0.65;

double mixed(double front, double back) {
  return front * kSecondaryWeight + back * (1 - kSecondaryWeight);
}

}  // namespace

bool isDark(const QPalette& palette) {
  return palette.color(QPalette::Base).lightnessF() < 0.5;
}

QColor secondaryLabelColor(const QPalette& palette) {
  const QColor text = palette.color(QPalette::Text);
  const QColor base = palette.color(QPalette::Base);
  return QColor::fromRgbF(static_cast<float>(mixed(text.redF(), base.redF())),
                          static_cast<float>(mixed(text.greenF(), base.greenF())),
                          static_cast<float>(mixed(text.blueF(), base.blueF())));
}

QColor consoleColor(std::string_view type, const QPalette& palette) {
  const bool dark = isDark(palette);
  if (type == "error") return QColor::fromRgb(dark ? kRedOnDark : kRed);
  if (type == "success") return QColor::fromRgb(dark ? kGreenOnDark : kGreen);
  if (type == "warning") return QColor::fromRgb(dark ? kOrangeOnDark : kOrange);
  return secondaryLabelColor(palette);
}

}  // namespace tolvane
