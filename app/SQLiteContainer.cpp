// SPDX-License-Identifier: MIT
#include "app/SQLiteContainer.h"

#include <QCoreApplication>
#include <QDir>
#include <fmt/format.h>
#include <sqlite3.h>
#include <utility>

#include "base/File.h"
#include "ui/Strings.h"

namespace tolvane {

namespace {

// Marks the file as this program's for tools such as file(1); the write also creates the file of an
// empty store.
constexpr const char* kMarkAsOurs = "PRAGMA application_id = 0x546f6c76";

// Does not wait for a lock: the store is saved while the user waits for the program to quit.
constexpr const char* kEmptyTransaction = "BEGIN IMMEDIATE; COMMIT";

std::optional<Error> execute(sqlite3* database, const char* statements) {
  const int code = sqlite3_exec(database, statements, nullptr, nullptr, nullptr);
  if (code == SQLITE_OK) return std::nullopt;
  Error error{std::string(kSQLiteErrorDomain), code, sqlite3_errmsg(database)};
  if (sqlite3_get_autocommit(database) == 0) {
    sqlite3_exec(database, "ROLLBACK", nullptr, nullptr, nullptr);
  }
  return error;
}

}  // namespace

class SQLiteContainer::Context : public ObjectContext {
 public:
  explicit Context(sqlite3* database) : database_(database) {
    // The first use may come on any thread; the undo stack is the main thread's.
    if (QCoreApplication::instance() != nullptr) {
      undoStack_.moveToThread(QCoreApplication::instance()->thread());
    }
  }

  // Nothing in the program edits the store's objects.
  bool commitEditing() override { return true; }
  bool hasChanges() const override { return !undoStack_.isClean(); }

  std::optional<Error> save() override {
    if (auto error = execute(database_, kEmptyTransaction)) return error;
    undoStack_.setClean();
    return std::nullopt;
  }

  QUndoStack& undoManager() override { return undoStack_; }

 private:
  sqlite3* database_;
  QUndoStack undoStack_;
};

SQLiteContainer::SQLiteContainer(std::string name, std::string folder)
    : name_(std::move(name)), folder_(std::move(folder)) {}

SQLiteContainer::~SQLiteContainer() = default;

void SQLiteContainer::CloseDatabase::operator()(sqlite3* database) const {
  sqlite3_close(database);
}

std::string SQLiteContainer::path() const {
  return joinPath(folder_, name_ + ".sqlite");
}

std::optional<PersistentContainer::LoadFailure> SQLiteContainer::loadPersistentStores() {
  QDir().mkpath(toQString(folder_));
  sqlite3* database = nullptr;
  const int code = sqlite3_open_v2(path().c_str(), &database,
                                   SQLITE_OPEN_READWRITE | SQLITE_OPEN_CREATE, nullptr);
  database_.reset(database);
  std::optional<Error> error;
  if (code != SQLITE_OK) {
    error = Error{std::string(kSQLiteErrorDomain), code, sqlite3_errstr(code)};
  } else {
    error = execute(database, kMarkAsOurs);
  }
  if (error) return LoadFailure{*error, fmt::format("{{path = \"{}\"}}", path())};
  context_ = std::make_unique<Context>(database);
  return std::nullopt;
}

ObjectContext& SQLiteContainer::mainContext() {
  return *context_;
}

}  // namespace tolvane
