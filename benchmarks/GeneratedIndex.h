// SPDX-License-Identifier: MIT
#pragma once

#include <string>

namespace tolvane {

// An invented package index with the size and shape of a large distribution's: 63,000 stanzas of
// some 790 bytes, 50 MB in all. Lines are some 40 bytes long; one field in three is not kept by any
// record; dependency lists are long; one description in four has continuation lines. Made once; the
// same in every run.
const std::string& generatedIndex();

// The same with another number of stanzas, made for each call.
std::string generatedIndex(int stanzaCount);

}  // namespace tolvane
