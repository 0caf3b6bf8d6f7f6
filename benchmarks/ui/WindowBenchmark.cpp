// SPDX-License-Identifier: MIT
#include <QApplication>
#include <QScrollBar>
#include <algorithm>
#include <benchmark/benchmark.h>
#include <chrono>
#include <ctime>
#include <fmt/format.h>
#include <fstream>
#include <malloc.h>
#include <string>
#include <unistd.h>
#include <vector>

#include "async/RunLoop.h"
#include "benchmarks/ui/GeneratedRepository.h"
#include "ui/ViewController.h"

// What a person waits for in the window with a large repository, up to the painted frame, on a
// screen in memory. Next to each time there are two more figures: "cpu", the processor's
// milliseconds, which depend less on what else the machine does, and "copies", how often all texts
// of the repository are copied in the same time, which can be compared between machines.
namespace tolvane {
namespace {

const std::vector<PackageEntry>& repository() {
  static const std::vector<PackageEntry> packages = generatedRepository();
  return packages;
}

class NoDialogs : public Dialogs {
 public:
  void beginAlert(QWidget*, const Alert&, Answered) override {}
  void beginFolderPanel(QWidget*, const FolderPanel&, FolderChosen) override {}
};

struct Window {
  Window() {
    controller.resize(1600, 1000);
    controller.show();
    paint();
  }

  void load() { controller.loadPackagesIntoUI(repository(), std::nullopt); }

  void loadAndPaint() {
    load();
    paint();
  }

  // Delivers all pending events, those for painting among them.
  void paint() { QApplication::processEvents(); }

  RunLoop queue;
  NoDialogs dialogs;
  ViewController controller{queue, dialogs};
  const MainWindowControls& c = controller.controls();
};

std::size_t residentBytes() {
  std::size_t pages = 0;
  std::size_t resident = 0;
  std::ifstream("/proc/self/statm") >> pages >> resident;
  return resident * static_cast<std::size_t>(sysconf(_SC_PAGESIZE));
}

double processorMilliseconds() {
  timespec time{};
  clock_gettime(CLOCK_PROCESS_CPUTIME_ID, &time);
  return static_cast<double>(time.tv_sec) * 1e3 + static_cast<double>(time.tv_nsec) / 1e6;
}

// Seconds that a copy of all texts takes; the quickest of a few.
double yardstick() {
  static const double seconds = [] {
    std::string all;
    double quickest = 1e9;
    for (int i = 0; i < 5; ++i) {
      const auto begin = std::chrono::steady_clock::now();
      all.clear();
      for (const PackageEntry& package : repository()) {
        for (std::size_t field = 0; field < PackageEntry::kTextCount; ++field) {
          all += package.text(static_cast<PackageEntry::Field>(field));
        }
      }
      benchmark::DoNotOptimize(all.data());
      const std::chrono::duration<double> taken = std::chrono::steady_clock::now() - begin;
      quickest = std::min(quickest, taken.count());
    }
    return quickest;
  }();
  return seconds;
}

// Times what a benchmark does in each round.
class Stopwatch {
 public:
  explicit Stopwatch(benchmark::State& state) : state_(state) {}
  ~Stopwatch() {
    const double seconds = total_ / static_cast<double>(state_.iterations());
    state_.counters["cpu"] = processor_ / static_cast<double>(state_.iterations());
    state_.counters["copies"] = seconds / yardstick();
  }

  template <typename Work>
  void time(Work work) {
    const double processorBegin = processorMilliseconds();
    const auto begin = std::chrono::steady_clock::now();
    work();
    const std::chrono::duration<double> taken = std::chrono::steady_clock::now() - begin;
    processor_ += processorMilliseconds() - processorBegin;
    state_.SetIterationTime(taken.count());
    total_ += taken.count();
  }

