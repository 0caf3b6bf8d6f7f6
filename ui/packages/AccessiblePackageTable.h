// SPDX-License-Identifier: MIT
#pragma once

namespace tolvane {

// Makes every PackageTableView readable for screen readers; further calls do nothing. The interface
// that Qt has for tables is not enough: through it a tick cannot be toggled, and the header of a
// column cannot be pressed, which sorts by it.
void installAccessiblePackageTable();

}  // namespace tolvane
