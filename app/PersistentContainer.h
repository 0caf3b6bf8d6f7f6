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

  // Takes over what is being edited; false where an edit cannot be taken as it stands.
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

  // Opens the store, or makes it. Before all else, and once.
  virtual std::optional<LoadFailure> loadPersistentStores() = 0;
  virtual ObjectContext& mainContext() = 0;
};

}  // namespace tolvane
