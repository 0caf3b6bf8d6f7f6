// SPDX-License-Identifier: MIT
#include "http/TransferOutcome.h"

#include <utility>

#include "async/Dispatch.h"
#include "http/TransferInbox.h"

namespace tolvane {

void noteFileAtHand(TransferSession& session, int change) {
  session.filesAtHand += change;
  session.inbox->filesAtHand += change;
}

void deliver(TransferOutcome outcome) {
  auto shared = std::make_shared<TransferOutcome>(std::move(outcome));
  const std::shared_ptr<TransferSession> session = shared->task->session;
  // Moved, so that what the completion holds is let go on the callback queue, not here.
  session->callbackQueue.post([shared = std::move(shared), session] {
    TransferTask& task = *shared->task;
    if (!task.isDownload()) {
      std::get<HTTPClient::BodyCompletion>(task.completion)(
          std::move(shared->body), shared->response, std::move(shared->error));
      return;
    }
    std::get<HTTPClient::FileCompletion>(task.completion)(std::move(shared->file), shared->response,
                                                          std::move(shared->error));
    noteFileAtHand(*session, -1);
    if (session->inbox->startBlocked.exchange(false)) session->inbox->wake();
  });
}

void flushAndDeliver(TransferOutcome outcome) {
  auto shared = std::make_shared<TransferOutcome>(std::move(outcome));
  dispatchFlush([shared] {
    shared->error = shared->file.flush();
    if (shared->error) shared->file = {};
    deliver(std::move(*shared));
  });
}

}  // namespace tolvane
