// SPDX-License-Identifier: MIT
#pragma once

#include <string>
#include <sys/types.h>
#include <vector>

namespace tolvane {

// A port of 127.0.0.1 that was free a moment ago.
int freePort();

// A server program that is run for a test. It is stopped by the destructor, and when the process of
// the test ends.
class ServerProcess {
 public:
  ServerProcess() = default;
  ~ServerProcess() { stop(); }

  ServerProcess(const ServerProcess&) = delete;
  ServerProcess& operator=(const ServerProcess&) = delete;

  // Starts the program in a folder and waits until it listens on all the ports. Its output is
  // appended to `log`. False when it ends instead, because another program has a port, for
  // instance.
  bool start(const std::vector<std::string>& arguments, const std::string& folder,
             const std::string& log, const std::vector<int>& ports);
  void stop();

  bool isRunning() const { return process_ > 0; }

 private:
  bool waitUntilListening(const std::vector<int>& ports);

  pid_t process_ = 0;
};

}  // namespace tolvane
