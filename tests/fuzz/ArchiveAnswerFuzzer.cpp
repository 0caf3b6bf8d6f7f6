// SPDX-License-Identifier: MIT
#include <cstddef>
#include <cstdint>
#include <cstdlib>
#include <string_view>

#include "archive_client/ArchiveAnswer.h"
#include "base/UTF8.h"

namespace tolvane {
namespace {

void require(bool condition) {
  if (!condition) std::abort();
}

// What the client's three requests take from an answer, which they log: it has to be text.
void readAnswer(std::string_view body) {
  ArchiveAnswer answer(body);
  require(isValidUTF8(previewOf(body, 10)));
  if (answer.parseError()) {
    require(!answer.isDictionary() && isValidUTF8(answer.parseError()->description));
  }
  if (!answer.isDictionary()) return;
  answer.isOK();
  require(isValidUTF8(answer.errorText("nothing said")));
  const nlohmann::json* token = answer.find("upload_token");
  if (token && token->is_string()) require(isValidUTF8(token->get_ref<const std::string&>()));
}

}  // namespace
}  // namespace tolvane

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
  tolvane::readAnswer({reinterpret_cast<const char*>(data), size});
  return 0;
}
