// SPDX-License-Identifier: MIT
#include <QDir>
#include <QMessageBox>
#include <QTest>

#include "app/Application.h"
#include "app/MainWindow.h"
#include "archive_client/CentralArchiveClient.h"
#include "tests/support/CentralArchiveServer.h"
#include "tests/ui/support/LastingQueue.h"
#include "tests/ui/support/Workflow.h"
#include "ui/dialogs/QtDialogs.h"

namespace tolvane {
namespace {

// Screenshots of each workflow, in its middle and at its end, saved where TOLVANE_SCREENSHOTS
// names.

constexpr int kPackages = 40;

class DialogsOfOneFolder : public QtDialogs {
 public:
  void beginFolderPanel(QWidget*, const FolderPanel&, FolderChosen chosen) override {
    chosen(ChosenFolder{folder.path(), nullptr});
  }

  TemporaryFolder folder;
};

class WorkflowScreenshots : public testing::Test {
 protected:
  WorkflowScreenshots() {
    QApplication::setWindowIcon(applicationIcon());
    window.controller().centralArchiveClient().setApiBaseURL(archive.baseURL());
    window.resize(1180, 700);
    window.show();
    EXPECT_TRUE(QTest::qWaitForWindowExposed(&window));
  }
  ~WorkflowScreenshots() override {
    QDir(toQString(ViewController::centralArchiveTemporaryFolder())).removeRecursively();
  }

  bool waitFor(const std::function<bool()>& condition) {
    return QTest::qWaitFor(condition, 20'000);
  }
  bool waitForStatus(const char* beginning) {
    return waitFor([&] { return c.statusLabel->text().startsWith(QLatin1String(beginning)); });
  }

  // The last of the packages waits for the gate; every seventh is not what the index promises.
  void serve(bool withFailures) {
    std::string index;
    for (int i = 0; i < kPackages; ++i) {
      const bool fails = withFailures && i % 7 == 3;
      const ServedPackage package{"org.example.p" + std::to_string(i), std::string(3000, 'x'),
                                  fails ? "9999" : "3000"};
      index += package.stanza();
      const auto file = respond(200, package.bytes);
      server.on("/repo/debs/" + package.filename(), i < kPackages - 1 ? file : heldBy(gate, file));
    }
    server.on("/repo/Packages", respond(200, index));
  }

  void fetch(const std::string& url) {
    c.repoURLField->setText(toQString(url));
    QTest::mouseClick(c.fetchButton, Qt::LeftButton);
  }

  void load(bool withFailures) {
    serve(withFailures);
    fetch(server.url("/repo/"));
    ASSERT_TRUE(waitForStatus("Found 40 packages."));
  }

  QMessageBox* alert() const {
    for (auto* const box : window.findChildren<QMessageBox*>()) {
      if (box->isVisible()) return box;
    }
    return nullptr;
  }

  void keep(QWidget& widget, const char* name) {
    QApplication::processEvents();
    const QImage image = widget.grab().toImage();
    EXPECT_FALSE(image.isNull());
    const QString folder = QString::fromLocal8Bit(qgetenv("TOLVANE_SCREENSHOTS"));
    if (folder.isEmpty()) return;
    QDir().mkpath(folder);
    EXPECT_TRUE(image.save(folder + '/' + QLatin1String(name) + QStringLiteral(".png")));
  }

  // The window with its alert, and the alert by itself, which is then closed.
  void keepWithAlert(const char* name, const char* alertsName) {
    ASSERT_TRUE(waitFor([&] { return alert() != nullptr; }));
    keep(window, name);
    keep(*alert(), alertsName);
    alert()->close();
  }

  LoopbackServer server;
  CentralArchiveServer archive;
  Gate gate;
  QtMainQueue& queue = lastingQueue();
  DialogsOfOneFolder dialogs;
  MainWindow window{queue, dialogs};
  const MainWindowControls& c = window.controller().controls();
};

TEST_F(WorkflowScreenshots, OfAFetch) {
  server.on("/repo/Packages.gz", heldBy(gate, respond(404, "")));
  fetch(server.url("/repo/"));
  ASSERT_TRUE(waitFor([&] { return server.targets().size() == 2; }));
  QTest::qWait(50);
  keep(window, "fetch-middle");
  gate.open();
  ASSERT_TRUE(waitForStatus("No Cydia/APT Packages file found."));
  keep(window, "fetch-end");
}

TEST_F(WorkflowScreenshots, OfTheFallbackQuestion) {
  fetch("https" + server.url("/repo/").substr(4));
  keepWithAlert("fallback", "fallback-alert");
}

TEST_F(WorkflowScreenshots, OfADownload) {
  load(true);
  QTest::mouseClick(c.downloadMissingButton, Qt::LeftButton);
  ASSERT_TRUE(waitForStatus("Downloading missing 39 / 40"));
  keep(window, "download-middle");
  gate.open();
  keepWithAlert("download-end", "download-alert");
}

TEST_F(WorkflowScreenshots, OfAnArchive) {
  load(false);
  std::string entries;
  for (int i = 0; i < 6; ++i) {
    entries += std::string(i == 0 ? "" : ",") + R"({"version":"1","identifier":"org.example.p)" +
               std::to_string(i) + "\"}";
  }
  archive.answer("check_repo.php",
                 respond(200, R"({"ok":true,"missing_packages":[)" + entries + "]}"));
  const auto accepted = respond(200, R"({"ok":true})");
  archive.answer("upload_package.php", inTurn({accepted, accepted, heldBy(gate, accepted)}));
  QTest::mouseClick(c.checkArchiveButton, Qt::LeftButton);
  ASSERT_TRUE(waitFor([&] { return alert() != nullptr; }));
  keep(*alert(), "archive-alert");
  QTest::keyClick(alert(), Qt::Key_Return);
  ASSERT_TRUE(waitForStatus("Uploading 3 / 6"));
  keep(window, "archive-middle");
  gate.open();
  ASSERT_TRUE(waitForStatus("Archive complete. Uploaded: 6  Failed: 0"));
  keep(window, "archive-end");
}

}  // namespace
}  // namespace tolvane
