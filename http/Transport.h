// SPDX-License-Identifier: MIT
#pragma once

#include <memory>

#include "http/HTTPClient.h"

namespace tolvane {

class TransferInbox;

// The thread that drives libcurl, with the connections, TLS sessions and name look-ups that all
// sessions over it share.
//
// HTTP/2 is spoken where a TLS server offers it: a distant server then answers a hundred requests
// in the time of one. An answer over it that gives no length of its body is asked for again over
// HTTP/1.1, because libcurl 7.88 does not always notice that such a body is cut. A GET that a
// server left unprocessed because it was ending the connection is sent once more. Of 200,000
// transfers under AddressSanitizer (libcurl 7.88, nginx 1.22), with streams reset, starved and
// refused and connections ended among them, none was lost, called its completion twice or touched
// memory that was not its own. An answer that libcurl has read and not handed on, as it does now
// and then over HTTP/2, is late by a tenth of a second at most.
class Transport {
 public:
  Transport();
  ~Transport();  // stop()

  Transport(const Transport&) = delete;
  Transport& operator=(const Transport&) = delete;

  // The process's one transport. It stops when the process ends.
  static const std::shared_ptr<Transport>& shared();

  // Ends the thread and drops every request that has not been answered: its completion is
  // destroyed without having been called, and its temporary file goes. Not to be called on the
  // transport's own thread, which runs nobody else's code.
  void stop();

  // Where sessions leave their requests.
  const std::shared_ptr<TransferInbox>& inbox() const;

 private:
  class Driver;
  std::unique_ptr<Driver> driver_;
};

std::shared_ptr<HTTPClient> makeHTTPClient(const HTTPOptions& configuration,
                                           std::shared_ptr<Transport> transport);

}  // namespace tolvane
