// SPDX-License-Identifier: MIT
#pragma once

namespace tolvane {

// Makes every LongTextView readable for screen readers. Further calls do nothing.
void installAccessibleLongText();

}  // namespace tolvane
