// SPDX-License-Identifier: MIT
#include "tests/ui/support/ArchiveWindow.h"

namespace tolvane {
namespace {

using testing::ElementsAre;
using testing::IsEmpty;
using testing::Pair;

// Packages of an Installer 4 repository, whose ZIP is retrieved through an information list.
class ArchiveInstaller4 : public ArchiveWindow {
 protected:
  // The repository has one package, of the information list a.plist, which names this file.
  void loadRepositoryOf(const std::string& zip) {
    server.on("/repo/info/index.plist",
              respond(200,
                      "{ packages = ({ identifier = \"org.example.a\"; name = A; version = \"1.0\";"
                      " url = \"" +
                          infoURL() + "\"; }); }"));
    server.on("/repo/info/a.plist",
              respond(200, "{ location = \"" + server.url("/repo/" + zip) + "\"; }"));
    server.on("/repo/" + zip, respond(200, "PK"));
    choose("Installer 4");
    fetch(repository());
    awaitFetch();
    ASSERT_EQ(status(), "Found 1 packages.");
    lacks({entry("org.example.a", "1.0")});
    forgetTexts();
  }
  std::string infoURL() const { return server.url("/repo/info/a.plist"); }
};

TEST_F(ArchiveInstaller4, UploadsTheZIPUnderTheNameThatTheQueueFindsItBy) {
  loadRepositoryOf("a.zip");
  Gate gate;
  archive.answer(kUpload, heldBy(gate, respond(200, kUploaded)));
  archiveUntilStatus("Uploading 1 / 1");
  EXPECT_THAT(cached(), ElementsAre("a.zip"));
  gate.open();
  runUntilStatus("Archive complete. Uploaded: 1  Failed: 0");
  EXPECT_TRUE(consoleHas("success: Downloaded Installer 4 package: a.zip"));
  EXPECT_EQ(newConsoleLines()[newConsoleLines().size() - 2], "success: Uploaded a.zip");
  ASSERT_EQ(uploads().size(), 1u);
  EXPECT_THAT(
      uploads()[0].fields,
      ElementsAre(Pair("repository_url", repository()), Pair("repository_type", "Installer4"),
                  Pair("identifier", "org.example.a"), Pair("version", "1.0"), Pair("name", "A"),
                  Pair("filename", "a.zip"), Pair("size", ""), Pair("original_url", infoURL())));
  EXPECT_EQ(uploads()[0].file, "PK");
  EXPECT_THAT(cached(), IsEmpty());
}

TEST_F(ArchiveInstaller4, SkipsTheDownloadOfACachedZIPAndUploadsIt) {
  loadRepositoryOf("a.zip");
  archive.answer(kUpload, inTurn({respond(500, ""), respond(200, kUploaded)}));
  archiveAll();
  EXPECT_THAT(cached(), ElementsAre("a.zip"));
  forgetTexts();
  const auto requests = server.targets().size();
  archiveAll();
  EXPECT_EQ(server.targets().size(), requests);
  // The scan looks for another name, so the run is what finds the ZIP.
  EXPECT_THAT(
      consoleLinesAfter("success: Central archive upload token received."),
      ElementsAre("info: Central archive: 0 package(s) already cached locally.",
                  "info: Downloading 1 package(s) for archival...",
                  "info: Starting download queue: 1 package(s)",
                  "success: Skipped existing file: a.zip",
                  "success: Archive download complete. Downloaded: 0  Failed: 0  "
                  "Validation failed: 0",
                  "info: Starting upload of 1 archived package(s).",
                  "info: Download queue finished. Downloaded: 0  Verified: 0  Failed: 0  "
                  "Validation failed: 0  Skipped: 1",
                  "success: Uploaded a.zip", "success: Archive complete. Uploaded: 1  Failed: 0"));
  ASSERT_EQ(uploads().size(), 2u);
  EXPECT_EQ(uploads()[1].file, "PK");
  EXPECT_THAT(cached(), IsEmpty());
}

TEST_F(ArchiveInstaller4, DoesNotFindAZIPOfAnotherNameThanItsInformationList) {
  loadRepositoryOf("another.zip");
  archiveAll();
  EXPECT_EQ(status(), "Archive complete. Uploaded: 0  Failed: 1");
  EXPECT_TRUE(consoleHas("error: Missing local file for upload: a.zip"));
  EXPECT_THAT(cached(), ElementsAre("another.zip"));
}

}  // namespace
}  // namespace tolvane
