// SPDX-License-Identifier: MIT
#include "ui/MainWindowControls.h"

#include <QAbstractButton>
#include <QApplication>
#include <QCoreApplication>
#include <QFontDatabase>
#include <initializer_list>
#include <iterator>

#include "ui/RepositoryTitles.h"
#include "ui/Strings.h"
#include "ui/widgets/TitleFont.h"

namespace tolvane {

namespace {

constexpr int kCaptionSize = 10;
constexpr int kTextSize = 12;
constexpr int kConsoleSize = 11;
constexpr QSize kTextInset(8, 6);

QFont systemFont(int size, bool bold = false) {
  QFont font = QApplication::font();
  font.setPixelSize(size);
  font.setBold(bold);
  return font;
}

QFont consoleFont() {
  QFont font = QFontDatabase::systemFont(QFontDatabase::FixedFont);
  font.setPixelSize(kConsoleSize);
  font.setWeight(QFont::Normal);
  return font;
}

template <typename Widget>
void make(Widget*& control, const char* name, QWidget* parent) {
  control = new Widget(parent);
  control->setObjectName(QLatin1String(name));
}

void makeButton(QPushButton*& button, const char* name, const char* title, bool enabled,
                QWidget* parent) {
  make(button, name, parent);
  button->setText(QLatin1String(title));
  button->setEnabled(enabled);
}

void makeCaption(QLabel*& label, const char* name, const char* text, QWidget* parent) {
  make(label, name, parent);
  label->setTextFormat(Qt::PlainText);
  label->setText(QLatin1String(text));
  label->setAlignment(Qt::AlignHCenter | Qt::AlignVCenter);
  label->setFont(systemFont(kCaptionSize));
}

void makeBoxTitle(QLabel*& label, const char* name, const char* text, QWidget* box) {
  make(label, name, box);
  label->setTextFormat(Qt::PlainText);
  label->setText(QLatin1String(text));
  label->setFont(systemFont(kTextSize, true));
}

void makeScrollView(QFrame*& frame, const char* name, QWidget* parent) {
  make(frame, name, parent);
  frame->setFrameStyle(QFrame::StyledPanel | QFrame::Sunken);
}

void makeToolbar(MainWindowControls& c, QWidget* content) {
  make(c.repoURLField, "repoURLField", content);
  c.repoURLField->setTextMargins(4, 0, 4, 0);
  c.repoURLField->setPlaceholderText(QStringLiteral("https://packages.example/repo/"));
  make(c.repositoryTypePopup, "repositoryTypePopup", content);
  for (const RepositoryTitle& item : kRepositoryTitles) {
    c.repositoryTypePopup->addItem(toQString(item.title));
  }
  makeButton(c.fetchButton, "fetchButton", "Fetch", true, content);

  make(c.selectAllButton, "selectAllButton", content);
  c.selectAllButton->setText(QStringLiteral("Select All"));
  c.selectAllButton->setEnabled(false);
  make(c.archiveMetadataButton, "archiveMetadataButton", content);
  c.archiveMetadataButton->setText(QStringLiteral("Archive repository metadata"));
  make(c.archiveMetadataInfoButton, "archiveMetadataInfoButton", content);

  make(c.statusLabel, "statusLabel", content);
  c.statusLabel->setText(QStringLiteral("Enter a repository URL."));
  make(c.statsLabel, "statsLabel", content);
  c.statsLabel->setText(QStringLiteral("No repository loaded."));
  c.statsLabel->setTextInteractionFlags(Qt::TextSelectableByMouse);

  make(c.searchField, "searchField", content);
  c.searchField->setPlaceholderText(QStringLiteral("Search packages"));
  c.searchField->setEnabled(false);
  make(c.progressIndicator, "progressIndicator", content);
}

void makeActionButtons(MainWindowControls& c, QWidget* content) {
  makeButton(c.downloadSelectedButton, "downloadSelectedButton", "Download", false, content);
  makeCaption(c.downloadSelectedSubtitleLabel, "downloadSelectedSubtitleLabel", "To Local Folder",
              content);
  makeButton(c.downloadMissingButton, "downloadMissingButton", "Missing", false, content);
  makeCaption(c.downloadMissingSubtitleLabel, "downloadMissingSubtitleLabel", "In Local Folder",
              content);
  makeButton(c.checkArchiveButton, "checkArchiveButton", "Archive", false, content);
  makeCaption(c.checkArchiveSubtitleLabel, "checkArchiveSubtitleLabel", "To Central Server",
              content);
  makeButton(c.cancelDownloadsButton, "cancelDownloadsButton", "Cancel", false, content);
}

void makeTable(MainWindowControls& c, QWidget* content) {
  makeScrollView(c.scrollView, "scrollView", content);
  make(c.tableView, "tableView", c.scrollView);
}

void makeDetails(MainWindowControls& c, QWidget* content) {
  make(c.detailBox, "detailBox", content);
  makeBoxTitle(c.detailTitleLabel, "detailTitleLabel", "Package Details", c.detailBox);
  makeScrollView(c.detailScrollView, "detailScrollView", c.detailBox);
  make(c.detailTextView, "detailTextView", c.detailScrollView);
  c.detailTextView->setFont(systemFont(kTextSize));
  c.detailTextView->setTextInset(kTextInset);
}

void makeConsole(MainWindowControls& c, QWidget* content) {
  make(c.consoleBox, "consoleBox", content);
  makeBoxTitle(c.consoleTitleLabel, "consoleTitleLabel", "Console", c.consoleBox);
  make(c.consoleFilterPopup, "consoleFilterPopup", c.consoleBox);
  c.consoleFilterPopup->addItems({QStringLiteral("All Messages"), QStringLiteral("Errors Only")});
  makeScrollView(c.consoleScrollView, "consoleScrollView", c.consoleBox);
  make(c.consoleTextView, "consoleTextView", c.consoleScrollView);
  c.consoleTextView->setFont(consoleFont());
  c.consoleTextView->setTextInset(kTextInset);
}

QString tr(const char* text) {
  return QCoreApplication::translate("MainWindowControls", text);
}

}  // namespace

MainWindowControls makeControls(QWidget* content) {
  MainWindowControls controls;
  makeToolbar(controls, content);
  makeActionButtons(controls, content);
  makeTable(controls, content);
  makeDetails(controls, content);
  makeConsole(controls, content);
  return controls;
}

void fitTitles(const MainWindowControls& c) {
  const QFont system = QApplication::font();
  fitTitles({{c.fetchButton, 100},
             {c.downloadSelectedButton, 100},
             {c.downloadMissingButton, 100},
             {c.checkArchiveButton, 100},
             {c.cancelDownloadsButton, 100}},
            system);
  fitTitles({{c.selectAllButton, 100}, {c.archiveMetadataButton, 205}}, system);
  fitTitles({{c.repositoryTypePopup, 170}}, system);
  fitTitles({{c.consoleFilterPopup, 120}}, systemFont(kTextSize));
  fitTitles({{c.downloadSelectedSubtitleLabel, 100},
             {c.downloadMissingSubtitleLabel, 100},
             {c.checkArchiveSubtitleLabel, 100}},
            systemFont(kCaptionSize));
}

void setAccessibleNames(const MainWindowControls& c) {
  c.repoURLField->setAccessibleName(tr("Repository URL"));
  c.repositoryTypePopup->setAccessibleName(tr("Repository type"));
  c.searchField->setAccessibleName(tr("Search packages"));
  c.statusLabel->setAccessibleName(tr("Status"));
  c.statsLabel->setAccessibleName(tr("Statistics"));
  c.progressIndicator->setAccessibleName(tr("Progress"));
  c.tableView->setAccessibleName(tr("Packages"));
  c.detailTextView->setAccessibleName(tr("Package Details"));
  c.consoleTextView->setAccessibleName(tr("Console"));
  c.consoleFilterPopup->setAccessibleName(tr("Console filter"));
  for (QAbstractButton* const button : std::initializer_list<QAbstractButton*>{
           c.fetchButton, c.downloadSelectedButton, c.downloadMissingButton, c.checkArchiveButton,
           c.cancelDownloadsButton, c.selectAllButton, c.archiveMetadataButton}) {
    button->setAccessibleName(button->text());
  }
  const auto explain = [](QWidget* control, const QString& text) {
    control->setToolTip(text);
    control->setAccessibleDescription(text);
  };
  explain(c.downloadSelectedButton, tr("Download the ticked packages into a folder"));
  explain(c.downloadMissingButton, tr("Download every package that a folder does not hold yet"));
  explain(c.checkArchiveButton, tr("Upload the packages that the central archive lacks"));
  explain(c.cancelDownloadsButton, tr("Cancel the downloads that wait"));
  explain(c.archiveMetadataButton, tr("Also save the repository's index, release and icon files"));
  explain(c.archiveMetadataInfoButton, tr("What this option does"));
}

void setKeyOrder(const MainWindowControls& c) {
  QWidget* const order[] = {c.repoURLField,          c.repositoryTypePopup,
                            c.cancelDownloadsButton, c.checkArchiveButton,
                            c.downloadMissingButton, c.downloadSelectedButton,
                            c.fetchButton,           c.selectAllButton,
                            c.archiveMetadataButton, c.archiveMetadataInfoButton,
                            c.searchField,           c.tableView,
                            c.detailTextView,        c.consoleFilterPopup,
                            c.consoleTextView};
  for (std::size_t i = 1; i < std::size(order); ++i) QWidget::setTabOrder(order[i - 1], order[i]);
}

}  // namespace tolvane
