// A main loop in real time, without a toolkit.
#pragma once

#include <condition_variable>
#include <functional>
#include <map>
#include <memory>
#include <mutex>
#include <thread>

#include "async/Executor.h"

namespace pell::testing {

/// Runs work only while its own thread is inside `runFor` or `runUntil`, as a test's main thread is.
class RealLoop : public MainLoop {
 public:
  void post(Work work) override { add(now(), std::make_shared<Work>(std::move(work))); }

  DelayedWork postAfter(Seconds delay, Work work) override {
    auto held = std::make_shared<Work>(std::move(work));
    add(now() + toNanoseconds(delay), held);
    return DelayedWork([weak = std::weak_ptr(held)] {
      if (auto pending = weak.lock()) *pending = nullptr;
    });
  }

  Instant now() const override { return std::chrono::steady_clock::now(); }
  bool isCurrent() const override { return std::this_thread::get_id() == thread_; }

  void runFor(Seconds span) override {
    runUntil([] { return false; }, span);
  }

  /// True as soon as `done` holds, which is looked at after every piece of work and every few milliseconds.
  bool runUntil(const std::function<bool()>& done, Seconds limit) {
    const auto end = now() + toNanoseconds(limit);
    for (;;) {
      if (done()) return true;
      if (now() >= end) return false;
      if (auto work = next(std::min(end, now() + std::chrono::milliseconds(2))); work && *work) (*work)();
    }
  }

 private:
  void add(Instant due, std::shared_ptr<Work> work) {
    std::lock_guard lock(mutex_);
    queue_.emplace(due, std::move(work));
    changed_.notify_one();
  }

  std::shared_ptr<Work> next(Instant end) {
    std::unique_lock lock(mutex_);
    const auto due = [this] { return !queue_.empty() && queue_.begin()->first <= now(); };
    if (!due()) changed_.wait_until(lock, queue_.empty() ? end : std::min(end, queue_.begin()->first), due);
    if (!due()) return nullptr;
    auto work = std::move(queue_.begin()->second);
    queue_.erase(queue_.begin());
    return work;
  }

  std::thread::id thread_ = std::this_thread::get_id();
  std::mutex mutex_;
  std::condition_variable changed_;
  std::multimap<Instant, std::shared_ptr<Work>> queue_;
};

}  // namespace pell::testing
