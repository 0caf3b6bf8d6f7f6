// SPDX-License-Identifier: MIT
#include "base/Error.h"

#include <fmt/format.h>
#include <system_error>

namespace tolvane {

Error posixError(int errorNumber) {
  return {std::string(kPOSIXErrorDomain), errorNumber,
          std::generic_category().message(errorNumber)};
}

std::string descriptionOr(const std::optional<Error>& error, std::string_view otherwise) {
  return error && !error->description.empty() ? error->description : std::string(otherwise);
}

std::string describe(const std::optional<Error>& error) {
  if (!error) return "(null)";
  return fmt::format("Error Domain={} Code={} \"{}\"", error->domain, error->code,
                     error->description);
}

}  // namespace tolvane
