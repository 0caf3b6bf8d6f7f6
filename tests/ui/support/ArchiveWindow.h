// SPDX-License-Identifier: MIT
#pragma once

#include <QDir>
#include <algorithm>
#include <nlohmann/json.hpp>

#include "archive_client/CentralArchiveClient.h"
#include "tests/support/CentralArchiveServer.h"
#include "tests/ui/support/Workflow.h"

namespace tolvane {

inline constexpr const char* kCheck = "check_repo.php";
inline constexpr const char* kToken = "request_upload_token.php";
inline constexpr const char* kUpload = "upload_package.php";

inline constexpr const char* kUploaded = R"({"ok":true})";

inline std::string entry(const std::string& identifier, const std::string& version = "1") {
  return R"({"identifier":")" + identifier + R"(","version":")" + version + R"("})";
}

// A window with a repository and a central archive, each on a server of its own.
class ArchiveWindow : public Workflow {
 protected:
  ArchiveWindow() {
    controller.centralArchiveClient().setApiBaseURL(archive.baseURL());
    controller.centralArchiveClient().setApiSecret("a-secret");
  }
  ~ArchiveWindow() override { QDir(toQString(cache)).removeRecursively(); }

  // What the archive says it lacks: JSON entries.
  void lacks(const std::vector<std::string>& entries) {
    std::string list;
    for (const std::string& one : entries) list += (list.empty() ? "" : ",") + one;
    archive.answer(kCheck, respond(200, R"({"ok":true,"missing_packages":[)" + list + "]}"));
  }

  void check() {
    press(c.checkArchiveButton);
    runUntil([&] { return status() != "Checking central archive..."; });
  }

  // From the click to the last line.
  void archiveAll() {
    check();
    answer(0);
    runUntil([&] { return status().starts_with("Archive complete."); });
  }

  // From the click to this status, past the question.
  void archiveUntilStatus(const std::string& text) {
    check();
    answer(0);
    runUntilStatus(text);
  }

  // Blocks the main thread until this is logged, and a little longer, so that what must not follow
  // has time to come.
  void standStillUntil(const std::string& report) const {
    const auto end = std::chrono::steady_clock::now() + kPatience;
    const auto isLogged = [&] {
      const auto reports = log.reports();
      return std::find(reports.begin(), reports.end(), report) != reports.end();
    };
    while (!isLogged() && std::chrono::steady_clock::now() < end) {
      std::this_thread::sleep_for(std::chrono::milliseconds(1));
    }
    ASSERT_TRUE(isLogged()) << report;
    std::this_thread::sleep_for(std::chrono::milliseconds(50));
  }

  std::vector<std::string> consoleLinesAfter(const std::string& line) const {
    auto lines = newConsoleLines();
    const auto found = std::find(lines.begin(), lines.end(), line);
    EXPECT_NE(found, lines.end()) << line;
    if (found != lines.end()) lines.erase(lines.begin(), found + 1);
    return lines;
  }

  std::vector<ArchiveRequest> uploads() const {
    auto requests = archive.requests();
    std::erase_if(requests, [](const ArchiveRequest& request) { return request.fields.empty(); });
    return requests;
  }

  std::vector<std::string> pages() const {
    std::vector<std::string> pages;
    for (const ArchiveRequest& request : archive.requests()) {
      EXPECT_EQ(request.fault, "");
      pages.push_back(request.sent.target.substr(request.sent.target.rfind('/') + 1));
    }
    return pages;
  }

  std::vector<std::string> cached() const {
    std::vector<std::string> names;
    for (const QString& name : QDir(toQString(cache)).entryList(QDir::Files, QDir::Name)) {
      names.push_back(toText(name));
    }
    return names;
  }

  void putIntoCache(const ServedPackage& package) const {
    QFile file(toQString(cache + "/" + package.filename()));
    ASSERT_TRUE(file.open(QIODevice::WriteOnly));
    file.write(package.bytes.data(), static_cast<qint64>(package.bytes.size()));
  }

  // The archive's lines of the system log that are not the client's.
  std::vector<std::string> workflowLines() const {
    auto lines = systemLines("[CentralArchive]");
    std::erase_if(lines, [](const std::string& line) {
      for (const char* clients :
           {"Check endpoint:", "Repository URL:", "Repository type:", "Package count:",
            "JSON body size:", "HTTP status:", "Response bytes:", "Missing package count",
            "Upload token HTTP status:", "Upload HTTP status:", "Upload response bytes:",
            "Uploading "}) {
        if (line.starts_with(std::string("[CentralArchive] ") + clients)) return true;
      }
      return false;
    });
    return lines;
  }

  // The console lines of an archive that lacks one package, from the click to the lines of its
  // download, and then.
  std::vector<std::string> linesOf(const ServedPackage& package,
                                   const std::vector<std::string>& andThen) const {
    const std::string bytes = std::to_string(archive.requests()[0].sent.body.size());
    std::vector<std::string> lines = {
        "info: Checking central archive...",
        "info: Checking central archive: 1 package(s)",
        "info: Central archive check request prepared (" + bytes + " bytes)",
        "info: Central archive check HTTP status: 200",
        "success: Central archive check complete. Missing package(s): 1",
        "info: 1 package(s) are not yet archived.",
        "info: Requesting central archive upload token...",
        "info: Requesting upload token for 1 package(s)",
        "success: Upload token received.",
        "success: Central archive upload token received.",
        "info: Central archive: 0 package(s) already cached locally.",
        "info: Downloading 1 package(s) for archival...",
        "info: Starting download queue: 1 package(s)",
        "info: Downloading: " + address(package)};
    lines.insert(lines.end(), andThen.begin(), andThen.end());
    return lines;
  }

  CentralArchiveServer archive;
  const std::string cache = ViewController::centralArchiveTemporaryFolder();
};

}  // namespace tolvane
