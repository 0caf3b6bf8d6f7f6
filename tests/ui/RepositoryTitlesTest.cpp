// SPDX-License-Identifier: MIT
#include <gtest/gtest.h>

#include "ui/RepositoryTitles.h"

namespace tolvane {
namespace {

TEST(RepositoryTitles, EachTitleNamesItsKind) {
  EXPECT_EQ(kindOfTitle("Cydia / APT"), RepositoryKind::apt);
  EXPECT_EQ(kindOfTitle("Auto-detect"), RepositoryKind::automatic);
  EXPECT_EQ(kindOfTitle("Installer 4"), RepositoryKind::installer4);
  EXPECT_EQ(kindOfTitle("Installer 3"), RepositoryKind::installer3);
}

TEST(RepositoryTitles, AnyOtherTitleIsAPT) {
  for (const char* unknown : {"", "installer 3", "Installer 5"}) {
    EXPECT_EQ(kindOfTitle(unknown), RepositoryKind::apt) << unknown;
  }
}

}  // namespace
}  // namespace tolvane
