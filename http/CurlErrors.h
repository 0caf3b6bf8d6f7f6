// SPDX-License-Identifier: MIT
#pragma once

#include <curl/curl.h>

#include "base/Error.h"

namespace tolvane {

// The error of kURLErrorDomain with this code, and with the code's sentence.
Error urlError(int code);

// The error of kURLErrorDomain for a failure of libcurl. A failure that has no code of its own is
// kURLErrorUnknown with libcurl's sentence.
Error urlErrorForCurlCode(CURLcode code);

}  // namespace tolvane
