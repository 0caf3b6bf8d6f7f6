// SPDX-License-Identifier: MIT
#include "http/Transport.h"

#include <algorithm>
#include <climits>
#include <curl/curl.h>
#include <filesystem>
#include <iterator>
#include <new>
#include <set>
#include <sys/resource.h>
#include <thread>
#include <unordered_map>
#include <unordered_set>
#include <utility>

#include "async/Dispatch.h"
#include "http/Transfer.h"
#include "http/TransferInbox.h"
#include "http/TransferOutcome.h"
#include "http/TransferTask.h"

namespace tolvane {

namespace {

constexpr int kStreamsPerConnection = 100;
constexpr long kKeptConnections = 128;
// Of one session: files under way and files whose completion has not run. New transfers wait for
// the completions, so a slow disk or a slow hash never piles up open files, and holds up no other
// session.
constexpr int kMaximumOpenFiles = 256;
constexpr int kManyOpenFiles = 1 << 20;
constexpr int kDescriptorsOfTransfer = 4;  // a name look-up has as many; then a socket and a file
constexpr int kDescriptorsOfOthers = 8;    // hashing, flushes, timers
constexpr auto kQuickTransfer = std::chrono::seconds(1);
constexpr TransferClock::duration kLongestSleep = std::chrono::seconds(60);
// libcurl 7.88 reads a whole HTTP/2 connection for one of its transfers and now and then leaves the
// others asleep with their answers at hand. They see them the next time it is called.
constexpr TransferClock::duration kLongestMultiplexedSleep = std::chrono::milliseconds(100);

int openDescriptors() {
  std::error_code failure;
  const std::filesystem::directory_iterator entries("/proc/self/fd", failure);
  return failure ? 3 : static_cast<int>(std::distance(begin(entries), end(entries)));
}

// Of all sessions together: as many files as the process's limit of descriptors has room for.
int maximumOpenFiles() {
  rlimit limit{};
  if (::getrlimit(RLIMIT_NOFILE, &limit) != 0 || limit.rlim_cur > INT_MAX) return kManyOpenFiles;
  const int left = static_cast<int>(limit.rlim_cur) - openDescriptors() - kDescriptorsOfOthers;
  return std::clamp(left / kDescriptorsOfTransfer, 1, kManyOpenFiles);
}

}  // namespace

// Everything below runs on the driver's own thread, but for its construction and stop().
class Transport::Driver {
 public:
  Driver();
  ~Driver();

  void stop();
  const std::shared_ptr<TransferInbox>& inbox() const { return inbox_; }

 private:
  void run();
  void enqueue(std::unique_ptr<TransferTask> task, bool again);
  void startWaiting();
  enum class Start { started, nothingToStart, tooManyFiles };
  Start startOne(TransferSession& session, const std::string& server);
  void start(std::unique_ptr<TransferTask> task);
  void refuse(std::unique_ptr<TransferTask> task, Error error);
  void noteHead(const Transfer& transfer);
  void finishDone();
  void finishOverdue(TransferClock::time_point now);
  void adjustStreams(TransferHost& host, const Transfer& transfer, CURLcode result);
  void finish(Transfer* transfer, CURLcode result);
  void limitConnections();
  int sleepMilliseconds() const;

  const int maximumOpenFiles_ = maximumOpenFiles();
  CURLM* multi_;
  CURLSH* share_;
  std::vector<CURL*> idleHandles_;
  std::unordered_map<Transfer*, std::unique_ptr<Transfer>> active_;
  TransferClock::time_point nextDeadline_ = TransferClock::time_point::max();

  // Sessions with a task, and the servers among theirs that may have one to start.
  std::unordered_map<TransferSession*, std::shared_ptr<TransferSession>> sessions_;
  std::set<std::pair<TransferSession*, std::string>> startable_;
  std::unordered_set<std::string> multiplexedServers_;
  std::unordered_set<std::string> lengthlessServers_;  // give no length of files over HTTP/2
  long connectionLimit_ = 0;

  const Transfer::HeadObserver onHead_ = [this](const Transfer& transfer) { noteHead(transfer); };

