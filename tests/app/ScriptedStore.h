// SPDX-License-Identifier: MIT
#pragma once

#include <atomic>
#include <memory>
#include <optional>
#include <string>
#include <vector>

#include "app/ApplicationAlerts.h"
#include "app/PersistentContainer.h"

namespace tolvane {

// The answers of a store, and how often each was requested.
struct StoreScript {
  bool commits = true;
  bool changed = false;
  std::optional<Error> saveError;
  std::optional<PersistentContainer::LoadFailure> loadFailure;
  std::atomic<int> containers = 0;
  std::atomic<int> loads = 0;
  int saves = 0;
};

class ScriptedContainer : public PersistentContainer, public ObjectContext {
 public:
  explicit ScriptedContainer(StoreScript& script) : script_(script) { ++script_.containers; }

  std::optional<LoadFailure> loadPersistentStores() override {
    ++script_.loads;
    return script_.loadFailure;
  }
  ObjectContext& mainContext() override { return *this; }

  bool commitEditing() override { return script_.commits; }
  bool hasChanges() const override { return script_.changed; }
  std::optional<Error> save() override {
    ++script_.saves;
    return script_.saveError;
  }
  QUndoStack& undoManager() override { return undoStack_; }

 private:
  StoreScript& script_;
  QUndoStack undoStack_;
};

class ScriptedAlerts : public ApplicationAlerts {
 public:
  bool presentError(const Error& error) override {
    errors.push_back(error);
    return recovers;
  }
  std::size_t runModal(const Alert& alert) override {
    alerts.push_back(alert);
    return answer;
  }

  bool recovers = false;
  std::size_t answer = 0;
  std::vector<Error> errors;
  std::vector<Alert> alerts;
};

}  // namespace tolvane
