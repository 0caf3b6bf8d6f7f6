// SPDX-License-Identifier: MIT
#include <cerrno>
#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include "cli/DestinationGate.h"

namespace tolvane {
namespace {

std::optional<std::string> closeFor(DestinationGate& gate, const std::optional<Error>& error,
                                    const std::string& localPath = "") {
  return gate.closeFor({PackageEntry(), {std::nullopt, std::nullopt, localPath}, false, error});
}

TEST(DestinationGate, IsClosedOnceByAFolderThatTakesNoFiles) {
  for (const int code : {ENOSPC, EDQUOT, EROFS, EACCES, EPERM}) {
    DestinationGate gate;
    EXPECT_EQ(gate.refusal(), std::nullopt);
    const Error error = posixError(code);
    EXPECT_EQ(closeFor(gate, error), error.description);
    EXPECT_EQ(gate.refusal(), (Error{error.domain, code, "not tried: " + error.description}));
    EXPECT_EQ(closeFor(gate, error), std::nullopt);
    EXPECT_EQ(closeFor(gate, gate.refusal()), std::nullopt);
  }
}

TEST(DestinationGate, StaysOpenForWhatIsWrongWithOneFileAlone) {
  DestinationGate gate;
  for (const int code : {EISDIR, ENAMETOOLONG, EFBIG, EIO, EMFILE}) {
    EXPECT_EQ(closeFor(gate, posixError(code)), std::nullopt);
  }
  EXPECT_EQ(closeFor(gate, Error{std::string(kURLErrorDomain), ENOSPC, "x"}), std::nullopt);
  EXPECT_EQ(closeFor(gate, std::nullopt), std::nullopt);
  EXPECT_EQ(closeFor(gate, posixError(ENOSPC), "a file that was saved"), std::nullopt);
  EXPECT_EQ(gate.refusal(), std::nullopt);
}

}  // namespace
}  // namespace tolvane
