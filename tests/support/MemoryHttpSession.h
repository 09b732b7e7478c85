#pragma once

#include <deque>
#include <functional>
#include <map>
#include <memory>
#include <optional>
#include <string>
#include <utility>
#include <vector>

#include "platform/HttpSession.h"
#include "support/VirtualTime.h"

namespace pell::testing {

/// A server that answers by script: a reply to each request in turn, or by a function of the request.
/// A request that nothing was scripted for fails as if nobody listened.
class MemoryHttpSession final : public HttpSession {
 public:
  explicit MemoryHttpSession(VirtualTime& time) : lane_(time.serialExecutors()("http")) {}

  struct Reply {
    HttpOutcome outcome;
    Seconds delay{0};
  };

  std::function<std::optional<Reply>(const HttpRequest&)> responder;  // asked when the queue is empty
  std::vector<HttpRequest> requests;

  void enqueue(Reply reply) { queue_.push_back(std::move(reply)); }
  void reply(int status, std::string body, Seconds delay = Seconds(0)) {
    enqueue({.outcome = HttpResponse{.status = status,
                                     .headers = {{"content-type", "application/json"}},
                                     .body = std::move(body)},
             .delay = delay});
  }
  void fail(std::string description, Seconds delay = Seconds(0)) {
    enqueue({.outcome = HttpFailure{std::move(description)}, .delay = delay});
  }

  void send(HttpRequest request, std::function<void(HttpOutcome)> completion) override {
    requests.push_back(request);
    auto answer = next(request);
    auto limit = std::min(request.timeout, request.resourceTimeout);
    if (answer.delay > limit) answer = {.outcome = HttpFailure{"The request timed out."}, .delay = limit};
    auto id = nextId_++;
    auto held = std::make_shared<std::function<void(HttpOutcome)>>(std::move(completion));
    auto outcome = std::make_shared<HttpOutcome>(std::move(answer.outcome));
    inFlight_.emplace(id, lane_->postAfter(answer.delay, [this, id, held, outcome] {
      auto finished = inFlight_.extract(id);
      (*held)(std::move(*outcome));
    }));
  }

 private:
  Reply next(const HttpRequest& request) {
    if (!queue_.empty()) {
      auto reply = std::move(queue_.front());
      queue_.pop_front();
      return reply;
    }
    if (responder) {
      if (auto reply = responder(request)) return std::move(*reply);
    }
    return {.outcome = HttpFailure{"Nobody listens."}};
  }

  std::deque<Reply> queue_;
  std::unique_ptr<Executor> lane_;
  std::map<int, DelayedWork> inFlight_;
  int nextId_ = 0;
};

}  // namespace pell::testing
