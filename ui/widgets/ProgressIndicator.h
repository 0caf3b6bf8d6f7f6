// SPDX-License-Identifier: MIT
#pragma once

#include <QProgressBar>
#include <cstdint>

namespace tolvane {

// A bar that shows the progress of a run, or only that one is on. Hidden when idle.
class ProgressIndicator : public QProgressBar {
  Q_OBJECT

 public:
  explicit ProgressIndicator(QWidget* parent);

  bool isIndeterminate() const { return indeterminate_; }
  double minValue() const { return 0; }
  double maxValue() const { return 100; }
  // May be above the maximum, which the bar shows as full.
  double doubleValue() const { return value_; }

  // Keeps the value.
  void showIndeterminate();
  void showValue(double value);
  // Leaves an empty determinate bar behind.
  void hideAndReset();

 protected:
  void initStyleOption(QStyleOptionProgressBar* option) const override;

 private:
  void setMode(bool indeterminate, double value);

  bool indeterminate_ = false;
  double value_ = 0;
};

}  // namespace tolvane
