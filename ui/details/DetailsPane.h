// SPDX-License-Identifier: MIT
#pragma once

#include <QLabel>

#include "model/PackageEntry.h"
#include "ui/widgets/LineBox.h"
#include "ui/widgets/LongTextView.h"

namespace tolvane {

struct DetailsControls {
  LineBox* detailBox = nullptr;
  QLabel* detailTitleLabel = nullptr;
  LongTextView* detailTextView = nullptr;
  QFrame* detailScrollView = nullptr;
};

// The bottom left of the window: everything known about the highlighted package.
class DetailsPane {
 public:
  // Makes its controls on the window's content, which owns them.
  explicit DetailsPane(QWidget* content);

  const DetailsControls& controls() const { return controls_; }

  void showPackage(const PackageEntry& package);
  // The placeholder, for when no package is highlighted.
  void showNoPackage();

 private:
  DetailsControls controls_;
};

}  // namespace tolvane
