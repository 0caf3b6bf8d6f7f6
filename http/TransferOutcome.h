// SPDX-License-Identifier: MIT
#pragma once

#include <memory>
#include <optional>
#include <string>

#include "http/TransferTask.h"

namespace tolvane {

// What one transfer of a task has come to. Internal to the transport.
struct TransferOutcome {
  std::unique_ptr<TransferTask> task;
  bool sendAgain = false;  // the task wants another transfer, to the URL that it now has
  std::optional<HTTPResponse> response;
  std::optional<Error> error;
  std::string body;    // of a data task without error
  TemporaryFile file;  // of a download without error
};

// Counts a downloaded file whose completion has still to run, or (-1) has run.
void noteFileAtHand(TransferSession& session, int change);

// Hands the outcome to the task's completion, on the session's callback queue. A download's counts
// among the files at hand until then.
void deliver(TransferOutcome outcome);

// The same, once the file's bytes are on the disk.
void flushAndDeliver(TransferOutcome outcome);

}  // namespace tolvane
