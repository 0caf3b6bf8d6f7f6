// SPDX-License-Identifier: MIT
#include "http/CurlMulti.h"

#include <algorithm>
#include <climits>
#include <filesystem>
#include <iterator>
#include <new>
#include <sys/resource.h>

#include "async/Dispatch.h"

namespace tolvane {

namespace {

constexpr int kStreamsPerConnection = 100;
constexpr long kKeptConnections = 128;
// Of one client: files being received and files whose completion has not run. New transfers wait
// for the completions, so that a slow disk or a slow hash never piles up open files, and delays no
// other client.
constexpr int kMaximumOpenFiles = 256;
constexpr int kManyOpenFiles = 1 << 20;
constexpr int kDescriptorsOfTransfer = 4;  // a name look-up has as many; then a socket and a file
constexpr int kDescriptorsOfOthers = 8;    // hashing, flushes, timers
constexpr auto kQuickTransfer = std::chrono::seconds(1);
constexpr SteadyClock::duration kLongestSleep = std::chrono::seconds(60);
// libcurl 7.88 reads a whole HTTP/2 connection for one of its transfers, and now and then does not
// pass on what it has read for the others until it is called again.
constexpr SteadyClock::duration kLongestHTTP2Sleep = std::chrono::milliseconds(100);

int openDescriptors() {
  std::error_code failure;
  const std::filesystem::directory_iterator entries("/proc/self/fd", failure);
  return failure ? 3 : static_cast<int>(std::distance(begin(entries), end(entries)));
}

// Of all clients together: as many files as the process may open descriptors for.
int maximumOpenFiles() {
  rlimit limit{};
  if (::getrlimit(RLIMIT_NOFILE, &limit) != 0 || limit.rlim_cur > INT_MAX) return kManyOpenFiles;
  const int left = static_cast<int>(limit.rlim_cur) - openDescriptors() - kDescriptorsOfOthers;
  return std::clamp(left / kDescriptorsOfTransfer, 1, kManyOpenFiles);
}

}  // namespace

// A task with what its completion is called with.
struct CurlMulti::EndedTask {
  std::unique_ptr<HTTPTask> task;
  HTTPResult result;
  std::weak_ptr<CurlMulti> multi;
};

CurlMulti::CurlMulti() : maximumOpenFiles_(maximumOpenFiles()) {
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
  thread_ = std::thread([this] { run(); });
}

CurlMulti::~CurlMulti() {
  stop();
  for (CURL* easy : idleHandles_) curl_easy_cleanup(easy);
  curl_multi_cleanup(multi_);
  curl_share_cleanup(share_);
}

const std::shared_ptr<CurlMulti>& CurlMulti::shared() {
  // Completions may still use it when the process ends. Its thread must not outlive what it uses,
  // so it is stopped, and the object is never destroyed.
  struct StopAtExit {
    CurlMulti& multi;
    ~StopAtExit() { multi.stop(); }
  };
  static const auto* const multi = [] {
    // Its thread is started first, since the pools take the threads that are left. The pools are
    // made before StopAtExit, and so destroyed after it.
    auto* const made = new std::shared_ptr<CurlMulti>(std::make_shared<CurlMulti>());
    dispatchAsync([] {});
    dispatchFlush([] {});
    return made;
  }();
  static const StopAtExit stopAtExit{**multi};
  return *multi;
}

void CurlMulti::submit(std::unique_ptr<HTTPTask> task) {
  const std::lock_guard lock(mutex_);
  if (isStopped_) return;
  if (submitted_.empty()) wake();
  submitted_.push_back(std::move(task));
}

std::vector<std::unique_ptr<HTTPTask>> CurlMulti::takeSubmitted() {
  const std::lock_guard lock(mutex_);
  return std::exchange(submitted_, {});
}

void CurlMulti::stop() {
  {
    const std::lock_guard lock(mutex_);
    isStopped_ = true;
  }
  wake();
  if (thread_.joinable()) thread_.join();
  for (auto& [key, transfer] : active_) {
    curl_multi_remove_handle(multi_, transfer->easy());
    idleHandles_.push_back(transfer->easy());
  }
  active_.clear();
  // Tasks own their client, and the client those that wait.
  takeSubmitted();
  for (auto& [key, client] : clients_) client->servers_.clear();
  startable_.clear();
  clients_.clear();
}

void CurlMulti::complete(std::unique_ptr<HTTPTask> task, HTTPResult result) {
  if (task->isDownload()) {
    ++task->client->undeliveredFiles_;
    ++undeliveredFiles_;
  }
  auto ended =
      std::make_shared<EndedTask>(EndedTask{std::move(task), std::move(result), weak_from_this()});
  if (!ended->result.file.isOpen()) return callCompletion(std::move(ended));
  dispatchFlush([ended = std::move(ended)]() mutable {
    ended->result.error = ended->result.file.flush();
    if (ended->result.error) ended->result.file = {};
    callCompletion(std::move(ended));
  });
}

void CurlMulti::callCompletion(std::shared_ptr<EndedTask> ended) {
  const std::shared_ptr<CurlClient> client = ended->task->client;
  // Moved, so that what the completion holds is destroyed on the callback queue.
  client->callbackQueue().post([ended = std::move(ended), client] {
    HTTPTask& task = *ended->task;
    HTTPResult& result = ended->result;
    if (!task.isDownload()) {
      std::get<HTTPClient::BodyCompletion>(task.completion)(std::move(result.body), result.response,
                                                            std::move(result.error));
      return;
    }
    std::get<HTTPClient::FileCompletion>(task.completion)(std::move(result.file), result.response,
                                                          std::move(result.error));
    --client->undeliveredFiles_;
    const std::shared_ptr<CurlMulti> multi = ended->multi.lock();
    if (!multi) return;
    --multi->undeliveredFiles_;
    if (multi->waitsForFiles_.exchange(false)) multi->wake();
  });
}

void CurlMulti::run() {
  while (!isStopped_) {
    for (auto& task : takeSubmitted()) enqueue(std::move(task), false);
    startWaiting();
    // Read before libcurl runs: while a slow disk delays it, bytes may arrive in time.
    const auto now = SteadyClock::now();
    int running = 0;
    curl_multi_perform(multi_, &running);
    finishDone();
    if (now >= nextDeadline_) finishOverdue(now);
    startWaiting();
    curl_multi_poll(multi_, nullptr, 0, sleepMilliseconds(), nullptr);
  }
}

void CurlMulti::enqueue(std::unique_ptr<HTTPTask> task, bool again) {
  const std::shared_ptr<CurlClient> client = task->client;
  const std::string server = task->request.url->origin();
  ServerQueue& queue = client->servers_[server];
  (again ? queue.again : queue.waiting).push_back(std::move(task));
  ++client->waiting_;
  clients_.emplace(client.get(), client);
  startable_.emplace(client.get(), server);
}

void CurlMulti::startWaiting() {
  for (auto it = startable_.begin(); it != startable_.end();) {
    Start result = Start::started;
    while (result == Start::started) result = startOne(*it->first, it->second);
    // The end of a transfer inserts its server again.
    it = result == Start::tooManyFiles ? std::next(it) : startable_.erase(it);
  }
  limitConnections();
}

CurlMulti::Start CurlMulti::startOne(CurlClient& client, const std::string& server) {
  ServerQueue& queue = client.servers_[server];
  auto& tasks = queue.again.empty() ? queue.waiting : queue.again;
  if (tasks.empty()) return Start::nothingToStart;
  int limit = client.options().maximumConnectionsPerHost;
  if (http2Servers_.contains(server)) {
    limit = std::clamp(queue.streams, limit, limit * kStreamsPerConnection);
  }
  if (queue.active >= limit) return Start::nothingToStart;
  // Set before the check, so that a completion in between is not missed, and never taken back,
  // since another server may be waiting too. One wake-up too many does no harm.
  waitsForFiles_ = true;
  const int ofAll = static_cast<int>(active_.size()) + undeliveredFiles_;
  if (client.active_ + client.undeliveredFiles_ >= kMaximumOpenFiles ||
      ofAll >= maximumOpenFiles_) {
    return Start::tooManyFiles;
  }

  std::unique_ptr<HTTPTask> task = std::move(tasks.front());
  tasks.pop_front();
  --client.waiting_;
  if (client.options().refusal) {
    if (std::optional<Error> error = client.options().refusal()) {
      complete(std::move(task), {.error = std::move(error)});
      return Start::started;
    }
  }
  ++queue.active;
  ++client.active_;
  start(std::move(task));
  return Start::started;
}

void CurlMulti::start(std::unique_ptr<HTTPTask> task) {
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
  auto transfer = std::make_unique<CurlTransfer>(easy, share_, std::move(task), onHead_);
  nextDeadline_ = std::min(nextDeadline_, transfer->deadline());
  CurlTransfer* const added = transfer.get();
  active_.emplace(added, std::move(transfer));
  if (curl_multi_add_handle(multi_, easy) != CURLM_OK) finish(added, CURLE_FAILED_INIT);
}

// Called inside a callback of libcurl, where no transfer may be started.
void CurlMulti::noteHead(const CurlTransfer& transfer) {
  nextDeadline_ = std::min(nextDeadline_, transfer.deadline());
  std::string server = transfer.task().request.url->origin();
  if (!transfer.isHTTP2()) {
    http2Servers_.erase(server);
  } else if (http2Servers_.insert(server).second) {
    startable_.emplace(transfer.task().client.get(), std::move(server));
  }
}

void CurlMulti::finishDone() {
  int left = 0;
  while (CURLMsg* message = curl_multi_info_read(multi_, &left)) {
    if (message->msg != CURLMSG_DONE) continue;
    CurlTransfer* transfer = nullptr;
    curl_easy_getinfo(message->easy_handle, CURLINFO_PRIVATE, &transfer);
    finish(transfer, message->data.result);
  }
}

void CurlMulti::finishOverdue(SteadyClock::time_point now) {
  std::vector<CurlTransfer*> overdue;
  nextDeadline_ = SteadyClock::time_point::max();
  for (auto& [key, transfer] : active_) {
    const auto deadline = transfer->deadline();
    if (deadline <= now) {
      overdue.push_back(key);
    } else {
      nextDeadline_ = std::min(nextDeadline_, deadline);
    }
  }
  for (CurlTransfer* transfer : overdue) finish(transfer, CURLE_OPERATION_TIMEDOUT);
}

// Many transfers at once pay where most of their time is the round trip. Where the line is full
// they only share it, and all of them run into their timeouts together.
void CurlMulti::adjustStreams(ServerQueue& queue, const CurlTransfer& transfer, CURLcode code) {
  const int connections = transfer.task().client->options().maximumConnectionsPerHost;
  const bool isQuick = code == CURLE_OK && transfer.age() < kQuickTransfer;
  queue.streams = std::clamp(queue.streams + (isQuick ? 1 : -1), connections,
                             connections * kStreamsPerConnection);
}

void CurlMulti::finish(CurlTransfer* transfer, CURLcode code) {
  const std::string server = transfer->task().request.url->origin();
  const std::shared_ptr<CurlClient> client = transfer->task().client;
  ServerQueue& queue = client->servers_[server];
  adjustStreams(queue, *transfer, code);

  std::optional<HTTPResult> result = transfer->finish(code);
  std::unique_ptr<HTTPTask> task = transfer->takeTask();
  curl_multi_remove_handle(multi_, transfer->easy());
  idleHandles_.push_back(transfer->easy());
  active_.erase(transfer);

  --queue.active;
  --client->active_;
  startable_.emplace(client.get(), server);

  if (result) return complete(std::move(task), std::move(*result));
  if (task->withoutHTTP2 && task->isDownload()) lengthlessServers_.insert(server);
  enqueue(std::move(task), true);
}

// startOne() counts tasks per server, which limits connections as long as each carries one
// transfer. Over HTTP/2 libcurl distributes the transfers among connections, and this is its limit.
// It knows no clients, so it gets the sum of those that have a task.
void CurlMulti::limitConnections() {
  long limit = 0;
  for (auto it = clients_.begin(); it != clients_.end();) {
    CurlClient& client = *it->second;
    if (client.active_ == 0 && client.waiting_ == 0) {
      client.servers_.clear();
      it = clients_.erase(it);
    } else {
      limit += client.options().maximumConnectionsPerHost;
      ++it;
    }
  }
  if (http2Servers_.empty()) limit = 0;  // no limit
  if (limit == connectionLimit_) return;
  connectionLimit_ = limit;
  curl_multi_setopt(multi_, CURLMOPT_MAX_HOST_CONNECTIONS, limit);
}

int CurlMulti::sleepMilliseconds() const {
  const auto now = SteadyClock::now();
  if (nextDeadline_ <= now) return 0;
  const bool usesHTTP2 = !active_.empty() && !http2Servers_.empty();
  const auto longest = usesHTTP2 ? kLongestHTTP2Sleep : kLongestSleep;
  const auto sleep = std::min(nextDeadline_ - now, longest);
  return static_cast<int>(std::chrono::ceil<std::chrono::milliseconds>(sleep).count());
}

}  // namespace tolvane
