// SPDX-License-Identifier: MIT
#include <QDir>
#include <QDropEvent>
#include <QFileDialog>
#include <QMimeData>
#include <QSettings>
#include <filesystem>

#include "tests/ui/support/Workflow.h"
#include "ui/dialogs/QtDialogs.h"

namespace tolvane {
namespace {

const FolderPanel kPanel{"Download Here", "Choose where 2 selected .deb files should be saved.",
                         ""};

// How many open descriptors of the folder this process has.
int descriptorsOf(const std::string& folder) {
  int count = 0;
  std::error_code error;
  for (const auto& entry : std::filesystem::directory_iterator("/proc/self/fd")) {
    if (std::filesystem::read_symlink(entry.path(), error) == folder) ++count;
  }
  return count;
}

class FolderDialog : public testing::Test {
 protected:
  ~FolderDialog() override { QSettings().clear(); }

  QFileDialog& open(const FolderPanel& panel = kPanel) {
    answers.clear();
    dialogs.beginFolderPanel(&window, panel, [this](std::optional<ChosenFolder> chosen) {
      answers.push_back(std::move(chosen));
    });
    return *window.findChildren<QFileDialog*>(QStringLiteral("folderDialog")).last();
  }

  void choose(QFileDialog& dialog, const std::string& path) {
    dialog.findChild<QLineEdit*>()->setText(toQString(path));
    QMetaObject::invokeMethod(&dialog, "accept");
    QCoreApplication::sendPostedEvents(nullptr, QEvent::DeferredDelete);
  }

  QWidget window;
  QtDialogs dialogs;
  TemporaryFolder folder;
  std::vector<std::optional<ChosenFolder>> answers;
};

TEST_F(FolderDialog, IsOfItsWindowAndChoosesOneFolder) {
  const QFileDialog& dialog = open();
  EXPECT_EQ(dialog.windowModality(), Qt::WindowModal);
  EXPECT_EQ(dialog.fileMode(), QFileDialog::Directory);
  EXPECT_EQ(dialog.labelText(QFileDialog::Accept), "Download Here");
  EXPECT_EQ(dialog.windowTitle(), toQString(kPanel.message));
  EXPECT_FALSE(dialog.testOption(QFileDialog::ReadOnly));  // folders can be made
  EXPECT_TRUE(answers.empty());
}

TEST_F(FolderDialog, ShowsAnAmpersandAsOne) {
  FolderPanel panel = kPanel;
  panel.prompt = "Scan & Download Missing";
  const auto buttons = open(panel).findChildren<QPushButton*>();
  EXPECT_TRUE(std::any_of(buttons.begin(), buttons.end(), [](const QPushButton* button) {
    return button->text() == "Scan && Download Missing";
  }));
}

TEST_F(FolderDialog, GivesTheFolderWithAccessForAsLongAsItIsHeld) {
  choose(open(), folder.path());
  ASSERT_EQ(answers.size(), 1u);
  ASSERT_TRUE(answers[0]);
  EXPECT_EQ(answers[0]->path, folder.path());
  EXPECT_EQ(descriptorsOf(folder.path()), 1);
  answers.clear();
  EXPECT_EQ(descriptorsOf(folder.path()), 0);
}

TEST_F(FolderDialog, GivesNothingWhenItIsCancelled) {
  open().reject();
  ASSERT_EQ(answers.size(), 1u);
  EXPECT_FALSE(answers[0]);
}

TEST_F(FolderDialog, BeginsWhereTheUserWasLast) {
  choose(open(), folder.path());
  EXPECT_EQ(toText(open().directory().path()), folder.path());
}

TEST_F(FolderDialog, BeginsAmongTheUsersDownloadsTheFirstTimeAndAtHomeWithoutAny) {
  const QByteArray home = qgetenv("HOME");
  qputenv("HOME", QByteArray::fromStdString(folder.path()));
  EXPECT_EQ(toText(open().directory().path()), folder.path());
  std::filesystem::create_directory(folder.path() + "/Downloads");
  EXPECT_EQ(toText(open().directory().path()), folder.path() + "/Downloads");
  qputenv("HOME", home);
}

TEST_F(FolderDialog, BeginsElsewhereWhereThatFolderNoLongerExists) {
  QSettings().setValue("folderPanel/lastFolder", toQString(folder.path("gone")));
  EXPECT_TRUE(open().directory().exists());
}

TEST_F(FolderDialog, BeginsInTheFolderOfThePanelBeforeAnyOther) {
  choose(open(), "/");
  FolderPanel panel = kPanel;
  panel.folder = folder.path();
  EXPECT_EQ(toText(open(panel).directory().path()), folder.path());
}

TEST_F(FolderDialog, OfAFolderThatCannotBeOpenedGivesItWithoutAccess) {
  EXPECT_EQ(folderWithAccess(toQString(folder.path("gone"))).access, nullptr);
  EXPECT_EQ(folderWithAccess(toQString(folder.path("gone"))).path, folder.path("gone"));
}

// Dropping.

class Drop : public Workflow {
 protected:
  // Whether the window took it.
  bool drop(const QList<QUrl>& urls) {
    QMimeData data;
    data.setUrls(urls);
    QDragEnterEvent enter({10, 10}, Qt::CopyAction, &data, Qt::LeftButton, {});
    enter.ignore();
    QCoreApplication::sendEvent(&controller, &enter);
    if (!enter.isAccepted()) return false;
    QDropEvent event({10, 10}, Qt::CopyAction, &data, Qt::LeftButton, {});
    QCoreApplication::sendEvent(&controller, &event);
    return event.isAccepted();
  }

  QUrl urlOf(const std::string& path) { return QUrl::fromLocalFile(toQString(path)); }

  std::string folderOfNextPanel() {
    press(c.downloadMissingButton);
    const std::string path = dialogs.panels.back().panel.folder;
    cancelPanel();
    return path;
  }
};

TEST_F(Drop, OfAFolderIsOfferedToTheNextPanel) {
  load(makePackages(1));
  EXPECT_EQ(folderOfNextPanel(), "");
  EXPECT_TRUE(drop({urlOf(folder.path())}));
  EXPECT_EQ(folderOfNextPanel(), folder.path());
  EXPECT_EQ(folderOfNextPanel(), "");
}

TEST_F(Drop, OfAnythingElseIsNotTaken) {
  const std::string file = folder.write("file", "bytes");
  EXPECT_FALSE(drop({urlOf(file)}));
  EXPECT_FALSE(drop({urlOf(folder.path("gone"))}));
  EXPECT_FALSE(drop({urlOf(folder.path()), urlOf("/")}));
  EXPECT_FALSE(drop({QUrl("https://repo.example/")}));
  EXPECT_FALSE(drop({}));
}

}  // namespace
}  // namespace tolvane
