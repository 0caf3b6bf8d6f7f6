// SPDX-License-Identifier: MIT
#pragma once

#include <cstddef>

#include "base/Error.h"
#include "ui/dialogs/Dialogs.h"

namespace tolvane {

// The dialogs that block the whole program. Behind an interface, so that a test can answer them.
class ApplicationAlerts {
 public:
  virtual ~ApplicationAlerts() = default;

  // Tells the user of the error; true where that has put it right.
  virtual bool presentError(const Error& error) = 0;

  // The index of the button that was pressed; closing the alert in another way is the last one.
  virtual std::size_t runModal(const Alert& alert) = 0;
};

// As modal message boxes, which put nothing right.
class MessageBoxAlerts : public ApplicationAlerts {
 public:
  bool presentError(const Error& error) override;
  std::size_t runModal(const Alert& alert) override;
};

}  // namespace tolvane
