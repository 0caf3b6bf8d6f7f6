// SPDX-License-Identifier: MIT
#include <algorithm>
#include <cerrno>
#include <chrono>
#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <thread>

#include "async/RunLoop.h"
#include "base/File.h"
#include "download/RepositoryMetadataArchiver.h"
#include "tests/download/QueueRun.h"
#include "tests/support/CompletionProbe.h"
#include "tests/support/LogRecorder.h"
#include "tests/support/LoopbackHandlers.h"
#include "tests/support/LoopbackServer.h"
#include "tests/support/ScriptedHTTPClient.h"
#include "tests/support/TemporaryFolder.h"

namespace tolvane {
namespace {

using testing::Contains;
using testing::ElementsAre;
using testing::ElementsAreArray;
using testing::IsEmpty;
using testing::SizeIs;
using testing::UnorderedElementsAre;

using Paths = RepositoryMetadataArchiver::Paths;

// What an archiving came to, and on which thread its completion ran.
struct Archiving {
  Paths archived;
  Paths missing;
  std::thread::id thread;
};

// The paths but for these, in their order.
Paths allPathsBut(const Paths& others) {
  Paths paths = RepositoryMetadataArchiver::candidatePaths();
  std::erase_if(paths, [&](const std::string& path) {
    return std::find(others.begin(), others.end(), path) != others.end();
  });
  return paths;
}

class RepositoryMetadataArchiverTest : public testing::Test {
 protected:
  void serve(const std::string& path, ScriptedAnswer answer) {
    session_.answer("http://repo.example/" + path, std::move(answer));
  }

  // The archiver is destroyed before its downloads end.
  Archiving archive(const std::string& folder, const HTTPClientFactory& factory,
                    const std::optional<URL>& url = URL::parse("http://repo.example")) {
    const CompletionProbe<Archiving> probe;
    RepositoryMetadataArchiver(loop_, factory)
        .archiveMetadataForRepositoryURL(
            url, folder, probe.completion([this](const Paths& archived, const Paths& missing) {
              loop_.quit();
              return Archiving{archived, missing, std::this_thread::get_id()};
            }));
    loop_.run();
    return probe.wait();
  }

  Archiving archive() { return archive(folder_.path(), session_.factory()); }

