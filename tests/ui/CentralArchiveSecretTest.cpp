// SPDX-License-Identifier: MIT
#include <QDir>
#include <QFile>

#include "tests/ui/support/Window.h"

namespace tolvane {
namespace {

using Secret = Window;

std::string listWith(const std::string& secret) {
  return "<plist><dict><key>CentralArchiveAPISecret</key><string>" + secret +
         "</string></dict></plist>";
}

TEST_F(Secret, IsEmptyWhereNothingGivesOne) {
  EXPECT_EQ(ViewController::centralArchiveAPISecret(), "");
  EXPECT_FALSE(ViewController::centralArchiveIsConfigured());
  EXPECT_EQ(controller.centralArchiveClient().apiSecret(), "");
}

TEST_F(Secret, IsGivenToTheClientWhenTheViewLoads) {
  const UserDefaults defaults = UserDefaults::standardUserDefaults();
  const auto slash = defaults.path().rfind('/');
  const std::string home = qEnvironmentVariable("XDG_CONFIG_HOME").toStdString();
  ASSERT_TRUE(defaults.path().starts_with(home));
  QDir().mkpath(QString::fromStdString(defaults.path().substr(0, slash)));
  QFile file(QString::fromStdString(defaults.path()));
  ASSERT_TRUE(file.open(QIODevice::WriteOnly));
  file.write(listWith("hush").c_str());
  file.setPermissions(QFile::ReadOwner | QFile::WriteOwner);
  file.close();
  EXPECT_TRUE(ViewController::centralArchiveIsConfigured());
  const ViewController other(queue, sheets);
  file.remove();
  // The client keeps what it was made with.
  EXPECT_FALSE(ViewController::centralArchiveIsConfigured());
  EXPECT_EQ(other.centralArchiveClient().apiSecret(), "hush");
  EXPECT_EQ(other.centralArchiveClient().apiBaseURL(), centralArchiveBaseURL());
}

}  // namespace
}  // namespace tolvane
