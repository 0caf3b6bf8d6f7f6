// SPDX-License-Identifier: MIT
#pragma once

#include <QFrame>
#include <QLabel>
#include <QLineEdit>
#include <QPushButton>

#include "ui/console/ConsoleTextView.h"
#include "ui/details/DetailTextView.h"
#include "ui/packages/PackageTableView.h"
#include "ui/widgets/CheckBox.h"
#include "ui/widgets/ElidedLabel.h"
#include "ui/widgets/InfoButton.h"
#include "ui/widgets/LineBox.h"
#include "ui/widgets/PopupButton.h"
#include "ui/widgets/ProgressIndicator.h"
#include "ui/widgets/SearchField.h"

namespace tolvane {

// Every control of the main window under its name, which is its object name too. The window owns
// them; they are made once and never replaced.
struct MainWindowControls {
  QLineEdit* repoURLField = nullptr;
  PopupButton* repositoryTypePopup = nullptr;
  QPushButton* fetchButton = nullptr;
  SearchField* searchField = nullptr;
  CheckBox* selectAllButton = nullptr;
  CheckBox* archiveMetadataButton = nullptr;
  InfoButton* archiveMetadataInfoButton = nullptr;
  QPushButton* downloadSelectedButton = nullptr;
  QPushButton* downloadMissingButton = nullptr;
  QPushButton* checkArchiveButton = nullptr;
  QPushButton* cancelDownloadsButton = nullptr;
  QLabel* downloadSelectedSubtitleLabel = nullptr;
  QLabel* downloadMissingSubtitleLabel = nullptr;
  QLabel* checkArchiveSubtitleLabel = nullptr;
  ElidedLabel* statusLabel = nullptr;
  ElidedLabel* statsLabel = nullptr;
  ProgressIndicator* progressIndicator = nullptr;
  // A scroll view is the frame around a view that scrolls itself.
  PackageTableView* tableView = nullptr;
  QFrame* scrollView = nullptr;
  LineBox* detailBox = nullptr;
  QLabel* detailTitleLabel = nullptr;
  DetailTextView* detailTextView = nullptr;
  QFrame* detailScrollView = nullptr;
  LineBox* consoleBox = nullptr;
  QLabel* consoleTitleLabel = nullptr;
  PopupButton* consoleFilterPopup = nullptr;
  ConsoleTextView* consoleTextView = nullptr;
  QFrame* consoleScrollView = nullptr;
};

// Makes them on the window's content, each with its title and in its first state.
MainWindowControls makeControls(QWidget* content);

// Shrinks the titles that the desktop's font makes too wide for their controls.
void fitTitles(const MainWindowControls& controls);

// What a screen reader calls them, and what it says of them, as tool tips do.
void setAccessibleNames(const MainWindowControls& controls);

// The order in which the tab key goes from one to the next.
void setKeyOrder(const MainWindowControls& controls);

}  // namespace tolvane
