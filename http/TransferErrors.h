// SPDX-License-Identifier: MIT
#pragma once

#include <curl/curl.h>

#include "base/Error.h"

namespace tolvane {

// An error of kURLErrorDomain with the sentence that belongs to its code.
Error urlError(int code);

// What a failure of libcurl is called in kURLErrorDomain.
Error urlErrorForCurlCode(CURLcode code);

}  // namespace tolvane
