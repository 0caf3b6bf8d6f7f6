// SPDX-License-Identifier: MIT
#include <QDir>
#include <QMessageBox>
#include <QStyleFactory>
#include <QTest>
#include <fmt/format.h>

#include "app/AboutWindow.h"
#include "app/AppDelegate.h"
#include "app/Application.h"
#include "app/MainMenu.h"
#include "app/MainWindow.h"
#include "async/RunLoop.h"
#include "tests/ui/support/Packages.h"
#include "ui/Strings.h"
#include "ui/dialogs/QtDialogs.h"

namespace tolvane {
namespace {

// Screenshots of everything that the program shows, in both themes. They are saved in the folder
// that TOLVANE_SCREENSHOTS names; without it they are only checked to be painted.

const char* const kNames[] = {"Amber Dock", "Fern Widgets", "Tide Bar",   "Tiny Git",
                              "Lantern",    "Quiet Hours",  "Paper Keys", "North Clock",
                              "Cinder",     "Blue Notes"};
const char* const kSections[] = {"Widgets", "Tweaks", "Development", "Themes"};
const char* const kDescriptions[] = {
    "Shows the tides of the nearest harbour in the status bar.",
    "A dock with room for five icons, and a second page of them for those who still have more than "
    "that. Long press to rearrange.",
    "Keeps the screen dark at night.",
    "A small version-control system for the command line. Needs no account and no server, and "
    "keeps the whole history of a folder in a file beside it, which can be copied, mailed and "
    "merged. Comes with a manual of two pages that tells all there is to know.",
    "Keyboard themes that look like paper"};

std::vector<PackageEntry> sampleRepository() {
  std::vector<PackageEntry> packages;
  for (int i = 0; i < 1000; ++i) {
    const std::string name = kNames[i % 10];
    const std::string identifier =
        fmt::format("org.example.{}{}", toText(toQString(name).toLower().remove(' ')), i / 10);
    packages.push_back(
        makePackage({{"Package", identifier},
                     {"Name", i < 10 ? name : fmt::format("{} {}", name, i / 10)},
                     {"Version", fmt::format("{}.{}.{}-1", 1 + i % 3, i % 10, i % 7)},
                     {"Architecture", i % 4 == 0 ? "iphoneos-arm64" : "iphoneos-arm"},
                     {"Section", kSections[i % 4]},
                     {"Size", std::to_string(2'000 + 37'411L * ((i * 7919) % 641))},
                     {"Filename", fmt::format("debs/{}_1.{}_iphoneos-arm.deb", identifier, i % 10)},
                     {"Author", "A. Example <author@mail.example>"},
                     {"Maintainer", "M. Example <maintainer@mail.example>"},
                     {"Depends", "firmware (>= 9.0), mobilesubstrate"},
                     {"SHA256", std::string(64, "0123456789abcdef"[i % 16])},
                     {"Description", kDescriptions[i % 5]}}));
  }
  return packages;
}

QPalette darkPalette() {
  QPalette palette(QColor(0x2b, 0x2d, 0x31));
  palette.setColor(QPalette::Window, QColor(0x2b, 0x2d, 0x31));
  palette.setColor(QPalette::WindowText, QColor(0xe6, 0xe6, 0xe6));
  palette.setColor(QPalette::Base, QColor(0x1e, 0x1f, 0x22));
  palette.setColor(QPalette::AlternateBase, QColor(0x25, 0x26, 0x2a));
  palette.setColor(QPalette::Text, QColor(0xe6, 0xe6, 0xe6));
  palette.setColor(QPalette::PlaceholderText, QColor(0x8c, 0x8c, 0x8c));
  palette.setColor(QPalette::Button, QColor(0x3a, 0x3c, 0x41));
  palette.setColor(QPalette::ButtonText, QColor(0xe6, 0xe6, 0xe6));
  palette.setColor(QPalette::Highlight, QColor(0x2f, 0x65, 0xa8));
  palette.setColor(QPalette::HighlightedText, Qt::white);
  palette.setColor(QPalette::Link, QColor(0x6c, 0xa8, 0xf0));
  palette.setColor(QPalette::ToolTipBase, QColor(0x3a, 0x3c, 0x41));
  palette.setColor(QPalette::ToolTipText, QColor(0xe6, 0xe6, 0xe6));
  for (const auto role : {QPalette::WindowText, QPalette::Text, QPalette::ButtonText}) {
    palette.setColor(QPalette::Disabled, role, QColor(0x7d, 0x7d, 0x7d));
  }
  return palette;
}

class NoAlerts : public ApplicationAlerts {
 public:
  bool presentError(const Error&) override { return false; }
  std::size_t runModal(const Alert&) override { return 0; }
};

struct Theme {
  const char* name;
  bool dark;
};

void PrintTo(const Theme& theme, std::ostream* stream) {
  *stream << theme.name;
}

class Screenshots : public testing::TestWithParam<Theme> {
 protected:
  Screenshots() {
    QApplication::setStyle(QStyleFactory::create("Fusion"));
    if (GetParam().dark) QApplication::setPalette(darkPalette());
    QApplication::setWindowIcon(applicationIcon());
    buildMainMenu(window, delegate, [] {});
    resizeTo({1030, 614});
  }
  ~Screenshots() override { QApplication::setPalette(QPalette()); }

