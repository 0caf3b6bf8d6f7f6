// SPDX-License-Identifier: MIT
#include "base/Process.h"

#include <csignal>
#include <cstdlib>
#include <cxxabi.h>
#include <exception>
#include <fcntl.h>
#include <new>
#include <semaphore.h>
#include <string_view>
#include <sys/resource.h>
#include <system_error>
#include <thread>
#include <typeinfo>
#include <unistd.h>

#include "base/TemporaryFile.h"

namespace tolvane {

namespace {

constexpr int kFailureStatus = 1;

void keepStandardStreamsTaken() {
  for (int descriptor = STDIN_FILENO; descriptor <= STDERR_FILENO; ++descriptor) {
    if (::fcntl(descriptor, F_GETFD) >= 0) continue;
    // open() returns the lowest free descriptor, which is this one. Standard input cannot be read,
    // the other two cannot be written.
    if (::open("/dev/null", descriptor == STDIN_FILENO ? O_WRONLY : O_RDONLY) < 0) std::abort();
  }
}

void raiseLimitOfOpenFiles() {
  rlimit limit{};
  if (::getrlimit(RLIMIT_NOFILE, &limit) != 0 || limit.rlim_cur == limit.rlim_max) return;
  limit.rlim_cur = limit.rlim_max;
  ::setrlimit(RLIMIT_NOFILE, &limit);
}

// Allocates nothing: there may be no memory.
void writeToStandardError(std::string_view text) {
  [[maybe_unused]] const ssize_t written = ::write(STDERR_FILENO, text.data(), text.size());
}

[[noreturn]] void endWithMessage(std::string_view message) {
  writeToStandardError(message);
  ::_exit(kFailureStatus);
}

// For an uncaught exception: a lack of memory or threads, or a fault of the program.
[[noreturn]] void endOnException() {
  const auto noMoreNames = TemporaryFile::removeAll();
  // Throwing the exception again to catch it would need memory.
  const std::type_info* const type = abi::__cxa_current_exception_type();
  if (type != nullptr && *type == typeid(std::bad_alloc)) endWithMessage("Not enough memory.\n");
  if (type != nullptr && *type == typeid(std::system_error)) {
    endWithMessage("The system has no thread to spare.\n");
  }
  std::abort();
}

volatile std::sig_atomic_t caughtSignal = 0;
sem_t signalCaught;

void noteSignal(int signal) {
  caughtSignal = signal;
  sem_post(&signalCaught);
}

// By the signal itself, so that a shell that runs the program in a loop ends the loop too.
[[noreturn]] void dieOf(int signal) {
  const auto noMoreNames = TemporaryFile::removeAll();
  if (::isatty(STDERR_FILENO) == 1)
    writeToStandardError("\n");  // ends a line such as a progress bar
  std::signal(signal, SIG_DFL);
  for (;;) ::raise(signal);
}

// A thread waits for the signals, because few functions may be called in a signal handler. Unlike a
// signal mask, a handler is not inherited by programs that this one starts.
void endOnSignals() {
  sem_init(&signalCaught, 0, 0);
  struct sigaction action {};
  action.sa_handler = noteSignal;
  action.sa_flags = SA_RESTART;
  sigemptyset(&action.sa_mask);
  bool anyCaught = false;
  for (const int signal : {SIGHUP, SIGINT, SIGTERM}) {
    struct sigaction before {};
    if (::sigaction(signal, nullptr, &before) != 0 || before.sa_handler == SIG_IGN) continue;
    anyCaught = ::sigaction(signal, &action, nullptr) == 0 || anyCaught;
  }
  if (!anyCaught) return;
  std::thread([] {
    while (sem_wait(&signalCaught) != 0) {
    }
    dieOf(caughtSignal);
  }).detach();
}

}  // namespace

void prepareProcess() {
  std::set_terminate(endOnException);
  keepStandardStreamsTaken();
  std::signal(SIGPIPE, SIG_IGN);
  std::signal(SIGXFSZ, SIG_IGN);
  raiseLimitOfOpenFiles();
  endOnSignals();
}

}  // namespace tolvane
