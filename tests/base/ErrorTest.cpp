// SPDX-License-Identifier: MIT
#include <cerrno>

#include "base/Error.h"

namespace tolvane {
namespace {

TEST(Error, AnErrnoHasTheSystemsOwnWords) {
  EXPECT_EQ(posixError(ENOENT), (Error{"NSPOSIXErrorDomain", ENOENT, "No such file or directory"}));
}

TEST(Error, ItStandsInALineWithDomainCodeAndDescription) {
  EXPECT_EQ(describe(Error{"Domain", -5, "It failed."}),
            "Error Domain=Domain Code=-5 \"It failed.\"");
  EXPECT_EQ(describe(std::optional<Error>()), "(null)");
}

TEST(Error, ItSpeaksForItselfWhereItHasWords) {
  EXPECT_EQ(descriptionOr(Error{"Domain", 1, "It failed."}, "Unknown error"), "It failed.");
  EXPECT_EQ(descriptionOr(Error{"Domain", 1, ""}, "Unknown error"), "Unknown error");
  EXPECT_EQ(descriptionOr(std::nullopt, "Unknown error"), "Unknown error");
}

}  // namespace
}  // namespace tolvane
