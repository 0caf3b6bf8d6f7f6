// SPDX-License-Identifier: MIT
#include "ui/repository_bar/RepositoryBar.h"

#include <QCoreApplication>

#include "ui/RepositoryTitles.h"
#include "ui/Strings.h"
#include "ui/widgets/MakeControl.h"

namespace tolvane {

namespace {

QPushButton* makeButton(const char* name, const char* title, bool enabled, QWidget* parent) {
  auto* const button = makeControl<QPushButton>(name, parent);
  button->setText(QLatin1String(title));
  button->setEnabled(enabled);
  return button;
}

QLabel* makeCaption(const char* name, const char* text, QWidget* parent) {
  QLabel* const label = makeLabel(name, text, systemFont(kCaptionFontSize), parent);
  label->setAlignment(Qt::AlignHCenter | Qt::AlignVCenter);
  return label;
}

QString tr(const char* text) {
  return QCoreApplication::translate("RepositoryBar", text);
}

void explain(QWidget* control, const QString& text) {
  control->setToolTip(text);
  control->setAccessibleDescription(text);
}

}  // namespace

RepositoryBar::RepositoryBar(QWidget* content) {
  makeRepositoryControls(content);
  makeActionButtons(content);
  setAccessibleNames();
}

void RepositoryBar::makeRepositoryControls(QWidget* content) {
  RepositoryBarControls& c = controls_;
  c.repoURLField = makeControl<QLineEdit>("repoURLField", content);
  c.repoURLField->setTextMargins(4, 0, 4, 0);
  c.repoURLField->setPlaceholderText(QStringLiteral("https://packages.example/repo/"));
  c.repositoryTypePopup = makeControl<PopupButton>("repositoryTypePopup", content);
  for (const RepositoryTitle& item : kRepositoryTitles) {
    c.repositoryTypePopup->addItem(toQString(item.title));
  }
  c.fetchButton = makeButton("fetchButton", "Fetch", true, content);
  c.archiveMetadataButton = makeControl<CheckBox>("archiveMetadataButton", content);
  c.archiveMetadataButton->setText(QStringLiteral("Archive repository metadata"));
  c.archiveMetadataInfoButton = makeControl<InfoButton>("archiveMetadataInfoButton", content);
  c.statusLabel = makeControl<ElidedLabel>("statusLabel", content);
  c.statusLabel->setText(QStringLiteral("Enter a repository URL."));
  c.progressIndicator = makeControl<ProgressIndicator>("progressIndicator", content);
}

void RepositoryBar::makeActionButtons(QWidget* content) {
  RepositoryBarControls& c = controls_;
  c.downloadSelectedButton = makeButton("downloadSelectedButton", "Download", false, content);
  c.downloadSelectedSubtitleLabel =
      makeCaption("downloadSelectedSubtitleLabel", "To Local Folder", content);
  c.downloadMissingButton = makeButton("downloadMissingButton", "Missing", false, content);
  c.downloadMissingSubtitleLabel =
      makeCaption("downloadMissingSubtitleLabel", "In Local Folder", content);
  c.checkArchiveButton = makeButton("checkArchiveButton", "Archive", false, content);
  c.checkArchiveSubtitleLabel =
      makeCaption("checkArchiveSubtitleLabel", "To Central Server", content);
  c.cancelDownloadsButton = makeButton("cancelDownloadsButton", "Cancel", false, content);
}

void RepositoryBar::setAccessibleNames() {
  const RepositoryBarControls& c = controls_;
  c.repoURLField->setAccessibleName(tr("Repository URL"));
  c.repositoryTypePopup->setAccessibleName(tr("Repository type"));
  c.statusLabel->setAccessibleName(tr("Status"));
  c.progressIndicator->setAccessibleName(tr("Progress"));
  for (QAbstractButton* const button : std::initializer_list<QAbstractButton*>{
           c.fetchButton, c.downloadSelectedButton, c.downloadMissingButton, c.checkArchiveButton,
           c.cancelDownloadsButton, c.archiveMetadataButton}) {
    button->setAccessibleName(button->text());
  }
  explain(c.downloadSelectedButton, tr("Download the ticked packages into a folder"));
  explain(c.downloadMissingButton, tr("Download every package that a folder does not hold yet"));
  explain(c.checkArchiveButton, tr("Upload the packages that the central archive lacks"));
  explain(c.cancelDownloadsButton, tr("Cancel the downloads that wait"));
  explain(c.archiveMetadataButton, tr("Also save the repository's index, release and icon files"));
  explain(c.archiveMetadataInfoButton, tr("What this option does"));
}

std::optional<std::string> RepositoryBar::selectedRepositoryType() const {
  if (controls_.repositoryTypePopup->currentIndex() < 0) return std::nullopt;
  return toText(controls_.repositoryTypePopup->currentText());
}

void RepositoryBar::setStatus(std::string_view text) {
  controls_.statusLabel->setText(toQString(text));
}

}  // namespace tolvane
