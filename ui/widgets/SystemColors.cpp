// SPDX-License-Identifier: MIT
#include "ui/widgets/SystemColors.h"

namespace tolvane {

namespace {

// Against white and near-black each of these has a contrast of at least 4.5 to 1.
constexpr QRgb kRed = 0xffc9190b;
constexpr QRgb kRedOnDark = 0xffff6961;
constexpr QRgb kGreen = 0xff1e7b34;
constexpr QRgb kGreenOnDark = 0xff4cd964;
constexpr QRgb kOrange = 0xffa65200;
constexpr QRgb kOrangeOnDark = 0xffffa33a;

// The share of the text's colour in a mixture with its background.
constexpr double kSecondaryWeight = 0.65;
constexpr double kSeparatorWeight = 0.25;

QColor mixed(const QColor& front, const QColor& back, double weight) {
  const auto part = [weight](double first, double second) {
    return static_cast<float>(first * weight + second * (1 - weight));
  };
  return QColor::fromRgbF(part(front.redF(), back.redF()), part(front.greenF(), back.greenF()),
                          part(front.blueF(), back.blueF()));
}

}  // namespace

bool isDark(const QPalette& palette) {
  return palette.color(QPalette::Base).lightnessF() < 0.5;
}

QColor secondaryLabelColor(const QPalette& palette) {
  return mixed(palette.color(QPalette::Text), palette.color(QPalette::Base), kSecondaryWeight);
}

QColor separatorColor(const QPalette& palette) {
  return mixed(palette.color(QPalette::WindowText), palette.color(QPalette::Window),
               kSeparatorWeight);
}

QColor consoleColor(std::string_view type, const QPalette& palette) {
  const bool dark = isDark(palette);
  if (type == "error") return QColor::fromRgb(dark ? kRedOnDark : kRed);
  if (type == "success") return QColor::fromRgb(dark ? kGreenOnDark : kGreen);
  if (type == "warning") return QColor::fromRgb(dark ? kOrangeOnDark : kOrange);
  return secondaryLabelColor(palette);
}

}  // namespace tolvane
