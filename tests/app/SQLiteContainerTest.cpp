// SPDX-License-Identifier: MIT
#include <filesystem>
#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <sqlite3.h>
#include <sys/stat.h>

#include "app/SQLiteContainer.h"
#include "tests/support/TemporaryFolder.h"

namespace tolvane {
namespace {

namespace fs = std::filesystem;

// A change that can be undone.
void change(ObjectContext& context) {
  context.undoManager().push(new QUndoCommand("Change"));
}

TEST(SQLiteContainer, MakesItsFileAndTheFoldersAboveItWhenItIsLoaded) {
  const TemporaryFolder folder;
  SQLiteContainer container("Tolvane", folder.path("data/Tolvane"));
  EXPECT_EQ(container.name(), "Tolvane");
  EXPECT_FALSE(fs::exists(container.path()));
  ASSERT_FALSE(container.loadPersistentStores());
  EXPECT_EQ(container.path(), folder.path("data/Tolvane/Tolvane.sqlite"));
  EXPECT_TRUE(folder.read("data/Tolvane/Tolvane.sqlite").starts_with("SQLite format 3"));
}

TEST(SQLiteContainer, HoldsNothing) {
  const TemporaryFolder folder;
  SQLiteContainer container("Tolvane", folder.path());
  ASSERT_FALSE(container.loadPersistentStores());
  sqlite3* database = nullptr;
  ASSERT_EQ(sqlite3_open(container.path().c_str(), &database), SQLITE_OK);
  int tables = 0;
  const auto count = [](void* counter, int, char**, char**) {
    return ++*static_cast<int*>(counter), 0;
  };
  EXPECT_EQ(sqlite3_exec(database, "SELECT name FROM sqlite_master", count, &tables, nullptr),
            SQLITE_OK);
  EXPECT_EQ(tables, 0);
  sqlite3_close(database);
}

TEST(SQLiteContainer, LoadsAStoreThatIsThereAlready) {
  const TemporaryFolder folder;
  EXPECT_FALSE(SQLiteContainer("Tolvane", folder.path()).loadPersistentStores());
  EXPECT_FALSE(SQLiteContainer("Tolvane", folder.path()).loadPersistentStores());
}

TEST(SQLiteContainer, AFileThatIsNoDatabaseCannotBeLoaded) {
  const TemporaryFolder folder;
  folder.write("Tolvane.sqlite", std::string(4096, 'x'));
  SQLiteContainer container("Tolvane", folder.path());
  const auto failure = container.loadPersistentStores();
  ASSERT_TRUE(failure);
  EXPECT_EQ(failure->error.domain, "NSSQLiteErrorDomain");
  EXPECT_EQ(failure->error.code, SQLITE_NOTADB);
  EXPECT_THAT(failure->userInfo, testing::HasSubstr(container.path()));
}

TEST(SQLiteContainer, AFolderInTheFilesPlaceCannotBeLoaded) {
  const TemporaryFolder folder;
  fs::create_directory(folder.path("Tolvane.sqlite"));
  SQLiteContainer container("Tolvane", folder.path());
  const auto failure = container.loadPersistentStores();
  ASSERT_TRUE(failure);
  EXPECT_EQ(failure->error.code, SQLITE_CANTOPEN);
}

TEST(SQLiteContainer, HasChangesFromTheFirstOneToTheSave) {
  const TemporaryFolder folder;
  SQLiteContainer container("Tolvane", folder.path());
  ASSERT_FALSE(container.loadPersistentStores());
  ObjectContext& context = container.mainContext();
  EXPECT_TRUE(context.commitEditing());
  EXPECT_FALSE(context.hasChanges());
  change(context);
  EXPECT_TRUE(context.hasChanges());
  EXPECT_FALSE(context.save());
  EXPECT_FALSE(context.hasChanges());
}

TEST(SQLiteContainer, ASaveFailsWhileAnotherProgramHoldsTheFileAndKeepsTheChanges) {
  const TemporaryFolder folder;
  SQLiteContainer container("Tolvane", folder.path());
  ASSERT_FALSE(container.loadPersistentStores());
  sqlite3* other = nullptr;
  ASSERT_EQ(sqlite3_open(container.path().c_str(), &other), SQLITE_OK);
  ASSERT_EQ(sqlite3_exec(other, "BEGIN EXCLUSIVE", nullptr, nullptr, nullptr), SQLITE_OK);
  change(container.mainContext());
  const auto error = container.mainContext().save();
  ASSERT_TRUE(error);
  EXPECT_EQ(*error, (Error{"NSSQLiteErrorDomain", SQLITE_BUSY, "database is locked"}));
  EXPECT_TRUE(container.mainContext().hasChanges());
  sqlite3_close(other);
  EXPECT_FALSE(container.mainContext().save());
}

}  // namespace
}  // namespace tolvane
