// SPDX-License-Identifier: MIT
#include <QApplication>
#include <algorithm>

#include "ui/ViewController.h"
#include "ui/widgets/Fonts.h"
#include "ui/widgets/MakeControl.h"

// The frames of all controls, and the fonts that fit their titles into them.
namespace tolvane {

namespace {

constexpr int kMargin = 20;
constexpr int kButtonWidth = 100;
constexpr int kButtonHeight = 28;
constexpr int kBoxHeight = 170;
constexpr int kBoxGap = 12;

// Frames are given from the lower left corner of the parent, y growing upward.
void setFrame(QWidget* control, int x, int y, int width, int height) {
  control->setGeometry(x, control->parentWidget()->height() - y - height, width, height);
}

void layOutToolbar(const MainWindowControls& c, int right, int top) {
  const int buttons = top - 50;
  setFrame(c.fetchButton, right - 120, buttons, kButtonWidth, kButtonHeight);
  setFrame(c.downloadSelectedButton, right - 230, buttons, kButtonWidth, kButtonHeight);
  setFrame(c.downloadMissingButton, right - 340, buttons, kButtonWidth, kButtonHeight);
  setFrame(c.checkArchiveButton, right - 450, buttons, kButtonWidth, kButtonHeight);
  setFrame(c.cancelDownloadsButton, right - 560, buttons, kButtonWidth, kButtonHeight);
  setFrame(c.repositoryTypePopup, right - 740, buttons, 170, kButtonHeight);
  setFrame(c.repoURLField, kMargin, buttons, std::max(right - 770, 220), kButtonHeight);

  const int captions = top - 66;
  setFrame(c.checkArchiveSubtitleLabel, right - 450, captions, kButtonWidth, 14);
  setFrame(c.downloadMissingSubtitleLabel, right - 340, captions, kButtonWidth, 14);
  setFrame(c.downloadSelectedSubtitleLabel, right - 230, captions, kButtonWidth, 14);

  const int secondRow = top - 96;
  setFrame(c.selectAllButton, kMargin, secondRow, 100, 22);
  setFrame(c.archiveMetadataButton, 125, secondRow, 205, 22);
  setFrame(c.archiveMetadataInfoButton, 332, secondRow, 24, 22);
  setFrame(c.statusLabel, 362, secondRow, std::max(right - 382, 200), 20);

  setFrame(c.searchField, right - 250, top - 122, 230, 24);
  setFrame(c.statsLabel, kMargin, top - 119, std::max(right - 290, 200), 20);
  setFrame(c.progressIndicator, kMargin, top - 148, right - 2 * kMargin, 12);
}

void layOutBoxes(const MainWindowControls& c, int width) {
  const int half = std::max((width - 2 * kMargin - kBoxGap) / 2, 0);
  setFrame(c.detailBox, kMargin, kMargin, half, kBoxHeight);
  setFrame(c.consoleBox, half + kMargin + kBoxGap, kMargin, half, kBoxHeight);

  setFrame(c.detailTitleLabel, 12, 142, half - 24, 20);
  setFrame(c.detailScrollView, 12, 12, half - 24, 124);
  c.detailTextView->setGeometry(c.detailScrollView->contentsRect());

  setFrame(c.consoleTitleLabel, 12, 142, 160, 20);
  setFrame(c.consoleFilterPopup, half - 132, 138, 120, 24);
  setFrame(c.consoleScrollView, 12, 12, half - 24, 124);
  c.consoleTextView->setGeometry(c.consoleScrollView->contentsRect());
}

}  // namespace

void ViewController::fitTitles() {
  const MainWindowControls& c = controls_;
  const QFont system = QApplication::font();
  tolvane::fitTitles({{c.fetchButton, kButtonWidth},
                      {c.downloadSelectedButton, kButtonWidth},
                      {c.downloadMissingButton, kButtonWidth},
                      {c.checkArchiveButton, kButtonWidth},
                      {c.cancelDownloadsButton, kButtonWidth}},
                     system);
  tolvane::fitTitles({{c.selectAllButton, 100}, {c.archiveMetadataButton, 205}}, system);
  tolvane::fitTitles({{c.repositoryTypePopup, 170}}, system);
  tolvane::fitTitles({{c.consoleFilterPopup, 120}}, systemFont(kBoxFontSize));
  tolvane::fitTitles({{c.downloadSelectedSubtitleLabel, kButtonWidth},
                      {c.downloadMissingSubtitleLabel, kButtonWidth},
                      {c.checkArchiveSubtitleLabel, kButtonWidth}},
                     systemFont(kCaptionFontSize));
}

void ViewController::layoutCrawlerViews() {
  if (controls_.repoURLField == nullptr || controls_.scrollView == nullptr ||
      controls_.detailBox == nullptr) {
    return;
  }
  layOutToolbar(controls_, width(), height());
  const int belowTable = kMargin + kBoxHeight + kBoxGap;
  const int tableHeight = std::max(height() - 374, 100);
  setFrame(controls_.scrollView, kMargin, belowTable, width() - 2 * kMargin, tableHeight);
  controls_.tableView->setGeometry(controls_.scrollView->contentsRect());
  layOutBoxes(controls_, width());
}

void ViewController::updateMinimumWindowSize() {
  if (window() == this) return;  // not in a window yet
  // Grows a window that is too small from its top-left corner, at once, and leaves others alone.
  window()->setMinimumSize(minimumWindowSizeForCurrentLayout());
}

}  // namespace tolvane