 private:
  benchmark::State& state_;
  double total_ = 0;
  double processor_ = 0;
};

void YardstickCopyAllTexts(benchmark::State& state) {
  for (auto round : state) state.SetIterationTime(yardstick());
}

void LoadToFirstPaint(benchmark::State& state) {
  Window window;
  Stopwatch watch(state);
  for (auto round : state) watch.time([&] { window.loadAndPaint(); });
}

void sortBy(benchmark::State& state, int column) {
  Window window;
  Stopwatch watch(state);
  for (auto round : state) {
    window.loadAndPaint();
    watch.time([&] {
      window.c.tableView->sortByClickOn(column);
      window.paint();
    });
  }
}

void SortByName(benchmark::State& state) {
  sortBy(state, 1);
}
void SortBySize(benchmark::State& state) {
  sortBy(state, 6);
}

// From a text with many hits to one with few and to one with none, a key at a time.
void SearchKeystroke(benchmark::State& state) {
  Window window;
  window.loadAndPaint();
  const QStringList texts = {"b", "ba", "bat", "battery q", "battery qx", "qqqq", "z", ""};
  qsizetype i = 0;
  Stopwatch watch(state);
  for (auto round : state) {
    watch.time([&] {
      window.c.searchField->setText(texts[i++ % texts.size()]);
      window.paint();
    });
  }
}

// The first search of a repository, without the field's focus before it.
void FirstSearch(benchmark::State& state) {
  Window window;
  Stopwatch watch(state);
  for (auto round : state) {
    window.loadAndPaint();
    watch.time([&] {
      window.c.searchField->setText("b");
      window.paint();
    });
  }
}

// The slowest of them: every text of every package is read to its end.
void SearchWithoutAHit(benchmark::State& state) {
  Window window;
  window.loadAndPaint();
  int i = 0;
  Stopwatch watch(state);
  for (auto round : state) {
    watch.time([&] {
      window.c.searchField->setText(i++ % 2 == 0 ? "qqqq" : "qqqqq");
      window.paint();
    });
  }
}

void SelectAll(benchmark::State& state) {
  Window window;
  window.loadAndPaint();
  Stopwatch watch(state);
  for (auto round : state) {
    watch.time([&] {
      window.c.selectAllButton->click();
      window.paint();
    });
    window.c.selectAllButton->click();
    window.paint();
  }
}

void ScrollStep(benchmark::State& state) {
  Window window;
  window.loadAndPaint();
  QScrollBar& bar = *window.c.tableView->verticalScrollBar();
  Stopwatch watch(state);
  for (auto round : state) {
    watch.time([&] {
      bar.setValue((bar.value() + 90) % bar.maximum());
      window.paint();
    });
  }
}

// The rows, the ticks, the heights and what is searched; not the records themselves.
void MemoryAboveTheRecords(benchmark::State& state) {
  for (auto round : state) {
    Window window;
    benchmark::DoNotOptimize(repository().data());
    malloc_trim(0);
    const std::size_t before = residentBytes();
    window.loadAndPaint();
    window.c.searchField->setText("e");
    window.paint();
    window.c.selectAllButton->click();
    window.c.tableView->sortByClickOn(1);
    window.paint();
    malloc_trim(0);
    state.counters["MB"] = static_cast<double>(residentBytes() - before) / 1e6;
  }
}

// One message on top of many, painted each time or not at all.
void consoleMessageOnTopOf(benchmark::State& state, bool painted) {
  Window window;
  const auto text = [](long i) {
    return fmt::format("Downloaded and verified: org.example.package{}_1.0_iphoneos-arm.deb", i);
  };
  if (state.range(1) != 0) window.c.consoleFilterPopup->setCurrentIndex(1);
  long count = 0;
  const char* const types[] = {"info", "success", "warning", "error"};
  while (count < state.range(0)) {
    window.controller.appendConsoleMessage(text(count), types[count % 4]);
    ++count;
  }
  Stopwatch watch(state);
  for (auto round : state) {
    watch.time([&] {
      window.controller.appendConsoleMessage(text(count), types[count % 4]);
      if (painted) window.paint();
    });
    ++count;
  }
}

void ConsoleMessageOnTopOf(benchmark::State& state) {
  consoleMessageOnTopOf(state, true);
}
void UnpaintedConsoleMessageOnTopOf(benchmark::State& state) {
  consoleMessageOnTopOf(state, false);
}

BENCHMARK(YardstickCopyAllTexts)->Iterations(1)->UseManualTime()->Unit(benchmark::kMillisecond);
BENCHMARK(LoadToFirstPaint)->UseManualTime()->Unit(benchmark::kMillisecond);
BENCHMARK(SortByName)->UseManualTime()->Unit(benchmark::kMillisecond);
BENCHMARK(SortBySize)->UseManualTime()->Unit(benchmark::kMillisecond);
BENCHMARK(SearchKeystroke)->UseManualTime()->Unit(benchmark::kMillisecond);
BENCHMARK(FirstSearch)->UseManualTime()->Unit(benchmark::kMillisecond);
BENCHMARK(SearchWithoutAHit)->UseManualTime()->Unit(benchmark::kMillisecond);
BENCHMARK(SelectAll)->UseManualTime()->Unit(benchmark::kMillisecond);
BENCHMARK(ScrollStep)->UseManualTime()->Unit(benchmark::kMillisecond);
BENCHMARK(MemoryAboveTheRecords)->Iterations(1)->Unit(benchmark::kMillisecond);
BENCHMARK(ConsoleMessageOnTopOf)
    ->ArgNames({"messages", "errorsOnly"})
    ->ArgsProduct({{1'000, 10'000, 50'000}, {0, 1}})
    ->Iterations(200)
    ->UseManualTime()
    ->Unit(benchmark::kMicrosecond);
BENCHMARK(UnpaintedConsoleMessageOnTopOf)
    ->ArgNames({"messages", "errorsOnly"})
    ->Args({50'000, 0})
    ->Iterations(2000)
    ->UseManualTime()
    ->Unit(benchmark::kMicrosecond);

}  // namespace
}  // namespace tolvane

int main(int argc, char** argv) {
  qputenv("QT_QPA_PLATFORM", "offscreen");
  QApplication application(argc, argv);
  benchmark::Initialize(&argc, argv);
  benchmark::RunSpecifiedBenchmarks();
  return 0;
}
