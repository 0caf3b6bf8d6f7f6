// SPDX-License-Identifier: MIT
#include <cstddef>
#include <cstdint>
#include <cstdlib>
#include <memory>
#include <string>

#include "archive_client/ArchiveAnswer.h"
#include "archive_client/CentralArchiveClient.h"
#include "model/CrawlerLogger.h"
#include "platform/NotificationCenter.h"
#include "platform/SystemLog.h"
#include "platform/Text.h"
#include "tests/support/InstantSession.h"

namespace tolvane {
namespace {

void require(bool condition) {
  if (!condition) std::abort();
}

void checkError(const std::optional<Error>& error) {
  if (error) require(isValidUTF8(error->description));
}

// Every answer ends in one call of each completion, and what is logged of it is text. An upload
// reads its answer with the same code, and would read a file for each input.
void answerAll(const std::string& body) {
  CentralArchiveClient client("http://archive.example", "secret", [&body](const auto&) {
    return std::make_shared<InstantSession>(body);
  });
  int calls = 0;
  client.checkRepositoryURL("", {}, {}, [&calls](auto missing, const auto& error) {
    ++calls;
    require(!error || missing.empty());
    checkError(error);
  });
  client.requestUploadTokenForRepositoryURL(
      "", {}, 1, [&calls](const auto& token, const auto& error) {
        ++calls;
        require(!token || (!error && !token->empty() && isValidUTF8(*token)));
        checkError(error);
      });
  require(calls == 2);
  require(isValidUTF8(previewOf(body, 10)));
}

}  // namespace
}  // namespace tolvane

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
  static const auto lines = tolvane::SystemLog::observe([](std::string_view line) {
    if (!tolvane::isValidUTF8(line)) std::abort();
  });
  static const auto token = tolvane::NotificationCenter::defaultCenter().addObserver(
      tolvane::CrawlerLoggerDidLogMessageNotification, [](const tolvane::UserInfo& message) {
        if (!tolvane::isValidUTF8(message.at("message"))) std::abort();
      });
  tolvane::answerAll(std::string(reinterpret_cast<const char*>(data), size));
  return 0;
}
