// SPDX-License-Identifier: MIT
#include "ui/details/DetailsPane.h"

#include "ui/packages/PackageTexts.h"
#include "ui/widgets/MakeControl.h"

namespace tolvane {

DetailsPane::DetailsPane(QWidget* content) {
  DetailsControls& c = controls_;
  c.detailBox = makeControl<LineBox>("detailBox", content);
  c.detailTitleLabel = makeBoxTitle("detailTitleLabel", "Package Details", c.detailBox);
  c.detailScrollView = makeScrollView("detailScrollView", c.detailBox);
  c.detailTextView = makeControl<LongTextView>("detailTextView", c.detailScrollView);
  c.detailTextView->setFont(systemFont(kBoxFontSize));
  c.detailTextView->setAccessibleName(LongTextView::tr("Package Details"));
  showNoPackage();
}

void DetailsPane::showPackage(const PackageEntry& package) {
  controls_.detailTextView->setPlainText(detailsText(package));
}

void DetailsPane::showNoPackage() {
  controls_.detailTextView->setPlainText("Select a package to view details.");
}

}  // namespace tolvane
