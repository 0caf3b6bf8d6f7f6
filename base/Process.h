// SPDX-License-Identifier: MIT
#pragma once

namespace tolvane {

// The settings of the process that have to be made before its first other thread starts.
//
// On SIGHUP, SIGINT and SIGTERM the temporary files that have a name are removed, and the process
// then dies of the signal; a signal that the parent process ignores stays ignored. These files are
// also removed when an uncaught exception ends the process; if that is a lack of memory or threads,
// there is a message on standard error and the exit status is 1.
//
// A write to a closed pipe (SIGPIPE) or beyond the limit of a file's size (SIGXFSZ) fails instead
// of ending the process. The soft limit of open files is raised to the hard one. Standard streams
// that are closed are opened on /dev/null so that reading and writing fail: no file or connection
// gets their descriptors and receives what is printed.
void prepareProcess();

}  // namespace tolvane
