// SPDX-License-Identifier: MIT
#include "cli/Process.h"

#include <csignal>
#include <cstdlib>
#include <fcntl.h>
#include <pthread.h>
#include <string_view>
#include <sys/ioctl.h>
#include <thread>
#include <unistd.h>

#include "platform/TemporaryFile.h"

namespace tolvane {

namespace {

constexpr int kSignalStatus = 128;

void keepStandardStreamsTaken() {
  for (int descriptor = STDIN_FILENO; descriptor <= STDERR_FILENO; ++descriptor) {
    if (::fcntl(descriptor, F_GETFD) >= 0) continue;
    // The lowest free number is the one that is missing. Nothing can be read from the first, and
    // nothing written to the others.
    if (::open("/dev/null", descriptor == STDIN_FILENO ? O_WRONLY : O_RDONLY) < 0) std::abort();
  }
}

// A thread of its own waits, since hardly anything may be done inside a signal handler. All later
// threads inherit the mask, so that no other one is interrupted.
void endOnInterrupt() {
  sigset_t signals;
  sigemptyset(&signals);
  sigaddset(&signals, SIGINT);
  sigaddset(&signals, SIGTERM);
  pthread_sigmask(SIG_BLOCK, &signals, nullptr);
  std::thread([signals] {
    int signal = 0;
    sigwait(&signals, &signal);
    TemporaryFile::removeAll();
    ::_exit(kSignalStatus + signal);
  }).detach();
}

std::string_view environmentVariable(const char* name) {
  const char* value = std::getenv(name);
  return value == nullptr ? "" : value;
}

}  // namespace

void prepareProcess() {
  keepStandardStreamsTaken();
  std::signal(SIGPIPE, SIG_IGN);
  endOnInterrupt();
}

ConsoleSettings consoleOfStandardError() {
  ConsoleSettings settings;
  const bool terminal = ::isatty(STDERR_FILENO) == 1 && environmentVariable("TERM") != "dumb";
  settings.color = terminal && environmentVariable("NO_COLOR").empty();
  settings.statusLine = terminal;
  winsize size{};
  if (::ioctl(STDERR_FILENO, TIOCGWINSZ, &size) == 0 && size.ws_col > 0) {
    settings.columns = size.ws_col;
  }
  return settings;
}

}  // namespace tolvane
