// SPDX-License-Identifier: MIT
#include <cerrno>
#include <cstring>

#include "base/Error.h"

namespace tolvane {
namespace {

TEST(Error, AnErrnoHasTheSentenceOfStrerror) {
  EXPECT_EQ(posixError(ENOENT), (Error{"NSPOSIXErrorDomain", ENOENT, std::strerror(ENOENT)}));
}

TEST(Error, ALineOfTheLogHasDomainCodeAndDescription) {
  EXPECT_EQ(describe(Error{"Domain", -5, "It failed."}),
            "Error Domain=Domain Code=-5 \"It failed.\"");
  EXPECT_EQ(describe(std::optional<Error>()), "(null)");
}

TEST(Error, AnEmptyDescriptionIsReplaced) {
  EXPECT_EQ(descriptionOr(Error{"Domain", 1, "It failed."}, "Unknown error"), "It failed.");
  EXPECT_EQ(descriptionOr(Error{"Domain", 1, ""}, "Unknown error"), "Unknown error");
  EXPECT_EQ(descriptionOr(std::nullopt, "Unknown error"), "Unknown error");
}

}  // namespace
}  // namespace tolvane