  std::shared_ptr<TransferInbox> inbox_;
  std::thread thread_;
};

Transport::Driver::Driver() {
  curl_global_init(CURL_GLOBAL_DEFAULT);
  multi_ = curl_multi_init();
  curl_multi_setopt(multi_, CURLMOPT_MAXCONNECTS,
                    std::min(kKeptConnections, long{maximumOpenFiles_}));
  // Kept connections make room for new ones then.
  if (maximumOpenFiles_ < kMaximumOpenFiles) {
    curl_multi_setopt(multi_, CURLMOPT_MAX_TOTAL_CONNECTIONS, long{maximumOpenFiles_});
  }
  curl_multi_setopt(multi_, CURLMOPT_MAX_CONCURRENT_STREAMS, long{kStreamsPerConnection});
  share_ = curl_share_init();
  curl_share_setopt(share_, CURLSHOPT_SHARE, CURL_LOCK_DATA_SSL_SESSION);
  inbox_ = std::make_shared<TransferInbox>(multi_);
  thread_ = std::thread([this] { run(); });
}

Transport::Driver::~Driver() {
  stop();
  for (CURL* easy : idleHandles_) curl_easy_cleanup(easy);
  curl_multi_cleanup(multi_);
  curl_share_cleanup(share_);
}

void Transport::Driver::stop() {
  inbox_->stop();
  if (thread_.joinable()) thread_.join();
  for (auto& [key, transfer] : active_) {
    curl_multi_remove_handle(multi_, transfer->easy());
    idleHandles_.push_back(transfer->easy());
  }
  active_.clear();
  // Tasks hold their session, and the session those that wait.
  inbox_->takeAll();
  for (auto& [key, session] : sessions_) session->hosts.clear();
  startable_.clear();
  sessions_.clear();
}

void Transport::Driver::run() {
  while (!inbox_->isStopped()) {
    for (auto& task : inbox_->takeAll()) enqueue(std::move(task), false);
    startWaiting();
    // A disk that stalls in here makes nobody overdue whose bytes have come meanwhile.
    const auto now = TransferClock::now();
    int running = 0;
    curl_multi_perform(multi_, &running);
    finishDone();
    if (now >= nextDeadline_) finishOverdue(now);
    startWaiting();
    curl_multi_poll(multi_, nullptr, 0, sleepMilliseconds(), nullptr);
  }
}

void Transport::Driver::enqueue(std::unique_ptr<TransferTask> task, bool again) {
  const std::shared_ptr<TransferSession> session = task->session;
  const std::string server = task->request.url->origin();
  TransferHost& host = session->hosts[server];
  (again ? host.again : host.waiting).push_back(std::move(task));
  ++session->waiting;
  sessions_.emplace(session.get(), session);
  startable_.emplace(session.get(), server);
}

void Transport::Driver::startWaiting() {
  for (auto it = startable_.begin(); it != startable_.end();) {
    Start result = Start::started;
    while (result == Start::started) result = startOne(*it->first, it->second);
    // A transfer that ends puts its server here again.
    it = result == Start::tooManyFiles ? std::next(it) : startable_.erase(it);
  }
  limitConnections();
}

Transport::Driver::Start Transport::Driver::startOne(TransferSession& session,
                                                     const std::string& server) {
  TransferHost& host = session.hosts[server];
  auto& tasks = host.again.empty() ? host.waiting : host.again;
  if (tasks.empty()) return Start::nothingToStart;
  int limit = session.configuration.maximumConnectionsPerHost;
  if (multiplexedServers_.contains(server)) {
    limit = std::clamp(host.streams, limit, limit * kStreamsPerConnection);
  }
  if (host.active >= limit) return Start::nothingToStart;
  // Said before it is checked, so that a completion in between is not missed, and never taken back:
  // another server may be waiting for it. To wake once too often does no harm.
  inbox_->startBlocked = true;
  const int ofAll = static_cast<int>(active_.size()) + inbox_->filesAtHand;
  if (session.active + session.filesAtHand >= kMaximumOpenFiles || ofAll >= maximumOpenFiles_) {
    return Start::tooManyFiles;
  }

  std::unique_ptr<TransferTask> task = std::move(tasks.front());
  tasks.pop_front();
  --session.waiting;
  if (session.configuration.refusal) {
    if (std::optional<Error> error = session.configuration.refusal()) {
      refuse(std::move(task), std::move(*error));
      return Start::started;
    }
  }
  ++host.active;
  ++session.active;
  start(std::move(task));
  return Start::started;
}

void Transport::Driver::start(std::unique_ptr<TransferTask> task) {
  if (task->isDownload() && lengthlessServers_.contains(task->request.url->origin())) {
    task->withoutHTTP2 = true;
  }
  CURL* easy = nullptr;
  if (idleHandles_.empty()) {
    easy = curl_easy_init();
    if (easy == nullptr) throw std::bad_alloc();
  } else {
    easy = idleHandles_.back();
    idleHandles_.pop_back();
  }
  auto transfer =
      std::make_unique<Transfer>(easy, share_, std::move(task), onHead_, TransferClock::now());
  nextDeadline_ = std::min(nextDeadline_, transfer->deadline());
  Transfer* const added = transfer.get();
  active_.emplace(added, std::move(transfer));
  if (curl_multi_add_handle(multi_, easy) != CURLM_OK) finish(added, CURLE_FAILED_INIT);
}

void Transport::Driver::refuse(std::unique_ptr<TransferTask> task, Error error) {
  if (task->isDownload()) noteFileAtHand(*task->session, 1);
  TransferOutcome outcome;
  outcome.task = std::move(task);
  outcome.error = std::move(error);
  deliver(std::move(outcome));
}

// Called by libcurl in the middle of its work, so nothing is started here.
void Transport::Driver::noteHead(const Transfer& transfer) {
  nextDeadline_ = std::min(nextDeadline_, transfer.deadline());
  std::string server = transfer.task().request.url->origin();
  if (!transfer.isMultiplexed()) {
    multiplexedServers_.erase(server);
  } else if (multiplexedServers_.insert(server).second) {
    startable_.emplace(transfer.task().session.get(), std::move(server));
  }
}

void Transport::Driver::finishDone() {
  int left = 0;
  while (CURLMsg* message = curl_multi_info_read(multi_, &left)) {
    if (message->msg != CURLMSG_DONE) continue;
    const CURLcode result = message->data.result;
    finish(Transfer::of(message->easy_handle), result);
  }
}

void Transport::Driver::finishOverdue(TransferClock::time_point now) {
  std::vector<Transfer*> overdue;
  nextDeadline_ = TransferClock::time_point::max();
  for (auto& [key, transfer] : active_) {
    const auto deadline = transfer->deadline();
    if (deadline <= now) {
      overdue.push_back(key);
    } else {
      nextDeadline_ = std::min(nextDeadline_, deadline);
    }
  }
  for (Transfer* transfer : overdue) finish(transfer, CURLE_OPERATION_TIMEDOUT);
}

// Many transfers at once pay where the round trip is most of what one takes. Where the wire is full
// they only share it, and all of them come to their time limit together.
void Transport::Driver::adjustStreams(TransferHost& host, const Transfer& transfer,
                                      CURLcode result) {
  const int connections = transfer.task().session->configuration.maximumConnectionsPerHost;
  const bool isQuick = result == CURLE_OK && transfer.age() < kQuickTransfer;
  host.streams = std::clamp(host.streams + (isQuick ? 1 : -1), connections,
                            connections * kStreamsPerConnection);
}

void Transport::Driver::finish(Transfer* transfer, CURLcode result) {
  const std::string server = transfer->task().request.url->origin();
  const std::shared_ptr<TransferSession> session = transfer->task().session;
  TransferHost& host = session->hosts[server];
  adjustStreams(host, *transfer, result);

  TransferOutcome outcome = transfer->finish(result);
  curl_multi_remove_handle(multi_, transfer->easy());
  idleHandles_.push_back(transfer->easy());
  active_.erase(transfer);

  --host.active;
  --session->active;
  startable_.emplace(session.get(), server);

  if (outcome.sendAgain) {
    if (outcome.task->withoutHTTP2 && outcome.task->isDownload()) lengthlessServers_.insert(server);
    enqueue(std::move(outcome.task), true);
  } else if (!outcome.task->isDownload()) {
    deliver(std::move(outcome));
  } else {
    noteFileAtHand(*session, 1);
    if (outcome.error) {
      deliver(std::move(outcome));
    } else {
      flushAndDeliver(std::move(outcome));
    }
  }
}

// Tasks are counted per server here, which bounds connections as long as each carries one
// transfer. Over HTTP/2 libcurl decides how transfers are laid on connections; this is its bound.
// It knows no sessions, so it gets what all that are at work may use together.
void Transport::Driver::limitConnections() {
  long limit = 0;
  for (auto it = sessions_.begin(); it != sessions_.end();) {
    TransferSession& session = *it->second;
    if (session.active == 0 && session.waiting == 0) {
      session.hosts.clear();
      it = sessions_.erase(it);
    } else {
      limit += session.configuration.maximumConnectionsPerHost;
      ++it;
    }
  }
  if (multiplexedServers_.empty()) limit = 0;  // none
  if (limit == connectionLimit_) return;
  connectionLimit_ = limit;
  curl_multi_setopt(multi_, CURLMOPT_MAX_HOST_CONNECTIONS, limit);
}

int Transport::Driver::sleepMilliseconds() const {
  const auto now = TransferClock::now();
  if (nextDeadline_ <= now) return 0;
  const bool isMultiplexing = !active_.empty() && !multiplexedServers_.empty();
  const auto longest = isMultiplexing ? kLongestMultiplexedSleep : kLongestSleep;
  const auto sleep = std::min(nextDeadline_ - now, longest);
  return static_cast<int>(std::chrono::ceil<std::chrono::milliseconds>(sleep).count());
}

Transport::Transport() : driver_(std::make_unique<Driver>()) {}

Transport::~Transport() = default;

void Transport::stop() {
  driver_->stop();
}

const std::shared_ptr<TransferInbox>& Transport::inbox() const {
  return driver_->inbox();
}

const std::shared_ptr<Transport>& Transport::shared() {
  // Completions may still hold the transport when the process ends; its thread must not outlive
  // what it uses, so it is stopped rather than let go, and the object is never destroyed.
  struct StopAtExit {
    Transport& transport;
    ~StopAtExit() { transport.stop(); }
  };
  static const auto* const transport = [] {
    // Its thread comes first, since the pools take what is left. They are there before what stops
    // it, and so to the last.
    auto* const made = new std::shared_ptr<Transport>(std::make_shared<Transport>());
    dispatchAsync([] {});
    dispatchFlush([] {});
    return made;
  }();
  static const StopAtExit stopAtExit{**transport};
  return *transport;
}

}  // namespace tolvane