  void resizeTo(QSize size) {
    window.resize(size);
    window.show();
    EXPECT_TRUE(QTest::qWaitForWindowExposed(&window));
    QApplication::processEvents();
  }

  void loadAndHighlight() {
    const auto say = [this](const char* text, const char* type) {
      window.controller().appendConsoleMessage(text, type);
    };
    say("Repository Fetch Started", "info");
    say("Fetching https://packages.example/repo/", "info");
    say("Trying package index: https://packages.example/repo/Packages", "info");
    say("Package index not found: https://packages.example/repo/Packages", "error");
    say("Package index found: https://packages.example/repo/Packages.bz2", "success");
    say("Package without a checksum: org.example.lantern4", "warning");
    say("Fetched 1000 package(s).", "success");
    c.repoURLField->setText("https://packages.example/repo/");
    window.controller().loadPackagesIntoUI(sampleRepository(),
                                           URL::parse("https://packages.example/repo/"));
    for (const int row : {1, 3}) window.controller().packageCheckboxClicked(row, true);
    c.tableView->selectRow(3);
    c.tableView->setFocus();
    QApplication::processEvents();
  }

  void keep(QWidget& widget, const std::string& name) {
    QApplication::processEvents();
    const QImage image = widget.grab().toImage();
    ASSERT_FALSE(image.isNull());
    EXPECT_EQ(image.deviceIndependentSize().toSize(), widget.size());
    const QRgb background = image.pixel(2, image.height() - 2);
    EXPECT_EQ(qGray(background) < 128, GetParam().dark);
    const QByteArray folder = qgetenv("TOLVANE_SCREENSHOTS");
    if (folder.isEmpty()) return;
    QDir().mkpath(QString::fromLocal8Bit(folder));
    EXPECT_TRUE(image.save(
        QStringLiteral("%1/%2-%3.png")
            .arg(QString::fromLocal8Bit(folder), toQString(name), QLatin1String(GetParam().name))));
  }

  NoAlerts alerts;
  AppDelegate delegate{alerts, {nullptr, nullptr, applicationIcon(), {"0.1.0", "1"}}};
  RunLoop queue;
  QtDialogs dialogs;
  MainWindow window{queue, dialogs};
  const MainWindowControls& c = window.controller().controls();
};

TEST_P(Screenshots, OfTheEmptyWindow) {
  keep(window, "empty");
  resizeTo({1600, 1000});
  keep(window, "empty-large");
}

TEST_P(Screenshots, OfAThousandPackages) {
  loadAndHighlight();
  keep(window, "packages");
  resizeTo({1600, 1000});
  keep(window, "packages-large");
}

TEST_P(Screenshots, OfErrorsOnly) {
  loadAndHighlight();
  c.consoleFilterPopup->setCurrentIndex(1);
  window.controller().showDeterminateProgressWithCompleted(37, 100);
  c.cancelDownloadsButton->setEnabled(true);
  c.statusLabel->setText("Downloading 37 of 100: " +
                         QString("a rather long status text ").repeated(8));
  keep(window, "errors-only");
  resizeTo({1600, 1000});
  keep(window, "errors-only-large");
}

TEST_P(Screenshots, OfASearchAndAnIndeterminateBar) {
  loadAndHighlight();
  c.searchField->setText("tide");
  c.searchField->setFocus();
  window.controller().showIndeterminateProgress();
  keep(window, "search");
}

TEST_P(Screenshots, OfTheAboutWindow) {
  delegate.showCustomAboutWindow();
  keep(*delegate.aboutWindow(), "about");
}

TEST_P(Screenshots, OfTheMetadataAlert) {
  QTest::mouseClick(c.archiveMetadataInfoButton, Qt::LeftButton);
  auto* const box = window.findChild<QMessageBox*>();
  ASSERT_NE(box, nullptr);
  EXPECT_EQ(box->windowModality(), Qt::WindowModal);
  keep(*box, "metadata-alert");
  box->close();
}

TEST_P(Screenshots, OfTheQuitAlert) {
  QMessageBox box;
  fillMessageBox(box, {"Could not save changes while quitting. Quit anyway?",
                       "Quitting now will lose any changes you have made since the last "
                       "successful save",
                       {"Quit anyway", "Cancel"}});
  box.show();
  keep(box, "quit-alert");
}

INSTANTIATE_TEST_SUITE_P(Themes, Screenshots,
                         testing::Values(Theme{"light", false}, Theme{"dark", true}));

}  // namespace
}  // namespace tolvane
