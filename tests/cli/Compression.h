// SPDX-License-Identifier: MIT
#pragma once

#include <string>

namespace tolvane {

std::string bzip2ed(const std::string& bytes);
std::string xzed(const std::string& bytes);

}  // namespace tolvane
