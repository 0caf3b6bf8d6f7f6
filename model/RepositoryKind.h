// SPDX-License-Identifier: MIT
#pragma once

namespace tolvane {

// What a person chooses a repository to be: the names of each choice belong to cli/ and ui/.
enum class RepositoryKind {
  apt,
  automatic,  // APT or, where there is no APT index, Installer 4
  installer4,
  installer3,
};

}  // namespace tolvane
