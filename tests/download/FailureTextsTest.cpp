// SPDX-License-Identifier: MIT
#include <gtest/gtest.h>

#include "download/FailureTexts.h"

namespace tolvane {
namespace {

const Error kTelling{"Domain", 1, "The disk is on fire."};
const Error kSilent{"Domain", 1, ""};

TEST(FailureTexts, AreTheDescriptionOfTheError) {
  EXPECT_EQ(transferFailureText(kTelling), "Download failed: The disk is on fire.");
  EXPECT_EQ(moveFailureText(kTelling), "Could not move downloaded file: The disk is on fire.");
  EXPECT_EQ(validationFailureText(kTelling), "The disk is on fire.");
  EXPECT_EQ(destinationFailureText(kTelling), "The disk is on fire.");
  EXPECT_EQ(metadataFolderFailureText(kTelling), "The disk is on fire.");
}

TEST(FailureTexts, AreASentenceOfOursWithoutADescription) {
  EXPECT_EQ(transferFailureText(kSilent), "Download failed: Unknown error");
  EXPECT_EQ(moveFailureText(kSilent), "Could not move downloaded file: Unknown error");
  EXPECT_EQ(validationFailureText(kSilent), "Downloaded file failed validation.");
  EXPECT_EQ(destinationFailureText(kSilent), "Could not create destination directory.");
  EXPECT_EQ(metadataFolderFailureText(kSilent), "Could not create metadata directory.");
}

}  // namespace
}  // namespace tolvane
