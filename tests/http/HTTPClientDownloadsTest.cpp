// SPDX-License-Identifier: MIT
#include <cerrno>
#include <cstring>
#include <filesystem>
#include <sys/stat.h>
#include <unistd.h>

#include "tests/http/HTTPClientFixture.h"
#include "tests/support/SmallDisk.h"

namespace tolvane {

namespace {

using std::chrono::milliseconds;

// Even the super-user makes no files here.
const std::string kNoFolderForFiles = "/proc/self";

class HTTPClientFiles : public HTTPClientFixture {
 protected:
  DownloadReply downloadInto(const std::string& folder, const std::string& path = "/file",
                             const HTTPOptions& configuration = {}) const {
    return await(startDownload(*session(configuration), request(server_.url(path)), folder));
  }

  static Error posix(int code, std::string description) {
    return {"NSPOSIXErrorDomain", code, std::move(description)};
  }
};

TEST_F(HTTPClientFiles, CanBeMovedIntoTheFolderWhenTheyAreWhole) {
  server_.on("/file", respond(200, "bytes"));
  DownloadReply reply = downloadInto(folder_.path());
  EXPECT_EQ(reply.file.moveTo(folder_.path("package.deb")), std::nullopt);
  EXPECT_EQ(folder_.names(), std::vector<std::string>{"package.deb"});
  EXPECT_EQ(folder_.read("package.deb"), "bytes");
}

TEST_F(HTTPClientFiles, LeaveNothingBehindWhenNobodyMovesThem) {
  server_.on("/file", respond(200, "bytes"));
  downloadInto(folder_.path());
  EXPECT_EQ(folder_.names(), std::vector<std::string>{});
}

TEST_F(HTTPClientFiles, HaveNoVisibleNameWhileTheyAreUnderWay) {
  Gate gate;
  server_.on("/file",
             heldBy(gate, sendRaw("rest"), responseHead(200, {{"Content-Length", "8"}}) + "half"));
  auto reply = startDownload(*session(), request(server_.url("/file")), folder_.path());
  ASSERT_TRUE(eventually([&] { return server_.requestsInFlight() == 1; }));
  std::this_thread::sleep_for(milliseconds(50));
  for (const std::string& name : folder_.names()) EXPECT_TRUE(name.starts_with(".")) << name;
  gate.open();
  DownloadReply finished = await(std::move(reply));
  for (const std::string& name : folder_.names()) EXPECT_TRUE(name.starts_with(".")) << name;
  EXPECT_EQ(bytesOf(finished), "halfrest");
  EXPECT_EQ(folder_.names(), std::vector<std::string>{});
}

TEST_F(HTTPClientFiles, WaitInTheNearestFolderWhileTheirsDoesNotExist) {
  server_.on("/file", respond(200, "bytes"));
  DownloadReply reply = downloadInto(folder_.path("new/folder"));
  EXPECT_EQ(reply.error, std::nullopt) << describe(reply.error);
  EXPECT_FALSE(std::filesystem::exists(folder_.path("new")));
  std::filesystem::create_directories(folder_.path("new/folder"));
  EXPECT_EQ(reply.file.moveTo(folder_.path("new/folder/package.deb")), std::nullopt);
  EXPECT_EQ(folder_.read("new/folder/package.deb"), "bytes");
}

TEST_F(HTTPClientFiles, CannotBeMovedWhereAFileStandsInPlaceOfTheFolder) {
  server_.on("/file", respond(200, "bytes"));
  const std::string inTheWay = folder_.write("file", "precious");
  for (const std::string& folder : {inTheWay, inTheWay + "/below"}) {
    DownloadReply reply = downloadInto(folder);
    EXPECT_EQ(reply.file.moveTo(folder + "/package.deb"), posix(ENOTDIR, "Not a directory"));
  }
  EXPECT_EQ(folder_.names(), std::vector<std::string>{"file"});
  EXPECT_EQ(folder_.read("file"), "precious");
}

TEST_F(HTTPClientFiles, FailInAFolderThatTakesNone) {
  if (!std::filesystem::exists(kNoFolderForFiles)) GTEST_SKIP() << "there is no /proc";
  server_.on("/file", respond(200, "bytes"));
  server_.on("/empty", respond(200, ""));
  for (const char* path : {"/file", "/empty"}) {
    const DownloadReply reply = downloadInto(kNoFolderForFiles, path);
    ASSERT_TRUE(reply.error) << path;
    EXPECT_EQ(reply.error->domain, kPOSIXErrorDomain) << path;
    EXPECT_EQ(reply.error->description, std::strerror(reply.error->code)) << path;
    EXPECT_EQ(reply.status(), 200) << path;
    EXPECT_FALSE(reply.file.isOpen()) << path;
  }
}

TEST_F(HTTPClientFiles, FailInAFolderThatCannotBeWritten) {
  if (geteuid() == 0) GTEST_SKIP() << "the super-user may write anywhere";
  server_.on("/file", respond(200, "bytes"));
  chmod(folder_.path().c_str(), 0500);
  const DownloadReply reply = downloadInto(folder_.path());
  chmod(folder_.path().c_str(), 0700);
  EXPECT_EQ(reply.error, posix(EACCES, "Permission denied")) << describe(reply.error);
  EXPECT_FALSE(reply.file.isOpen());
}

TEST_F(HTTPClientFiles, FailOnAFullDiskAndGiveTheRoomBack) {
  const SmallDisk disk(65536);
  if (!disk.isMounted()) GTEST_SKIP() << "mounting a small file system is not allowed here";
  server_.on("/large", respond(200, std::string(1'000'000, 'x')));
  server_.on("/file", respond(200, "bytes"));
  const DownloadReply reply = downloadInto(disk.folder().path(), "/large");
  EXPECT_EQ(reply.error, posix(ENOSPC, "No space left on device")) << describe(reply.error);
  EXPECT_EQ(reply.status(), 200);
  EXPECT_FALSE(reply.file.isOpen());
  EXPECT_EQ(disk.folder().names(), std::vector<std::string>{});
  EXPECT_EQ(downloadInto(disk.folder().path(), "/file").error, std::nullopt);
}

TEST_F(HTTPClientFiles, ThatCannotBeWrittenDoNotHoldUpTheirHost) {
  if (!std::filesystem::exists(kNoFolderForFiles)) GTEST_SKIP() << "there is no /proc";
  server_.onAnyOther(respond(200, std::string(100'000, 'x')));
  const auto session = this->session();
  std::vector<std::future<DownloadReply>> replies;
  for (int i = 0; i < 20; ++i) {
    replies.push_back(startDownload(*session, request(server_.url("/file")), kNoFolderForFiles));
  }
  auto last = startDownload(*session, request(server_.url("/file")), folder_.path());
  for (auto& reply : replies) EXPECT_TRUE(await(std::move(reply)).error);
  DownloadReply reply = await(std::move(last));
  EXPECT_EQ(bytesOf(reply).size(), 100'000u);
}

TEST_F(HTTPClientFiles, BodiesInMemoryEndAtALimit) {
  server_.on("/small", respond(200, std::string(1000, 'x')));
  server_.on("/large", respond(200, std::string(1001, 'x')));
  server_.on("/packed", respondGzipped(std::string(1'000'000, 'x')));
  server_.on("/chunked", respondChunked({std::string(600, 'x'), std::string(600, 'y')}));
  HTTPOptions configuration;
  configuration.maximumBodySize = 1000;
  EXPECT_EQ(get(server_.url("/small"), configuration).body.size(), 1000u);
  for (const char* path : {"/large", "/packed", "/chunked"}) {
    const DataReply reply = get(server_.url(path), configuration);
    ASSERT_TRUE(reply.error) << path;
    EXPECT_EQ(reply.error->domain, kURLErrorDomain) << path;
    EXPECT_EQ(reply.error->code, kURLErrorDataLengthExceedsMaximum) << path;
    EXPECT_EQ(reply.status(), 200) << path;
  }
}

TEST_F(HTTPClientFiles, AreNotBoundByTheLimitForMemory) {
  server_.on("/large", respond(200, std::string(1001, 'x')));
  HTTPOptions configuration;
  configuration.maximumBodySize = 1000;
  DownloadReply reply = download(server_.url("/large"), configuration);
  EXPECT_EQ(bytesOf(reply).size(), 1001u);
}

}  // namespace

}  // namespace tolvane
