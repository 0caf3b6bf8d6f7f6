// SPDX-License-Identifier: MIT
#include <QFontInfo>
#include <QHeaderView>
#include <QHelpEvent>
#include <QScrollBar>
#include <QToolTip>

#include "tests/ui/support/Window.h"

namespace tolvane {
namespace {

using testing::ElementsAre;

std::vector<std::string> itemsOf(const QComboBox& popup) {
  std::vector<std::string> items;
  for (int i = 0; i < popup.count(); ++i) items.push_back(toText(popup.itemText(i)));
  return items;
}

// What is shown while the pointer rests on the widget; "" where nothing is.
QString toolTipOf(QWidget& widget) {
  QToolTip::hideText();
  const QPoint place = widget.rect().center();
  QHelpEvent rest(QEvent::ToolTip, place, widget.mapToGlobal(place));
  QApplication::sendEvent(&widget, &rest);
  return rest.isAccepted() ? QToolTip::text() : QString();
}

using Controls = Window;

TEST_F(Controls, LoadingTheViewWritesTwoLinesToTheSystemLogAndNothingToTheBus) {
  EXPECT_THAT(log.lines(), ElementsAre("[UI] viewDidLoad", "[UI] buildInterface"));
  EXPECT_TRUE(log.messages().empty());
  EXPECT_TRUE(controller.consoleMessages().empty());
}

TEST_F(Controls, AllListsStartEmptyAndNoRepositoryIsLoaded) {
  EXPECT_TRUE(controller.packages().empty());
  EXPECT_TRUE(controller.allPackages().empty());
  EXPECT_TRUE(controller.selectedPackageKeys().empty());
  EXPECT_FALSE(controller.currentRepositoryURL());
}

TEST_F(Controls, EachIsNamedAfterItsProperty) {
  const std::pair<const QWidget*, const char*> names[] = {
      {c.repoURLField, "repoURLField"},
      {c.repositoryTypePopup, "repositoryTypePopup"},
      {c.fetchButton, "fetchButton"},
      {c.searchField, "searchField"},
      {c.selectAllButton, "selectAllButton"},
      {c.archiveMetadataButton, "archiveMetadataButton"},
      {c.archiveMetadataInfoButton, "archiveMetadataInfoButton"},
      {c.downloadSelectedButton, "downloadSelectedButton"},
      {c.downloadMissingButton, "downloadMissingButton"},
      {c.checkArchiveButton, "checkArchiveButton"},
      {c.cancelDownloadsButton, "cancelDownloadsButton"},
      {c.downloadSelectedSubtitleLabel, "downloadSelectedSubtitleLabel"},
      {c.downloadMissingSubtitleLabel, "downloadMissingSubtitleLabel"},
      {c.checkArchiveSubtitleLabel, "checkArchiveSubtitleLabel"},
      {c.statusLabel, "statusLabel"},
      {c.statsLabel, "statsLabel"},
      {c.progressIndicator, "progressIndicator"},
      {c.tableView, "tableView"},
      {c.scrollView, "scrollView"},
      {c.detailBox, "detailBox"},
      {c.detailTitleLabel, "detailTitleLabel"},
      {c.detailTextView, "detailTextView"},
      {c.detailScrollView, "detailScrollView"},
      {c.consoleBox, "consoleBox"},
      {c.consoleTitleLabel, "consoleTitleLabel"},
      {c.consoleFilterPopup, "consoleFilterPopup"},
      {c.consoleTextView, "consoleTextView"},
      {c.consoleScrollView, "consoleScrollView"},
  };
  for (const auto& [control, name] : names) EXPECT_EQ(toText(control->objectName()), name);
}

// All controls with a title, a text or a hint, in the order in which a person reads them.
TEST_F(Controls, StartWithTheirTextsAndStates) {
  struct First {
    const QWidget* control;
    QString text;
    const char* expected;
    bool enabled;
  };
  const First firsts[] = {
      {c.repoURLField, c.repoURLField->text(), "", true},
      {c.repositoryTypePopup, c.repositoryTypePopup->currentText(), "Cydia / APT", true},
      {c.fetchButton, c.fetchButton->text(), "Fetch", true},
      {c.selectAllButton, c.selectAllButton->text(), "Select All", false},
      {c.archiveMetadataButton, c.archiveMetadataButton->text(), "Archive repository metadata",
       true},
      {c.archiveMetadataInfoButton, c.archiveMetadataInfoButton->text(), "\u24D8", true},
      {c.downloadSelectedButton, c.downloadSelectedButton->text(), "Download", false},
      {c.downloadSelectedSubtitleLabel, c.downloadSelectedSubtitleLabel->text(), "To Local Folder",
       true},
      {c.downloadMissingButton, c.downloadMissingButton->text(), "Missing", false},
      {c.downloadMissingSubtitleLabel, c.downloadMissingSubtitleLabel->text(), "In Local Folder",
       true},
      {c.checkArchiveButton, c.checkArchiveButton->text(), "Archive", false},
      {c.checkArchiveSubtitleLabel, c.checkArchiveSubtitleLabel->text(), "To Central Server", true},
      {c.cancelDownloadsButton, c.cancelDownloadsButton->text(), "Cancel", false},
      {c.statusLabel, c.statusLabel->text(), "Enter a repository URL.", true},
      {c.statsLabel, c.statsLabel->text(), "No repository loaded.", true},
      {c.searchField, c.searchField->placeholderText(), "Search packages", false},
      {c.progressIndicator, QString::number(c.progressIndicator->doubleValue()), "0", true},
      {c.detailTitleLabel, c.detailTitleLabel->text(), "Package Details", true},
      {c.detailTextView, c.detailTextView->toPlainText(), "Select a package to view details.",
       true},
      {c.consoleTitleLabel, c.consoleTitleLabel->text(), "Console", true},
      {c.consoleFilterPopup, c.consoleFilterPopup->currentText(), "All Messages", true},
      {c.consoleTextView, c.consoleTextView->toPlainText(), "Console messages will appear here.",
       true},
  };
  for (const auto& [control, text, expected, enabled] : firsts) {
    EXPECT_EQ(toText(text), expected) << toText(control->objectName());
    EXPECT_EQ(control->isEnabledTo(&controller), enabled) << toText(control->objectName());
  }
  EXPECT_EQ(c.searchField->text(), "");
  EXPECT_FALSE(c.selectAllButton->isChecked());
  EXPECT_FALSE(c.archiveMetadataButton->isChecked());
  EXPECT_TRUE(c.progressIndicator->isHidden());
  EXPECT_FALSE(c.progressIndicator->isIndeterminate());
}

TEST_F(Controls, OnlyTheTextsThatHelpCanBeSelected) {
  EXPECT_TRUE(c.statsLabel->textInteractionFlags() & Qt::TextSelectableByMouse);
  for (const QLabel* label : {static_cast<const QLabel*>(c.statusLabel),
                              static_cast<const QLabel*>(c.downloadSelectedSubtitleLabel),
                              static_cast<const QLabel*>(c.downloadMissingSubtitleLabel),
                              static_cast<const QLabel*>(c.checkArchiveSubtitleLabel)}) {
    EXPECT_FALSE(label->textInteractionFlags() & Qt::TextSelectableByMouse);
  }
}

TEST_F(Controls, TheURLFieldIsEmptyAndShowsAnExample) {
  EXPECT_EQ(c.repoURLField->text(), "");
  const auto example = URL::parse(toText(c.repoURLField->placeholderText()));
  ASSERT_TRUE(example);
  EXPECT_EQ(example->scheme(), "https");
  EXPECT_EQ(example->path(), "/repo/");
  EXPECT_TRUE(c.repoURLField->isEnabled());
}

TEST_F(Controls, TheTypePopupHoldsFourKindsAndStartsWithTheFirst) {
  EXPECT_THAT(itemsOf(*c.repositoryTypePopup),
              ElementsAre("Cydia / APT", "Auto-detect", "Installer 4", "Installer 3"));
  EXPECT_EQ(c.repositoryTypePopup->currentIndex(), 0);
  EXPECT_FALSE(c.repositoryTypePopup->isEditable());
  EXPECT_TRUE(c.repositoryTypePopup->isEnabled());
}

TEST_F(Controls, CaptionsAreSmallCentredAndNotSelectable) {
  EXPECT_EQ(c.downloadSelectedSubtitleLabel->text(), "To Local Folder");
  EXPECT_EQ(c.downloadMissingSubtitleLabel->text(), "In Local Folder");
  EXPECT_EQ(c.checkArchiveSubtitleLabel->text(), "To Central Server");
  for (const QLabel* caption : {c.downloadSelectedSubtitleLabel, c.downloadMissingSubtitleLabel,
                                c.checkArchiveSubtitleLabel}) {
    EXPECT_EQ(caption->alignment() & Qt::AlignHorizontal_Mask, Qt::AlignHCenter);
    EXPECT_EQ(QFontInfo(caption->font()).pixelSize(), 10);
    EXPECT_FALSE(caption->textInteractionFlags() & Qt::TextSelectableByMouse);
  }
}

TEST_F(Controls, TheProgressBarStartsHiddenEmptyAndDeterminate) {
  EXPECT_TRUE(c.progressIndicator->isHidden());
  EXPECT_FALSE(c.progressIndicator->isIndeterminate());
  EXPECT_EQ(c.progressIndicator->minValue(), 0);
  EXPECT_EQ(c.progressIndicator->maxValue(), 100);
  EXPECT_EQ(c.progressIndicator->doubleValue(), 0);
}

TEST_F(Controls, TheTableHasNineColumnsOfTheirWidths) {
  struct Column {
    const char* identifier;
    const char* title;
    int width;
  };
  constexpr Column kColumns[] = {{"selected", "\u2713", 40},
                                 {"displayName", "Name", 220},
                                 {"version", "Version", 120},
                                 {"packageDescription", "Description", 300},
                                 {"packageName", "Identifier", 220},
                                 {"section", "Section", 140},
                                 {"size", "Size", 100},
                                 {"filename", "Filename", 420},
                                 {"architecture", "Arch", 80}};
  const auto& model = *static_cast<const PackageTableModel*>(c.tableView->model());
  ASSERT_EQ(model.columnCount(), static_cast<int>(std::size(kColumns)));
  for (int i = 0; i < model.columnCount(); ++i) {
    EXPECT_EQ(model.identifierOfColumn(i), kColumns[i].identifier);
    EXPECT_EQ(toText(model.headerData(i, Qt::Horizontal, Qt::DisplayRole).toString()),
              kColumns[i].title);
    EXPECT_EQ(c.tableView->columnWidth(i), kColumns[i].width) << kColumns[i].identifier;
    EXPECT_EQ(model.isSortable(i), i != 0);
  }
}

TEST_F(Controls, TheTableHasStripesLinesAndOneHighlightedRowAtMost) {
  EXPECT_TRUE(c.tableView->alternatingRowColors());
  EXPECT_TRUE(c.tableView->showGrid());
  EXPECT_EQ(c.tableView->gridStyle(), Qt::SolidLine);
  EXPECT_EQ(c.tableView->selectionMode(), QAbstractItemView::SingleSelection);
  EXPECT_EQ(c.tableView->selectionBehavior(), QAbstractItemView::SelectRows);
  EXPECT_EQ(c.tableView->verticalHeader()->defaultSectionSize(), 28);
  EXPECT_EQ(c.tableView->horizontalScrollBarPolicy(), Qt::ScrollBarAlwaysOff);
  EXPECT_FALSE(c.tableView->sortDescriptor());
}

TEST_F(Controls, TheDetailsStartWithAHint) {
  EXPECT_EQ(c.detailTitleLabel->text(), "Package Details");
  EXPECT_TRUE(c.detailTitleLabel->font().bold());
  EXPECT_EQ(QFontInfo(c.detailTitleLabel->font()).pixelSize(), 12);
  EXPECT_EQ(QFontInfo(c.detailTextView->font()).pixelSize(), 12);
  EXPECT_EQ(details(), "Select a package to view details.");
  EXPECT_EQ(c.detailTextView->horizontalScrollBarPolicy(), Qt::ScrollBarAlwaysOff);
}

TEST_F(Controls, TextsAreInsetEightAndSix) {
  show();
  c.detailTextView->setPlainText("\u2588");
  for (const LongTextView* view : {static_cast<LongTextView*>(c.detailTextView),
                                   static_cast<LongTextView*>(c.consoleTextView)}) {
    EXPECT_EQ(view->textInset(), QSize(8, 6));
  }
  const QImage image = c.detailTextView->viewport()->grab().toImage();
  const QRgb ground = image.pixel(0, 0);
  QPoint first(image.width(), image.height());
  for (int y = 0; y < image.height(); ++y) {
    for (int x = 0; x < image.width(); ++x) {
      if (image.pixel(x, y) == ground) continue;
      first = {std::min(first.x(), x), std::min(first.y(), y)};
    }
  }
  EXPECT_NEAR(first.x(), 8, 1);
  EXPECT_NEAR(first.y(), 6, 2);
}

TEST_F(Controls, TheConsoleIsReadOnlyMonospacedText) {
  EXPECT_EQ(c.consoleTitleLabel->text(), "Console");
  EXPECT_TRUE(c.consoleTitleLabel->font().bold());
  EXPECT_EQ(QFontInfo(c.consoleTitleLabel->font()).pixelSize(), 12);
  EXPECT_TRUE(QFontInfo(c.consoleTextView->font()).fixedPitch());
  EXPECT_EQ(QFontInfo(c.consoleTextView->font()).pixelSize(), 11);
  EXPECT_EQ(c.consoleTextView->font().weight(), QFont::Normal);
  EXPECT_EQ(console(), "Console messages will appear here.");
  EXPECT_THAT(itemsOf(*c.consoleFilterPopup), ElementsAre("All Messages", "Errors Only"));
  EXPECT_EQ(c.consoleFilterPopup->currentIndex(), 0);
  EXPECT_TRUE(c.consoleFilterPopup->isEnabled());
}

TEST_F(Controls, BoxesHaveALineAroundThemAndScrollViewsABezel) {
  for (const QFrame* box : {c.detailBox, c.consoleBox}) EXPECT_GT(box->frameWidth(), 0);
  for (const QFrame* view : {c.detailScrollView, c.consoleScrollView}) {
    EXPECT_EQ(view->frameShadow(), QFrame::Sunken);
    EXPECT_GT(view->frameWidth(), 0);
  }
}

TEST_F(Controls, TheInfoButtonExplainsTheOptionInAnAlertOnTheWindow) {
  QTest::mouseClick(c.archiveMetadataInfoButton, Qt::LeftButton);
  ASSERT_EQ(dialogs.shown.size(), 1u);
  EXPECT_EQ(dialogs.shown[0].window, controller.window());
  const Alert& alert = dialogs.shown[0].alert;
  EXPECT_EQ(alert.messageText, "Archive repository metadata");
  EXPECT_EQ(alert.informativeText,
            "When enabled, the crawler also tries to save repository index files such as "
            "Packages, Packages.gz, Release, InRelease, Release.gpg, and CydiaIcon.png next to "
            "the downloaded .deb files.\n\nFor most normal package downloads this is not "
            "required. Enable it only if you want a more complete long-term archive or mirror "
            "of the repository.");
  EXPECT_THAT(alert.buttons, ElementsAre("OK"));
  dialogs.shown[0].answered(0);
  EXPECT_EQ(status(), "Enter a repository URL.");
  EXPECT_FALSE(c.archiveMetadataButton->isChecked());
}

TEST_F(Controls, AStatusOfSeveralLinesIsShownAsOneAndIsWholeInTheToolTip) {
  show();
  c.statusLabel->setText("One line, and another.");
  const QImage oneLine = c.statusLabel->grab().toImage();
  c.statusLabel->setText("One line,\nand another.");
  EXPECT_EQ(c.statusLabel->grab().toImage(), oneLine);
  EXPECT_EQ(status(), "One line,\nand another.");
  EXPECT_EQ(toolTipOf(*c.statusLabel), "<p>One line,<br>and another.</p>");
  c.statusLabel->setText("One line,\r\n\n and another.");
  EXPECT_EQ(c.statusLabel->grab().toImage(), oneLine);
  c.statusLabel->setText(QStringLiteral("x\n") + QString(400, 'x'));
  EXPECT_TRUE(c.statusLabel->isElided());
}

TEST_F(Controls, AStatusThatIsTooLongEndsInAnEllipsisAndIsWholeInTheToolTip) {
  show();
  c.statusLabel->setText("Short.");
  EXPECT_FALSE(c.statusLabel->isElided());
  EXPECT_EQ(toolTipOf(*c.statusLabel), "");
  const QString text = QStringLiteral("<b>not bold</b> & ") + QString(400, 'x');
  c.statusLabel->setText(text);
  EXPECT_TRUE(c.statusLabel->isElided());
  EXPECT_EQ(toolTipOf(*c.statusLabel), "<p>" + text.toHtmlEscaped() + "</p>");
  controller.resize(6000, 614);
  EXPECT_FALSE(c.statusLabel->isElided());
  EXPECT_EQ(toolTipOf(*c.statusLabel), "");
}

}  // namespace
}  // namespace tolvane
