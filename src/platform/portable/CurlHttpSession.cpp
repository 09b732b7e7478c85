#include "platform/portable/CurlHttpSession.h"

#include <algorithm>
#include <atomic>
#include <mutex>
#include <thread>
#include <utility>
#include <vector>

#include "platform/portable/CurlTransfer.h"
#include "platform/portable/Threads.h"

namespace pell {

class CurlHttpSession::Worker {
 public:
  explicit Worker(std::size_t largestReply) : largestReply_(largestReply), multi_(curl_multi_init()) {
    thread_ = startThread("http", [this] { run(); });
  }

  ~Worker() {
    stopping_ = true;
    curl_multi_wakeup(multi_.get());
    thread_.join();
    for (auto& transfer : running_) curl_multi_remove_handle(multi_.get(), transfer->handle());
  }

  void send(HttpRequest request, std::function<void(HttpOutcome)> completion) {
    auto transfer = std::make_unique<CurlTransfer>(std::move(request), std::move(completion), largestReply_);
    {
      std::lock_guard lock(mutex_);
      arriving_.push_back(std::move(transfer));
    }
    curl_multi_wakeup(multi_.get());
  }

 private:
  using Transfer = std::unique_ptr<CurlTransfer>;

  static Instant now() { return std::chrono::steady_clock::now(); }

  void run() {
    while (!stopping_) {
      admit();
      int count = 0;
      curl_multi_perform(multi_.get(), &count);
      for (auto& transfer : running_) transfer->notice(now());
      finish();
      expire();
      if (!stopping_) curl_multi_poll(multi_.get(), nullptr, 0, pause(), nullptr);
    }
  }

  void admit() {
    std::vector<Transfer> arrived;
    {
      std::lock_guard lock(mutex_);
      arrived.swap(arriving_);
    }
    for (auto& transfer : arrived) {
      if (stopping_) return;
      if (auto refused = transfer->prepare(now())) {
        transfer->complete(HttpFailure{std::move(*refused)});
      } else {
        curl_multi_add_handle(multi_.get(), transfer->handle());
        running_.push_back(std::move(transfer));
      }
    }
  }

  void finish() {
    int left = 0;
    while (auto* message = stopping_ ? nullptr : curl_multi_info_read(multi_.get(), &left)) {
      if (message->msg != CURLMSG_DONE) continue;
      CURL* handle = message->easy_handle;
      const CURLcode result = message->data.result;
      auto transfer = take(handle);
      auto outcome = transfer->outcome(result);
      transfer->complete(std::move(outcome));
    }
  }

  /// Removes a transfer from the session.
  Transfer take(CURL* handle) {
    curl_multi_remove_handle(multi_.get(), handle);
    auto place = std::find_if(running_.begin(), running_.end(),
                              [&](const Transfer& transfer) { return transfer->handle() == handle; });
    auto transfer = std::move(*place);
    running_.erase(place);
    return transfer;
  }

  void expire() {
    std::vector<CURL*> late;
    for (auto& transfer : running_) {
      if (transfer->expired(now())) late.push_back(transfer->handle());
    }
    for (auto* handle : late) {
      auto transfer = take(handle);
      if (!stopping_) transfer->complete(HttpFailure{transfer->expired(now()).value_or("Too late.")});
    }
  }

  /// Milliseconds until a limit may have passed; without requests, until somebody wakes the thread.
  int pause() const {
    Instant next = now() + std::chrono::minutes(10);
    for (const auto& transfer : running_) next = std::min(next, transfer->deadline());
    const auto wait = std::chrono::ceil<std::chrono::milliseconds>(next - now()).count();
    return static_cast<int>(std::max<long long>(wait, 0));
  }

  const std::size_t largestReply_;
  CurlMulti multi_;
  std::mutex mutex_;
  std::vector<Transfer> arriving_;
  std::vector<Transfer> running_;
  std::atomic<bool> stopping_ = false;
  std::thread thread_;
};

CurlHttpSession::CurlHttpSession(std::size_t largestReply) {
  static const CURLcode ready = curl_global_init(CURL_GLOBAL_DEFAULT);
  (void)ready;
  worker_ = std::make_unique<Worker>(largestReply);
}

CurlHttpSession::~CurlHttpSession() = default;

void CurlHttpSession::send(HttpRequest request, std::function<void(HttpOutcome)> completion) {
  worker_->send(std::move(request), std::move(completion));
}

}  // namespace pell
