// SPDX-License-Identifier: MIT
#include <cerrno>
#include <filesystem>
#include <sys/stat.h>
#include <unistd.h>

#include "tests/http/HTTPClientFixture.h"
#include "tests/support/SmallDisk.h"

namespace tolvane {

namespace {

using std::chrono::milliseconds;

// Not even root can make files in it.
const std::string kNoFolderForFiles = "/proc/self";

class HTTPClientDownloads : public HTTPClientFixture {
 protected:
  FileReply downloadInto(const std::string& folder, const std::string& path = "/file",
                         const HTTPOptions& options = {}) const {
    return await(startDownload(*client(options), request(server_.url(path)), folder));
  }
};

TEST_F(HTTPClientDownloads, CanBeMovedIntoTheirFolder) {
  server_.on("/file", respond(200, "bytes"));
  FileReply reply = downloadInto(folder_.path());
  EXPECT_EQ(reply.file.moveTo(folder_.path("package.deb")), std::nullopt);
  EXPECT_EQ(folder_.names(), std::vector<std::string>{"package.deb"});
  EXPECT_EQ(folder_.read("package.deb"), "bytes");
}

TEST_F(HTTPClientDownloads, LeaveNoFileWhenTheyAreNotMoved) {
  server_.on("/file", respond(200, "bytes"));
  downloadInto(folder_.path());
  EXPECT_EQ(folder_.names(), std::vector<std::string>{});
}

TEST_F(HTTPClientDownloads, HaveNoVisibleNameWhileTheyAreUnderWay) {
  Gate gate;
  server_.on("/file",
             heldBy(gate, sendRaw("rest"), responseHead(200, {{"Content-Length", "8"}}) + "half"));
  auto reply = startDownload(*client(), request(server_.url("/file")), folder_.path());
  ASSERT_TRUE(eventually([&] { return server_.requestsInFlight() == 1; }));
  std::this_thread::sleep_for(milliseconds(50));
  for (const std::string& name : folder_.names()) EXPECT_TRUE(name.starts_with(".")) << name;
  gate.open();
  FileReply finished = await(std::move(reply));
  for (const std::string& name : folder_.names()) EXPECT_TRUE(name.starts_with(".")) << name;
  EXPECT_EQ(bytesOf(finished), "halfrest");
  EXPECT_EQ(folder_.names(), std::vector<std::string>{});
}

TEST_F(HTTPClientDownloads, AreWrittenToTheNearestExistingFolder) {
  server_.on("/file", respond(200, "bytes"));
  FileReply reply = downloadInto(folder_.path("new/folder"));
  EXPECT_EQ(reply.error, std::nullopt) << describe(reply.error);
  EXPECT_FALSE(std::filesystem::exists(folder_.path("new")));
  std::filesystem::create_directories(folder_.path("new/folder"));
  EXPECT_EQ(reply.file.moveTo(folder_.path("new/folder/package.deb")), std::nullopt);
  EXPECT_EQ(folder_.read("new/folder/package.deb"), "bytes");
}

TEST_F(HTTPClientDownloads, CannotBeMovedWhereTheirFolderIsAFile) {
  server_.on("/file", respond(200, "bytes"));
  const std::string inTheWay = folder_.write("file", "precious");
  for (const std::string& folder : {inTheWay, inTheWay + "/below"}) {
    FileReply reply = downloadInto(folder);
    EXPECT_EQ(reply.file.moveTo(folder + "/package.deb"), posixError(ENOTDIR));
  }
  EXPECT_EQ(folder_.names(), std::vector<std::string>{"file"});
  EXPECT_EQ(folder_.read("file"), "precious");
}

TEST_F(HTTPClientDownloads, FailInAFolderThatTakesNoFiles) {
  if (!std::filesystem::exists(kNoFolderForFiles)) GTEST_SKIP() << "there is no /proc";
  server_.on("/file", respond(200, "bytes"));
  server_.on("/empty", respond(200, ""));
  for (const char* path : {"/file", "/empty"}) {
    const FileReply reply = downloadInto(kNoFolderForFiles, path);
    ASSERT_TRUE(reply.error) << path;
    EXPECT_EQ(reply.error->domain, kPOSIXErrorDomain) << path;
    EXPECT_EQ(reply.error, posixError(reply.error->code)) << path;
    EXPECT_EQ(reply.status(), 200) << path;
    EXPECT_FALSE(reply.file.isOpen()) << path;
  }
}

TEST_F(HTTPClientDownloads, FailInAFolderThatIsNotWritable) {
  if (geteuid() == 0) GTEST_SKIP() << "root may write anywhere";
  server_.on("/file", respond(200, "bytes"));
  chmod(folder_.path().c_str(), 0500);
  const FileReply reply = downloadInto(folder_.path());
  chmod(folder_.path().c_str(), 0700);
  EXPECT_EQ(reply.error, posixError(EACCES)) << describe(reply.error);
  EXPECT_FALSE(reply.file.isOpen());
}

TEST_F(HTTPClientDownloads, FailOnAFullDiskAndFreeItsSpace) {
  const SmallDisk disk(65536);
  if (!disk.isMounted()) GTEST_SKIP() << "mounting a small file system is not allowed here";
  server_.on("/large", respond(200, std::string(1'000'000, 'x')));
  server_.on("/file", respond(200, "bytes"));
  const FileReply reply = downloadInto(disk.folder().path(), "/large");
  EXPECT_EQ(reply.error, posixError(ENOSPC)) << describe(reply.error);
  EXPECT_EQ(reply.status(), 200);
  EXPECT_FALSE(reply.file.isOpen());
  EXPECT_EQ(disk.folder().names(), std::vector<std::string>{});
  EXPECT_EQ(downloadInto(disk.folder().path(), "/file").error, std::nullopt);
}

TEST_F(HTTPClientDownloads, ThatCannotBeWrittenDoNotBlockTheirServer) {
  if (!std::filesystem::exists(kNoFolderForFiles)) GTEST_SKIP() << "there is no /proc";
  server_.onAnyOther(respond(200, std::string(100'000, 'x')));
  const auto client = this->client();
  std::vector<std::future<FileReply>> replies;
  for (int i = 0; i < 20; ++i) {
    replies.push_back(startDownload(*client, request(server_.url("/file")), kNoFolderForFiles));
  }
  auto last = startDownload(*client, request(server_.url("/file")), folder_.path());
  for (auto& reply : replies) EXPECT_TRUE(await(std::move(reply)).error);
  FileReply reply = await(std::move(last));
  EXPECT_EQ(bytesOf(reply).size(), 100'000u);
}

}  // namespace

}  // namespace tolvane
