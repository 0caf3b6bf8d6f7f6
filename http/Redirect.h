// SPDX-License-Identifier: MIT
#pragma once

#include <optional>
#include <string>

#include "http/HTTPTask.h"

namespace tolvane {

// Gives the task the URL that a redirect leads to: the field Location, resolved against the URL
// that answered. HTTPClient.h says which redirects are followed; of any other the error is
// returned, kURLErrorRedirectToNonExistentLocation where a POST is not repeated.
std::optional<Error> followRedirect(HTTPTask& task, int statusCode, const std::string& location);

}  // namespace tolvane
