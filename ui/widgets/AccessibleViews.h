// SPDX-License-Identifier: MIT
#pragma once

namespace tolvane {

// Tells screen readers what the toolkit does not of this folder's views. Before the first of them
// is made; further calls do nothing.
void installAccessibleViews();

}  // namespace tolvane
