// SPDX-License-Identifier: MIT
#pragma once

namespace tolvane {

// The settings of the process that have to be made before its first other thread starts.
//
// SIGHUP, SIGINT and SIGTERM remove the hidden names of temporary files, and the process then dies
// of the signal; one that the parent had set to be ignored stays ignored. So do those files go when
// an exception ends the process; where that is for want of memory or threads, standard error says
// so and the exit status is 1.
//
// A write to a pipe that nobody reads fails instead of ending the process, and so does one beyond
// the limit of a file's size. The soft limit of open files is raised to the hard one. Standard
// streams that the caller closed are opened as ones that can only fail, so that no file or
// connection of ours takes their place and receives what is printed.
void prepareProcess();

}  // namespace tolvane