  const TemporaryFolder folder_;
  CountingRunLoop loop_;
  ScriptedHTTPClient session_;
  const LogRecorder log_;
};

TEST_F(RepositoryMetadataArchiverTest, TheCandidatesAreTwentyThreePathsInAFixedOrder) {
  EXPECT_THAT(
      RepositoryMetadataArchiver::candidatePaths(),
      ElementsAre("Packages", "Packages.gz", "Packages.bz2", "Packages.xz", "Release", "InRelease",
                  "Release.gpg", "CydiaIcon.png", "dists/stable/Release", "dists/stable/InRelease",
                  "dists/stable/Release.gpg", "dists/stable/main/binary-iphoneos-arm/Packages",
                  "dists/stable/main/binary-iphoneos-arm/Packages.gz",
                  "dists/stable/main/binary-iphoneos-arm/Packages.bz2",
                  "dists/stable/main/binary-iphoneos-arm/Packages.xz",
                  "dists/ios/main/binary-iphoneos-arm/Packages",
                  "dists/ios/main/binary-iphoneos-arm/Packages.gz",
                  "dists/ios/main/binary-iphoneos-arm/Packages.bz2",
                  "dists/ios/main/binary-iphoneos-arm/Packages.xz",
                  "dists/tangelo/main/binary-iphoneos-arm/Packages",
                  "dists/tangelo/main/binary-iphoneos-arm/Packages.gz",
                  "dists/tangelo/main/binary-iphoneos-arm/Packages.bz2",
                  "dists/tangelo/main/binary-iphoneos-arm/Packages.xz"));
}

TEST_F(RepositoryMetadataArchiverTest, AFlatRepositoryGivesWhatItHasAndMissesTheRest) {
  serve("Packages.gz", {.body = "gz"});
  serve("Release", {.body = "release"});
  const Archiving archiving = archive();
  EXPECT_THAT(archiving.archived, ElementsAre("Packages.gz", "Release"));
  EXPECT_THAT(archiving.missing, SizeIs(21));
  EXPECT_THAT(archiving.missing, ElementsAreArray(allPathsBut({"Packages.gz", "Release"})));
  EXPECT_EQ(folder_.read("Packages.gz"), "gz");
  EXPECT_EQ(folder_.read("Release"), "release");
  EXPECT_THAT(folder_.names(), ElementsAre("Packages.gz", "Release", "dists"));
}

TEST_F(RepositoryMetadataArchiverTest, TheOutcomeIsOneLineOfTheSystemLogAndNoMessage) {
  serve("Packages.gz", {.body = "gz"});
  serve("Release", {.body = "release"});
  archive();
  EXPECT_THAT(log_.lines(),
              ElementsAre("[Metadata] Archived 2 metadata files, 21 missing/failed."));
  EXPECT_THAT(log_.messages(), IsEmpty());
}

TEST_F(RepositoryMetadataArchiverTest, EveryFileIsSavedUnderItsRelativePath) {
  for (const std::string& path : RepositoryMetadataArchiver::candidatePaths()) {
    serve(path, {.body = "of " + path});
  }
  const Archiving archiving = archive();
  EXPECT_THAT(archiving.archived, SizeIs(23));
  EXPECT_THAT(archiving.missing, IsEmpty());
  for (const std::string& path : RepositoryMetadataArchiver::candidatePaths()) {
    EXPECT_EQ(folder_.read(path), "of " + path);
  }
  EXPECT_THAT(log_.lines(),
              ElementsAre("[Metadata] Archived 23 metadata files, 0 missing/failed."));
}

TEST_F(RepositoryMetadataArchiverTest, AMissingFileLeavesTheFolderThatWasMadeForIt) {
  archive();
  for (const char* suite : {"stable", "ios", "tangelo"}) {
    const std::string folder =
        folder_.path("dists/" + std::string(suite) + "/main/binary-iphoneos-arm");
    EXPECT_TRUE(fileExists(folder)) << folder;
    EXPECT_FALSE(fileExists(folder + "/Packages"));
  }
}

TEST_F(RepositoryMetadataArchiverTest, OnlyAStatusOfTheTwoHundredsIsSaved) {
  serve("Packages", {.status = 299, .body = "good"});
  serve("Packages.gz", {.status = 199, .body = "bad"});
  serve("Packages.bz2", {.status = 300, .body = "bad"});
  serve("Packages.xz", {.status = 500, .body = "bad"});
  EXPECT_THAT(archive().archived, ElementsAre("Packages"));
  EXPECT_THAT(folder_.names(), ElementsAre("Packages", "dists"));
}

TEST_F(RepositoryMetadataArchiverTest, ATransportErrorIsMissingWhateverTheStatus) {
  serve("Release", failingAnswer(kURLErrorTimedOut, "The request timed out."));
  serve("InRelease", {.body = "half", .error = Error{"NSURLErrorDomain", -1005, "It was lost."}});
  const Archiving archiving = archive();
  EXPECT_THAT(archiving.archived, IsEmpty());
  EXPECT_THAT(archiving.missing, SizeIs(23));
  EXPECT_THAT(folder_.names(), ElementsAre("dists"));
}

TEST_F(RepositoryMetadataArchiverTest, ASavedFileIsReplacedByANewOneOnly) {
  folder_.write("Release", "old");
  folder_.write("InRelease", "old");
  folder_.write("Packages", "old");
  serve("Release", {.body = "new"});
  serve("InRelease", {.body = "ne", .error = Error{"NSURLErrorDomain", -1005, "It was lost."}});
  archive();
  EXPECT_EQ(folder_.read("Release"), "new");
  EXPECT_EQ(folder_.read("InRelease"), "old");
  EXPECT_EQ(folder_.read("Packages"), "old");
}

TEST_F(RepositoryMetadataArchiverTest, AFolderInTheWayStaysWithAllThatIsInIt) {
  folder_.write("Release/kept", "old");
  serve("Release", {.body = "new"});
  const Archiving archiving = archive();
  EXPECT_THAT(archiving.archived, IsEmpty());
  EXPECT_THAT(archiving.missing, Contains("Release"));
  EXPECT_EQ(folder_.read("Release/kept"), "old");
}

TEST_F(RepositoryMetadataArchiverTest, AFileWhereAFolderShouldBeStaysAndMissesWhatBelongsThere) {
  folder_.write("dists", "old");
  serve("dists/stable/Release", {.body = "new"});
  serve("Release", {.body = "new"});
  EXPECT_THAT(archive().archived, ElementsAre("Release"));
  EXPECT_EQ(folder_.read("dists"), "old");
}

TEST_F(RepositoryMetadataArchiverTest, AFolderThatCannotBeMadeCompletesAtOnceWithTheReason) {
  folder_.write("file", "");
  Archiving archiving;
  RepositoryMetadataArchiver(loop_, session_.factory())
      .archiveMetadataForRepositoryURL(
          URL::parse("http://repo.example"), folder_.path("file/folder"),
          [&](const Paths& archived, const Paths& missing) {
            archiving = {archived, missing, std::this_thread::get_id()};
          });
  EXPECT_THAT(archiving.archived, IsEmpty());
  EXPECT_THAT(archiving.missing, ElementsAre(posixError(ENOTDIR).description));
  EXPECT_EQ(archiving.thread, std::this_thread::get_id());
  EXPECT_THAT(session_.requests(), IsEmpty());
  EXPECT_THAT(log_.lines(), IsEmpty());
}

TEST_F(RepositoryMetadataArchiverTest, AFolderIsMadeWithAllAboveIt) {
  serve("Release", {.body = "release"});
  archive(folder_.path("a/b"), session_.factory());
  EXPECT_EQ(folder_.read("a/b/Release"), "release");
}

TEST_F(RepositoryMetadataArchiverTest, AllFilesAreAskedForAtOnce) {
  session_.hold();
  RepositoryMetadataArchiver(loop_, session_.factory())
      .archiveMetadataForRepositoryURL(URL::parse("http://repo.example"), folder_.path(),
                                       [this](const Paths&, const Paths&) { loop_.quit(); });
  EXPECT_TRUE(session_.waitForRequests(23));
  session_.releaseAll();
  loop_.run();
  EXPECT_THAT(session_.requests(), SizeIs(23));
}

TEST_F(RepositoryMetadataArchiverTest, ASlashAtTheRepositorysEndMakesNoDifference) {
  archive();
  const std::vector<std::string> urls = session_.requestedURLs();
  archive(folder_.path(), session_.factory(), URL::parse("http://repo.example/"));
  EXPECT_THAT(urls, SizeIs(23));
  EXPECT_EQ(urls.front(), "http://repo.example/Packages");
  EXPECT_EQ(urls.back(), "http://repo.example/dists/tangelo/main/binary-iphoneos-arm/Packages.xz");
  const std::vector<std::string> both = session_.requestedURLs();
  EXPECT_EQ(std::vector<std::string>(both.begin() + 23, both.end()), urls);
}

TEST_F(RepositoryMetadataArchiverTest, ACandidatesPathIsAppendedToTheRepositorysURL) {
  const auto join = [](const char* path, const char* repository) {
    return absoluteText(
        RepositoryMetadataArchiver::URLForCandidatePath(path, URL::parse(repository)));
  };
  EXPECT_EQ(join("././Release", "http://repo.example/r"), "http://repo.example/r/Release");
  EXPECT_EQ(join("my release;", "http://repo.example/r/"), "http://repo.example/r/my%20release%3B");
  EXPECT_EQ(join("Release", "http://repo.example/r?k=v"), "http://repo.example/r?k=v/Release");
  EXPECT_EQ(join("Release", "no url"), "/Release");
}

TEST_F(RepositoryMetadataArchiverTest, WithoutAURLEverythingIsMissing) {
  EXPECT_THAT(archive(folder_.path(), session_.factory(), std::nullopt).missing,
              ElementsAreArray(RepositoryMetadataArchiver::candidatePaths()));
}

TEST_F(RepositoryMetadataArchiverTest, TheSessionAndItsRequestsAreThePlatformsDefault) {
  archive();
  ASSERT_THAT(session_.configurations(), SizeIs(1));
  const HTTPOptions configuration = session_.configurations()[0];
  EXPECT_EQ(configuration.timeoutIntervalForRequest, std::chrono::seconds(60));
  EXPECT_EQ(configuration.timeoutIntervalForResource, std::chrono::hours(7 * 24));
  for (const ScriptedRequest& request : session_.requests()) {
    EXPECT_EQ(request.kind, ScriptedRequest::Kind::download);
    EXPECT_THAT(request.headers, IsEmpty());
  }
  EXPECT_EQ(session_.requests().back().folder,
            folder_.path("dists/tangelo/main/binary-iphoneos-arm"));
}

TEST_F(RepositoryMetadataArchiverTest, TheCompletionRunsOnTheMainQueueAndNotBeforeTheLastFile) {
  bool completed = false;
  session_.hold();
  RepositoryMetadataArchiver(loop_, session_.factory())
      .archiveMetadataForRepositoryURL(URL::parse("http://repo.example"), folder_.path(),
                                       [&](const Paths&, const Paths&) { completed = true; });
  session_.release(22);
  loop_.drain();
  EXPECT_FALSE(completed);
  session_.releaseAll();
  ASSERT_TRUE(loop_.waitForPosts(1));
  EXPECT_FALSE(completed) << "not on the thread of the last file";
  loop_.drain();
  EXPECT_TRUE(completed);
  EXPECT_EQ(archive().thread, std::this_thread::get_id());
}

TEST_F(RepositoryMetadataArchiverTest, TheCompletionMayBeMissing) {
  RepositoryMetadataArchiver(loop_, session_.factory())
      .archiveMetadataForRepositoryURL(URL::parse("http://repo.example"), folder_.path(), {});
  ASSERT_TRUE(loop_.waitForPosts(1));
  loop_.drain();
  EXPECT_THAT(log_.lines(),
              ElementsAre("[Metadata] Archived 0 metadata files, 23 missing/failed."));
  folder_.write("file", "");
  RepositoryMetadataArchiver(loop_, session_.factory())
      .archiveMetadataForRepositoryURL(URL::parse("http://repo.example"),
                                       folder_.path("file/folder"), {});
}

TEST_F(RepositoryMetadataArchiverTest, SeveralArchivingsHaveListsOfTheirOwn) {
  serve("Release", {.body = "release"});
  std::vector<Paths> archivedLists;
  std::vector<std::size_t> missing;
  const RepositoryMetadataArchiver archiver(loop_, session_.factory());
  for (const char* url : {"http://repo.example", "http://other.example"}) {
    archiver.archiveMetadataForRepositoryURL(URL::parse(url), folder_.path(),
                                             [&](const Paths& archived, const Paths& missed) {
                                               archivedLists.push_back(archived);
                                               missing.push_back(missed.size());
                                               if (missing.size() == 2) loop_.quit();
                                             });
  }
  loop_.run();
  EXPECT_THAT(archivedLists, ElementsAre(ElementsAre("Release"), IsEmpty()));
  EXPECT_THAT(missing, ElementsAre(22, 23));
}

TEST_F(RepositoryMetadataArchiverTest, ARealFlatRepositoryIsSavedByteForByte) {
  LoopbackServer server;
  const std::string packed = gzipped("Package: a\n");
  server.on("/repo/Packages.gz", respond(200, packed, {{"Content-Encoding", "gzip"}}));
  server.on("/repo/Release", respond(200, "new"));
  server.on("/repo/InRelease", cutOff("new and long", 3));
  for (const char* name : {"Release", "InRelease", "Packages.xz"}) folder_.write(name, "old");

  const Archiving archiving =
      archive(folder_.path(), makeHTTPClient, URL::parse(server.url("/repo")));
  EXPECT_THAT(archiving.archived, UnorderedElementsAre("Packages.gz", "Release"));
  EXPECT_THAT(archiving.missing, SizeIs(21));
  EXPECT_EQ(folder_.read("Packages.gz"), packed);
  EXPECT_EQ(folder_.read("Release"), "new");
  EXPECT_EQ(folder_.read("InRelease"), "old");
  EXPECT_EQ(folder_.read("Packages.xz"), "old");
  EXPECT_THAT(log_.lines(),
              ElementsAre("[Metadata] Archived 2 metadata files, 21 missing/failed."));
  EXPECT_THAT(server.targets(), SizeIs(23));
}

TEST_F(RepositoryMetadataArchiverTest, TheListsAreInTheOrderInWhichTheDownloadsEnd) {
  LoopbackServer server;
  // The first that is asked for is answered only once the other is in the folder.
  server.on("/Packages", [this](const LoopbackRequest& request, LoopbackConnection& connection) {
    const auto end = std::chrono::steady_clock::now() + std::chrono::seconds(60);
    while (!fileExists(joinPath(folder_.path(), "Release"))) {
      if (std::chrono::steady_clock::now() > end) break;
      std::this_thread::sleep_for(std::chrono::milliseconds(1));
    }
    respond(200, "index")(request, connection);
  });
  server.on("/Release", respond(200, "release"));
  const Archiving archiving = archive(folder_.path(), makeHTTPClient, URL::parse(server.url("/")));
  EXPECT_THAT(archiving.archived, ElementsAre("Release", "Packages"));
  EXPECT_THAT(archiving.missing, SizeIs(21));
}

}  // namespace
}  // namespace tolvane
