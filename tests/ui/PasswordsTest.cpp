// SPDX-License-Identifier: MIT
// A password in the URL field is sent and stays in the field; nothing else shows it.
#include "tests/ui/support/Workflow.h"

namespace tolvane {
namespace {

using testing::Contains;
using testing::Each;
using testing::HasSubstr;
using testing::Not;

class Passwords : public Workflow {
 protected:
  // The repository's address with a user, as it is entered and as it is shown.
  std::string entered(const std::string& scheme = "http") const {
    return scheme + "://user:secret@" + repository().substr(7);
  }
  std::string shown(const std::string& scheme = "http") const {
    return scheme + "://user:***@" + repository().substr(7);
  }

  void expectNoPassword() const {
    EXPECT_THAT(consoleLines(), Each(Not(HasSubstr("secret"))));
    EXPECT_THAT(statuses.texts, Each(Not(HasSubstr("secret"))));
    EXPECT_THAT(log.allLines(), Each(Not(HasSubstr("secret"))));
  }
};

TEST_F(Passwords, StayInTheURLFieldAndAreNotShownByAFetch) {
  server.on("/repo/Packages", respond(200, "Package: a\nFilename: a.deb\n"));
  fetch(entered());
  awaitFetch();
  EXPECT_EQ(status(), "Found 1 packages.");
  EXPECT_TRUE(consoleHas("info: Fetching " + shown()));
  EXPECT_TRUE(consoleHas("success: Using package index: " + shown() + "Packages"));
  EXPECT_THAT(systemLines("[UI]"), Contains("[UI] URL entered: " + shown()));
  expectNoPassword();
  EXPECT_EQ(toText(c.repoURLField->text()), entered());
  EXPECT_EQ(controller.currentRepositoryURL()->absoluteString(), entered());
  EXPECT_EQ(server.requests().at(0).header("Authorization"), "Basic dXNlcjpzZWNyZXQ=");
}

TEST_F(Passwords, AreNotShownByTheQuestionForPlainHTTP) {
  fetch(entered("https"));
  awaitFetch();
  ASSERT_EQ(dialogs.shown.size(), 1u);
  EXPECT_THAT(dialogs.shown[0].alert.informativeText, testing::EndsWith("\n" + shown()));
  EXPECT_TRUE(consoleHas("warning: HTTPS failed. HTTP fallback available: " + shown()));
  answer(0);
  EXPECT_EQ(toText(c.repoURLField->text()), entered());
  awaitFetch();
  expectNoPassword();
}

TEST_F(Passwords, AreNotShownOfWhatIsNoURLEither) {
  for (const std::string text :
       {"http://user:secret secret@repo.example", "user:secret@repo.example",
        "http://user:sec/ret#secret@repo.example", "://user:secret@a"}) {
    fetch(text);
    EXPECT_EQ(status(), "Invalid repository URL.") << text;
    EXPECT_EQ(toText(c.repoURLField->text()), text);
  }
  EXPECT_TRUE(consoleHas("info: Fetching user:***@repo.example"));
  expectNoPassword();
}

}  // namespace
}  // namespace tolvane
