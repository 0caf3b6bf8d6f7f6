// SPDX-License-Identifier: MIT
// The memory of a run of the download queue that waits for a slow server: 100,000 packages of an
// invented index (GeneratedIndex.h, 79 MB), requested from a server on loopback that accepts
// connections and never answers. Prints resident memory in MB.
#include <arpa/inet.h>
#include <atomic>
#include <chrono>
#include <cstdio>
#include <cstdlib>
#include <filesystem>
#include <fmt/format.h>
#include <fstream>
#include <malloc.h>
#include <netinet/in.h>
#include <string>
#include <sys/socket.h>
#include <thread>
#include <utility>

#include "async/RunLoop.h"
#include "base/NotificationCenter.h"
#include "benchmarks/GeneratedIndex.h"
#include "download/DownloadQueueManager.h"
#include "model/CrawlerLogger.h"
#include "repository/RepoParser.h"

namespace tolvane {

namespace {

constexpr int kPackages = 100'000;

// A line of /proc/self/status, such as "VmRSS", in MB.
double memory(const std::string& name) {
  std::ifstream status("/proc/self/status");
  for (std::string line; std::getline(status, line);) {
    if (line.starts_with(name + ":")) return std::stod(line.substr(name.size() + 1)) * 1024 / 1e6;
  }
  return 0;
}

double residentMemory() {
  ::malloc_trim(0);  // freed memory does not count
  return memory("VmRSS");
}

// The port of a socket that listens until the process ends. The kernel accepts the connections.
int silentServer() {
  const int listener = ::socket(AF_INET, SOCK_STREAM | SOCK_CLOEXEC, 0);
  sockaddr_in address{};
  address.sin_family = AF_INET;
  address.sin_addr.s_addr = htonl(INADDR_LOOPBACK);
  socklen_t size = sizeof address;
  ::bind(listener, reinterpret_cast<sockaddr*>(&address), size);
  ::listen(listener, SOMAXCONN);
  ::getsockname(listener, reinterpret_cast<sockaddr*>(&address), &size);
  return ntohs(address.sin_port);
}

void measure(const std::string& folder) {
  const double atStart = residentMemory();
  const auto packages = RepoParser::parsePackagesText(generatedIndex(kPackages));
  const double withRecords = residentMemory();

  std::atomic<int> asked = 0;
  const auto token = NotificationCenter::defaultCenter().addObserver(
      CrawlerLoggerDidLogMessageNotification, [&asked](const UserInfo& info) {
        if (info.at("message").starts_with("Downloading:")) ++asked;
      });
  RunLoop loop;
  DownloadQueueManager queue(loop);
  queue.downloadPackages(
      packages, URL::parse(fmt::format("http://127.0.0.1:{}", silentServer())), folder,
      [](auto...) {}, [](auto...) {});
  while (asked < kPackages) std::this_thread::sleep_for(std::chrono::milliseconds(10));
  const double waiting = residentMemory();
  fmt::print("packages {}\nrecords {:.1f} MB\nqueue adds {:.1f} MB\npeak {:.1f} MB\n",
             packages.size(), withRecords - atStart, waiting - withRecords, memory("VmHWM"));
  std::fflush(stdout);
  // Without waiting for the transfers, which end only with their timeouts.
  std::filesystem::remove_all(folder);
  std::_Exit(0);
}

}  // namespace

}  // namespace tolvane

int main() {
  std::string folder = std::filesystem::temp_directory_path() / "tolvane-queue-memory-XXXXXX";
  if (::mkdtemp(folder.data()) == nullptr) return 1;
  tolvane::measure(folder);
}
