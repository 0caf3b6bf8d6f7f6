// SPDX-License-Identifier: MIT
#include <arpa/inet.h>
#include <benchmark/benchmark.h>
#include <chrono>
#include <cstdio>
#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <future>
#include <netinet/in.h>
#include <optional>
#include <string>
#include <string_view>
#include <sys/socket.h>
#include <thread>
#include <unistd.h>

#include "archive_client/CentralArchiveClient.h"

namespace tolvane {
namespace {

constexpr std::size_t kFileSize = 500'000'000;
constexpr std::string_view kAnswer =
    "HTTP/1.1 200 OK\r\nContent-Length: 11\r\nConnection: close\r\n\r\n{\"ok\":true}";

// A server on loopback that reads each request to its end, discards it and answers that all is
// well.
class Sink {
 public:
  Sink() : listener_(socket(AF_INET, SOCK_STREAM | SOCK_CLOEXEC, 0)) {
    sockaddr_in address{};
    address.sin_family = AF_INET;
    address.sin_addr.s_addr = htonl(INADDR_LOOPBACK);
    socklen_t length = sizeof address;
    bind(listener_, reinterpret_cast<sockaddr*>(&address), length);
    listen(listener_, 8);
    getsockname(listener_, reinterpret_cast<sockaddr*>(&address), &length);
    url_ = "http://127.0.0.1:" + std::to_string(ntohs(address.sin_port));
    thread_ = std::thread([this] { serve(); });
  }
  ~Sink() {
    shutdown(listener_, SHUT_RDWR);
    thread_.join();
    close(listener_);
  }

  const std::string& url() const { return url_; }

 private:
  void serve() {
    for (int client = 0; (client = accept(listener_, nullptr, nullptr)) >= 0; close(client)) {
      std::string buffer(std::size_t{1} << 20, '\0');
      std::string head;
      std::size_t end = std::string::npos;
      while ((end = head.find("\r\n\r\n")) == std::string::npos) {
        const ssize_t count = recv(client, buffer.data(), buffer.size(), 0);
        if (count <= 0) break;
        head.append(buffer, 0, static_cast<std::size_t>(count));
      }
      const std::size_t field = head.find("Content-Length: ");
      if (field == std::string::npos) continue;
      std::size_t left = std::strtoul(head.c_str() + field + 16, nullptr, 10);
      left -= head.size() - end - 4;
      while (left > 0) {
        const ssize_t count = recv(client, buffer.data(), buffer.size(), 0);
        if (count <= 0) break;
        left -= static_cast<std::size_t>(count);
      }
      if (left == 0) send(client, kAnswer.data(), kAnswer.size(), MSG_NOSIGNAL);
    }
  }

  int listener_;
  std::string url_;
  std::thread thread_;
};

// A file of 500 MB, the size of the largest packages, of one repeated byte. Removed when the
// process ends.
class LargeFile {
 public:
  LargeFile() : path_(std::filesystem::temp_directory_path() / "tolvane-upload-benchmark.deb") {
    std::ofstream file(path_, std::ios::binary);
    const std::string part(1'000'000, 'x');
    for (std::size_t written = 0; written < kFileSize; written += part.size()) file << part;
  }
  ~LargeFile() { std::filesystem::remove(path_); }

  std::string path() const { return path_; }

 private:
  std::filesystem::path path_;
};

const LargeFile& largeFile() {
  static const LargeFile file;
  return file;
}

// A line of /proc/self/status, in bytes.
double memory(const std::string& name) {
  std::ifstream status("/proc/self/status");
  for (std::string line; std::getline(status, line);) {
    if (line.starts_with(name + ":"))
      return 1024 * std::strtod(line.c_str() + name.size() + 1, nullptr);
  }
  return 0;
}

double secondsSince(std::chrono::steady_clock::time_point begin) {
  return std::chrono::duration<double>(std::chrono::steady_clock::now() - begin).count();
}

struct UploadTime {
  double reading = 0;  // and building the form
  double sending = 0;
};

// No value if the server did not accept the file.
std::optional<UploadTime> upload(const std::string& url, const std::string& path) {
  CentralArchiveClient client(url, "secret");
  std::promise<bool> uploaded;
  const auto begin = std::chrono::steady_clock::now();
  client.uploadPackage(PackageEntry(), "https://repo.example/", "APT", path,
                       [&uploaded](bool success, const auto&) { uploaded.set_value(success); });
  const auto sent = std::chrono::steady_clock::now();  // the form is complete
  const double reading = secondsSince(begin);
  if (!uploaded.get_future().get()) return std::nullopt;
  return UploadTime{reading, secondsSince(sent)};
}

// For comparison: curl sends the same file to the same server, reading it while it sends. "Expect:
// 100-continue" is turned off, because the server does not answer it. No value if curl fails.
std::optional<double> uploadWithCurl(const std::string& url, const std::string& path) {
  const std::string command =
      "curl --silent --fail --output /dev/null --header Expect: --form 'package_file=@" + path +
      "' " + url + "/upload_package.php";
  const auto begin = std::chrono::steady_clock::now();
  if (std::system(command.c_str()) != 0) return std::nullopt;
  return secondsSince(begin);
}

// The time of a round is that of the client, from the call to the answer; curl follows in each
// round. The peak is the memory above that of the process before the first round; curl is another
// process.
void UploadFile(benchmark::State& state) {
  const std::string path = largeFile().path();
  const Sink sink;
  std::ofstream("/proc/self/clear_refs") << "5";  // resets the peak (VmHWM)
  const double before = memory("VmRSS");
  UploadTime ours;
  double curls = 0;
  for (auto round : state) {
    const auto time = upload(sink.url(), path);
    const auto curl = uploadWithCurl(sink.url(), path);
    if (!time || !curl) {
      state.SkipWithError("the file was not accepted");
      break;
    }
    state.SetIterationTime(time->reading + time->sending);
    ours.reading += time->reading;
    ours.sending += time->sending;
    curls += *curl;
  }
  const auto bytes = static_cast<double>(state.iterations() * kFileSize);
  const double whole = ours.reading + ours.sending;
  state.counters["peak_per_size"] = (memory("VmHWM") - before) / kFileSize;
  state.counters["bytes_per_second_with_reading"] = bytes / whole;
  state.counters["bytes_per_second_sending_only"] = bytes / ours.sending;
  state.counters["bytes_per_second_curl"] = bytes / curls;
  state.counters["of_curl_with_reading"] = curls / whole;
  state.counters["of_curl_sending_only"] = curls / ours.sending;
}

BENCHMARK(UploadFile)->Unit(benchmark::kMillisecond)->UseManualTime()->Iterations(5);

}  // namespace
}  // namespace tolvane
