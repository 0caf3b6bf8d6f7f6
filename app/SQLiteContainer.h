// SPDX-License-Identifier: MIT
#pragma once

#include <memory>
#include <string>

#include "app/PersistentContainer.h"

struct sqlite3;

namespace tolvane {

inline constexpr std::string_view kSQLiteErrorDomain = "NSSQLiteErrorDomain";

// A store in an SQLite file "NAME.sqlite". It holds nothing yet: its changes are those on its
// context's undo stack since the last save.
class SQLiteContainer : public PersistentContainer {
 public:
  // `folder` is made when the store is loaded.
  SQLiteContainer(std::string name, std::string folder);
  ~SQLiteContainer() override;

  const std::string& name() const { return name_; }
  std::string path() const;

  std::optional<LoadFailure> loadPersistentStores() override;
  ObjectContext& mainContext() override;

 private:
  class Context;
  struct CloseDatabase {
    void operator()(sqlite3* database) const;
  };

  std::string name_;
  std::string folder_;
  std::unique_ptr<sqlite3, CloseDatabase> database_;
  std::unique_ptr<Context> context_;
};

}  // namespace tolvane
