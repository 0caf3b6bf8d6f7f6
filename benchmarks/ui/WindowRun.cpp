// SPDX-License-Identifier: MIT
#include <QApplication>
#include <QElapsedTimer>
#include <QTimer>
#include <algorithm>
#include <cstdio>

#include "app/MainWindow.h"
#include "ui/QtMainQueue.h"
#include "ui/ViewController.h"
#include "ui/dialogs/Dialogs.h"

// tolvane_window_run URL FOLDER
// Fetches the APT repository at URL in the window, downloads what FOLDER lacks, and prints a line:
// the seconds that took from the click on Fetch and from the program's start, the longest time in
// milliseconds for which the event loop could not turn to a key or a click, and the seconds that
// the console takes for as many messages again, as the main queue brings them.
namespace {

class OneFolder : public tolvane::Dialogs {
 public:
  explicit OneFolder(std::string path) : path_(std::move(path)) {}

  void beginAlert(QWidget*, const tolvane::Alert& alert, Answered) override {
    std::fprintf(stderr, "%s\n", alert.informativeText.c_str());
  }
  void beginFolderPanel(QWidget*, const tolvane::FolderPanel&, FolderChosen chosen) override {
    chosen(tolvane::ChosenFolder{path_, nullptr});
  }

 private:
  std::string path_;
};

void waitUntilEnabled(const QPushButton& button) {
  while (!button.isEnabled()) QCoreApplication::processEvents(QEventLoop::WaitForMoreEvents);
}

double secondsOfConsole(tolvane::QtMainQueue& queue, tolvane::Dialogs& dialogs,
                        const tolvane::ConsoleMessages& messages) {
  tolvane::MainWindow window(queue, dialogs);
  window.show();
  QElapsedTimer timer;
  timer.start();
  bool ended = false;
  for (const auto& message : messages) {
    queue.post([&] { window.controller().appendConsoleMessage(message.message, message.type); });
  }
  queue.post([&] { ended = true; });
  while (!ended) QCoreApplication::processEvents(QEventLoop::WaitForMoreEvents);
  return static_cast<double>(timer.elapsed()) / 1000;
}

}  // namespace

int main(int argc, char** argv) {
  QElapsedTimer run;
  run.start();
  QApplication application(argc, argv);
  QCoreApplication::setApplicationName(QStringLiteral("Tolvane"));
  if (argc != 3) return 2;
  auto& queue = *new tolvane::QtMainQueue;
  OneFolder dialogs(argv[2]);
  tolvane::MainWindow window(queue, dialogs);
  window.show();
  QCoreApplication::processEvents();

  QElapsedTimer sinceBeat;
  qint64 worst = 0;
  QTimer heart;
  QObject::connect(&heart, &QTimer::timeout, [&] { worst = std::max(worst, sinceBeat.restart()); });
  heart.start(1);
  sinceBeat.start();
  const auto& controls = window.controller().controls();
  controls.repoURLField->setText(QString::fromLocal8Bit(argv[1]));
  QElapsedTimer sinceClick;
  sinceClick.start();
  controls.fetchButton->click();
  waitUntilEnabled(*controls.fetchButton);
  controls.downloadMissingButton->click();
  waitUntilEnabled(*controls.fetchButton);
  const double seconds = static_cast<double>(sinceClick.elapsed()) / 1000;
  const double secondsFromStart = static_cast<double>(run.elapsed()) / 1000;
  heart.stop();
  std::fprintf(stderr, "%s\n", qUtf8Printable(controls.statusLabel->text()));
  std::printf("%.3f %.3f %lld %.3f\n", seconds, secondsFromStart, static_cast<long long>(worst),
              secondsOfConsole(queue, dialogs, window.controller().consoleMessages()));
  return 0;
}
