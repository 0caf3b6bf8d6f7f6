// SPDX-License-Identifier: MIT
#pragma once

#include <QUndoStack>
#include <optional>
#include <string>

#include "base/Error.h"

namespace tolvane {

// Edits on their way into a store.
class ObjectContext {
 public:
  virtual ~ObjectContext() = default;

  // Ends pending edits and keeps their values; false where a value is not valid.
  virtual bool commitEditing() = 0;
  virtual bool hasChanges() const = 0;
  virtual std::optional<Error> save() = 0;
  virtual QUndoStack& undoManager() = 0;
};

// A store of the program's own.
class PersistentContainer {
 public:
  // Why a store could not be loaded, with what else is known of it.
  struct LoadFailure {
    Error error;
    std::string userInfo;
  };

  virtual ~PersistentContainer() = default;

  // Opens the store, or creates it. To be called once, before anything else.
  virtual std::optional<LoadFailure> loadPersistentStores() = 0;
  virtual ObjectContext& mainContext() = 0;
};

}  // namespace tolvane
