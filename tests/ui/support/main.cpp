// SPDX-License-Identifier: MIT
#include <QApplication>
#include <gtest/gtest.h>

#include "tests/support/TemporaryFolder.h"

// The window's tests need an application, no screen, and none of the user's settings.
int main(int argc, char** argv) {
  testing::InitGoogleTest(&argc, argv);
  const tolvane::TemporaryFolder home;
  for (const char* folder : {"HOME", "XDG_CONFIG_HOME", "XDG_DATA_HOME", "XDG_CACHE_HOME"}) {
    qputenv(folder, home.path().c_str());
  }
  if (!qEnvironmentVariableIsSet("QT_QPA_PLATFORM")) qputenv("QT_QPA_PLATFORM", "offscreen");
  // The ways of whatever desktop the tests run on must not matter.
  qunsetenv("QT_QPA_PLATFORMTHEME");
  qunsetenv("QT_STYLE_OVERRIDE");
  QApplication application(argc, argv);
  QApplication::setApplicationName(QStringLiteral("Tolvane"));
  return RUN_ALL_TESTS();
}
