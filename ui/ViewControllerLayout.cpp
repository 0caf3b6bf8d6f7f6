// SPDX-License-Identifier: MIT
#include <algorithm>

#include "ui/ViewController.h"

// Where the controls stand. Distances are from the content's bottom-left corner, y growing upward;
// place() turns them over.
namespace tolvane {

namespace {

constexpr int kMargin = 20;
constexpr int kButtonWidth = 100;
constexpr int kButtonHeight = 28;
constexpr int kBoxHeight = 170;
constexpr int kBoxGap = 12;

void place(QWidget* control, int x, int y, int width, int height) {
  control->setGeometry(x, control->parentWidget()->height() - y - height, width, height);
}

void placeToolbar(const MainWindowControls& c, int right, int top) {
  const int buttons = top - 50;
  place(c.fetchButton, right - 120, buttons, kButtonWidth, kButtonHeight);
  place(c.downloadSelectedButton, right - 230, buttons, kButtonWidth, kButtonHeight);
  place(c.downloadMissingButton, right - 340, buttons, kButtonWidth, kButtonHeight);
  place(c.checkArchiveButton, right - 450, buttons, kButtonWidth, kButtonHeight);
  place(c.cancelDownloadsButton, right - 560, buttons, kButtonWidth, kButtonHeight);
  place(c.repositoryTypePopup, right - 740, buttons, 170, kButtonHeight);
  place(c.repoURLField, kMargin, buttons, std::max(right - 770, 220), kButtonHeight);

  const int captions = top - 66;
  place(c.checkArchiveSubtitleLabel, right - 450, captions, kButtonWidth, 14);
  place(c.downloadMissingSubtitleLabel, right - 340, captions, kButtonWidth, 14);
  place(c.downloadSelectedSubtitleLabel, right - 230, captions, kButtonWidth, 14);

  const int secondRow = top - 96;
  place(c.selectAllButton, kMargin, secondRow, 100, 22);
  place(c.archiveMetadataButton, 125, secondRow, 205, 22);
  place(c.archiveMetadataInfoButton, 332, secondRow, 24, 22);
  place(c.statusLabel, 362, secondRow, std::max(right - 382, 200), 20);

  place(c.searchField, right - 250, top - 122, 230, 24);
  place(c.statsLabel, kMargin, top - 119, std::max(right - 290, 200), 20);
  place(c.progressIndicator, kMargin, top - 148, right - 2 * kMargin, 12);
}

void placeBoxes(const MainWindowControls& c, int width) {
  const int half = std::max((width - 2 * kMargin - kBoxGap) / 2, 0);
  place(c.detailBox, kMargin, kMargin, half, kBoxHeight);
  place(c.consoleBox, half + kMargin + kBoxGap, kMargin, half, kBoxHeight);

  place(c.detailTitleLabel, 12, 142, half - 24, 20);
  place(c.detailScrollView, 12, 12, half - 24, 124);
  c.detailTextView->setGeometry(c.detailScrollView->contentsRect());

  place(c.consoleTitleLabel, 12, 142, 160, 20);
  place(c.consoleFilterPopup, half - 132, 138, 120, 24);
  place(c.consoleScrollView, 12, 12, half - 24, 124);
  c.consoleTextView->setGeometry(c.consoleScrollView->contentsRect());
}

}  // namespace

void ViewController::layoutCrawlerViews() {
  if (controls_.repoURLField == nullptr || controls_.scrollView == nullptr ||
      controls_.detailBox == nullptr) {
    return;
  }
  placeToolbar(controls_, width(), height());
  const int belowTable = kMargin + kBoxHeight + kBoxGap;
  const int tableHeight = std::max(height() - 374, 100);
  place(controls_.scrollView, kMargin, belowTable, width() - 2 * kMargin, tableHeight);
  controls_.tableView->setGeometry(controls_.scrollView->contentsRect());
  placeBoxes(controls_, width());
}

void ViewController::updateMinimumWindowSize() {
  if (window() == this) return;  // not in a window yet
  // Grows a window that is too small from its top-left corner, at once, and leaves others alone.
  window()->setMinimumSize(minimumWindowSizeForCurrentLayout());
}

}  // namespace tolvane
