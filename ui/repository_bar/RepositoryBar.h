// SPDX-License-Identifier: MIT
#pragma once

#include <QLineEdit>
#include <QPushButton>
#include <optional>
#include <string>
#include <string_view>

#include "ui/widgets/CheckBox.h"
#include "ui/widgets/ElidedLabel.h"
#include "ui/widgets/InfoButton.h"
#include "ui/widgets/PopupButton.h"
#include "ui/widgets/ProgressIndicator.h"

namespace tolvane {

struct RepositoryBarControls {
  QLineEdit* repoURLField = nullptr;
  PopupButton* repositoryTypePopup = nullptr;
  QPushButton* fetchButton = nullptr;
  CheckBox* archiveMetadataButton = nullptr;
  InfoButton* archiveMetadataInfoButton = nullptr;
  ElidedLabel* statusLabel = nullptr;
  ProgressIndicator* progressIndicator = nullptr;
  QPushButton* downloadSelectedButton = nullptr;
  QPushButton* downloadMissingButton = nullptr;
  QPushButton* checkArchiveButton = nullptr;
  QPushButton* cancelDownloadsButton = nullptr;
  QLabel* downloadSelectedSubtitleLabel = nullptr;
  QLabel* downloadMissingSubtitleLabel = nullptr;
  QLabel* checkArchiveSubtitleLabel = nullptr;
};

// The top of the window: which repository, what to do with it, and how that is going.
class RepositoryBar {
 public:
  // Makes its controls on the window's content, which owns them.
  explicit RepositoryBar(QWidget* content);

  const RepositoryBarControls& controls() const { return controls_; }

  // The title of the chosen type; none where none is chosen.
  std::optional<std::string> selectedRepositoryType() const;
  bool archivesMetadata() const { return controls_.archiveMetadataButton->isChecked(); }

  void setStatus(std::string_view text);

 private:
  void makeRepositoryControls(QWidget* content);
  void makeActionButtons(QWidget* content);
  void setAccessibleNames();

  RepositoryBarControls controls_;
};

}  // namespace tolvane
