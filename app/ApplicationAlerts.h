// SPDX-License-Identifier: MIT
#pragma once

#include <cstddef>

#include "base/Error.h"
#include "ui/dialogs/Dialogs.h"

namespace tolvane {

// The dialogs that block the whole program. An interface, so that a test can answer them.
class ApplicationAlerts {
 public:
  virtual ~ApplicationAlerts() = default;

  // Shows the error to the user; true where that has recovered from it.
  virtual bool presentError(const Error& error) = 0;

  // The index of the button that was pressed; closing the alert in another way is the last one.
  virtual std::size_t runModal(const Alert& alert) = 0;
};

// Modal message boxes, which recover from nothing.
class MessageBoxAlerts : public ApplicationAlerts {
 public:
  bool presentError(const Error& error) override;
  std::size_t runModal(const Alert& alert) override;
};

}  // namespace tolvane
