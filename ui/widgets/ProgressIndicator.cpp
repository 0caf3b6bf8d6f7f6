// SPDX-License-Identifier: MIT
#include "ui/widgets/ProgressIndicator.h"

#include <QStyleOptionProgressBar>
#include <algorithm>

namespace tolvane {

namespace {

// The bar is drawn in finer steps than the ones a screen reader counts in.
constexpr int kDrawnSteps = 100;

}  // namespace

ProgressIndicator::ProgressIndicator(QWidget* parent) : QProgressBar(parent) {
  setRange(static_cast<int>(minValue()), static_cast<int>(maxValue()));
  setTextVisible(false);
  hideAndReset();
}

void ProgressIndicator::showIndeterminate() {
  setMode(true, value_);
  show();
}

void ProgressIndicator::showValue(double value) {
  setMode(false, value);
  show();
}

void ProgressIndicator::hideAndReset() {
  setMode(false, 0);
  hide();
}

void ProgressIndicator::setMode(bool indeterminate, double value) {
  indeterminate_ = indeterminate;
  value_ = value;
  // QProgressBar repaints at once, and with it everything that has changed. Enabling updates again
  // schedules an ordinary repaint.
  setUpdatesEnabled(false);
  setValue(static_cast<int>(std::clamp(value, minValue(), maxValue())));
  setUpdatesEnabled(true);
}

void ProgressIndicator::initStyleOption(QStyleOptionProgressBar* option) const {
  QProgressBar::initStyleOption(option);
  option->minimum = 0;
  option->maximum = indeterminate_ ? 0 : static_cast<int>(maxValue()) * kDrawnSteps;
  option->progress = static_cast<int>(std::clamp(value_, minValue(), maxValue()) * kDrawnSteps);
}

}  // namespace tolvane
