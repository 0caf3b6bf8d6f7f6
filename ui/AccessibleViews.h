// SPDX-License-Identifier: MIT
#pragma once

namespace tolvane {

// Lets screen readers read the long texts of the window. Before the first one is made; once.
void installAccessibleLongText();

}  // namespace tolvane
