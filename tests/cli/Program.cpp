// SPDX-License-Identifier: MIT
#include "tests/cli/Program.h"

#include <chrono>
#include <csignal>
#include <fcntl.h>
#include <gtest/gtest.h>
#include <pty.h>
#include <set>
#include <spawn.h>
#include <sys/wait.h>
#include <thread>
#include <unistd.h>

extern char** environ;

namespace tolvane {

namespace {

constexpr std::chrono::milliseconds kPause(5);
constexpr std::chrono::seconds kProgramLimit(120);
constexpr std::chrono::seconds kConditionLimit(60);
constexpr unsigned short kColumns = 200;

std::vector<std::string> programEnvironment(const std::map<std::string, std::string>& additions) {
  static const std::set<std::string> kHidden{
      "NO_COLOR",    "TERM",      "http_proxy", "https_proxy",   "all_proxy",    "no_proxy",
      "HTTPS_PROXY", "ALL_PROXY", "NO_PROXY",   "SSL_CERT_FILE", "SSL_CERT_DIR",
  };
  std::vector<std::string> entries{"TERM=xterm"};
  for (char** entry = environ; *entry != nullptr; ++entry) {
    const std::string text = *entry;
    if (!kHidden.contains(text.substr(0, text.find('=')))) entries.push_back(text);
  }
  for (const auto& [name, value] : additions) {
    std::erase_if(entries, [&](const auto& entry) { return entry.starts_with(name + "="); });
    entries.push_back(name + "=" + value);
  }
  return entries;
}

std::vector<char*> pointers(std::vector<std::string>& strings) {
  std::vector<char*> result;
  for (std::string& string : strings) result.push_back(string.data());
  result.push_back(nullptr);
  return result;
}

// A pseudo-terminal; the side of the program is closed in the destructor.
struct Terminal {
  Terminal() {
    winsize size{};
    size.ws_col = kColumns;
    size.ws_row = 50;
    EXPECT_EQ(::openpty(&outer, &inner, nullptr, nullptr, &size), 0);
    ::fcntl(outer, F_SETFD, FD_CLOEXEC);
    ::fcntl(inner, F_SETFD, FD_CLOEXEC);
    ::fcntl(outer, F_SETFL, O_NONBLOCK);
  }
  ~Terminal() { ::close(inner); }

  int outer = -1;
  int inner = -1;
};

}  // namespace

Program::Program(const std::vector<std::string>& arguments, const ProgramSettings& settings) {
  std::vector<std::string> words = settings.startedBy;
  words.push_back(TOLVANE_CLI);
  words.insert(words.end(), arguments.begin(), arguments.end());
  std::vector<std::string> environment = programEnvironment(settings.environment);
  std::optional<Terminal> terminal;

  posix_spawn_file_actions_t actions;
  posix_spawn_file_actions_init(&actions);
  const std::string output = settings.outputPath.value_or(streams_.write("output", ""));
  if (output.empty()) {
    posix_spawn_file_actions_addclose(&actions, STDOUT_FILENO);
  } else {
    posix_spawn_file_actions_addopen(&actions, STDOUT_FILENO, output.c_str(), O_WRONLY, 0);
  }
  const std::string errors = streams_.write("errors", "");
  if (settings.terminal) {
    terminal.emplace();
    terminal_ = terminal->outer;
    posix_spawn_file_actions_adddup2(&actions, terminal->inner, STDERR_FILENO);
  } else {
    posix_spawn_file_actions_addopen(&actions, STDERR_FILENO, errors.c_str(), O_WRONLY | O_APPEND,
                                     0);
  }
  // A test that runs in the background may inherit ignored signals.
  posix_spawnattr_t attributes;
  posix_spawnattr_init(&attributes);
  sigset_t none, usual;
  sigemptyset(&none);
  sigemptyset(&usual);
  for (const int number : {SIGHUP, SIGINT, SIGTERM, SIGPIPE, SIGXFSZ}) sigaddset(&usual, number);
  posix_spawnattr_setsigmask(&attributes, &none);
  posix_spawnattr_setsigdefault(&attributes, &usual);
  posix_spawnattr_setflags(&attributes, POSIX_SPAWN_SETSIGMASK | POSIX_SPAWN_SETSIGDEF);

  EXPECT_EQ(::posix_spawnp(&process_, words.front().c_str(), &actions, &attributes,
                           pointers(words).data(), pointers(environment).data()),
            0);
  posix_spawnattr_destroy(&attributes);
  posix_spawn_file_actions_destroy(&actions);
}

Program::~Program() {
  if (!status_ && process_ > 0) {
    ::kill(process_, SIGKILL);
    ::waitpid(process_, nullptr, 0);
  }
  if (terminal_ >= 0) ::close(terminal_);
}

void Program::signal(int number) const {
  EXPECT_EQ(::kill(process_, number), 0);
}

CommandResult Program::wait() {
  const auto end = std::chrono::steady_clock::now() + kProgramLimit;
  while (!hasEnded()) {
    readTerminal();
    if (std::chrono::steady_clock::now() > end) {
      ADD_FAILURE() << "the program did not end within two minutes";
      signal(SIGKILL);
    }
    std::this_thread::sleep_for(kPause);
  }
  readTerminal();
  return {*status_, streams_.read("output"),
          terminal_ >= 0 ? terminalText_ : streams_.read("errors")};
}

bool Program::hasEnded() {
  if (status_) return true;
  int status = 0;
  if (::waitpid(process_, &status, WNOHANG) != process_) return false;
  status_ = WIFEXITED(status) ? WEXITSTATUS(status) : -WTERMSIG(status);
  return true;
}

void Program::readTerminal() {
  if (terminal_ < 0) return;
  char bytes[4096];
  for (ssize_t count = 0; (count = ::read(terminal_, bytes, sizeof bytes)) > 0;) {
    terminalText_.append(bytes, static_cast<std::size_t>(count));
  }
}

CommandResult runProgram(const std::vector<std::string>& arguments,
                         const ProgramSettings& settings) {
  return Program(arguments, settings).wait();
}

void waitUntil(const std::function<bool()>& condition) {
  const auto end = std::chrono::steady_clock::now() + kConditionLimit;
  while (!condition()) {
    if (std::chrono::steady_clock::now() > end) {
      ADD_FAILURE() << "the condition did not hold within a minute";
      return;
    }
    std::this_thread::sleep_for(kPause);
  }
}

}  // namespace tolvane
