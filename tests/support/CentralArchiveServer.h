// SPDX-License-Identifier: MIT
#pragma once

#include <memory>
#include <nlohmann/json.hpp>
#include <string>
#include <string_view>
#include <utility>
#include <vector>

#include "tests/support/LoopbackHandlers.h"
#include "tests/support/LoopbackServer.h"

namespace tolvane {

// One request to a central archive, read byte by byte.
struct ArchiveRequest {
  LoopbackRequest sent;
  std::string fault;                 // what is wrong with it; "" for one that is right
  nlohmann::ordered_json json = {};  // of a check or token request
  // Of an upload:
  std::string boundary = {};
  std::vector<std::pair<std::string, std::string>> fields = {};  // in their order
  std::string filename = {};
  std::string file = {};
};

// Reads a request as narrowly as a server may that was written to one client: its method and
// headers, the members of its JSON and their types, and every byte of its form.
ArchiveRequest readArchiveRequest(LoopbackRequest request);

// A central archive on a free port of 127.0.0.1. It keeps what it is sent, refuses what is not
// right, and answers the rest as the test sets it.
class CentralArchiveServer {
 public:
  CentralArchiveServer();

  // What a client is to be given, without a slash at the end.
  std::string baseURL() const { return server_.url("/central_archive/archive-api"); }

  // How requests to "check_repo.php", "request_upload_token.php" or "upload_package.php" are
  // answered from now on. At first each is answered with success.
  void answer(const std::string& page, LoopbackHandler handler);

  std::vector<ArchiveRequest> requests() const;

 private:
  LoopbackServer server_;
};

}  // namespace tolvane
