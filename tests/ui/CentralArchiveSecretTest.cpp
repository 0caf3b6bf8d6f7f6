// SPDX-License-Identifier: MIT
#include <QDir>
#include <QFile>

#include "base/Configuration.h"
#include "base/File.h"
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
  const std::string path = Configuration::current().defaultsPath;
  const std::string home = qEnvironmentVariable("XDG_CONFIG_HOME").toStdString();
  ASSERT_TRUE(path.starts_with(home));
  QDir().mkpath(QString::fromStdString(folderOf(path)));
  QFile file(QString::fromStdString(path));
  ASSERT_TRUE(file.open(QIODevice::WriteOnly));
  file.write(listWith("hush").c_str());
  file.setPermissions(QFile::ReadOwner | QFile::WriteOwner);
  file.close();
  EXPECT_TRUE(ViewController::centralArchiveIsConfigured());
  const ViewController other(queue, dialogs);
  file.remove();
  // The client keeps what it was made with.
  EXPECT_FALSE(ViewController::centralArchiveIsConfigured());
  EXPECT_EQ(other.centralArchiveClient().apiSecret(), "hush");
  EXPECT_EQ(other.centralArchiveClient().apiBaseURL(), centralArchiveBaseURL());
}

}  // namespace
}  // namespace tolvane
