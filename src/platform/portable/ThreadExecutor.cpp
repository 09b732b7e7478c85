#include "platform/portable/ThreadExecutor.h"

#include <algorithm>
#include <condition_variable>
#include <cstdint>
#include <map>
#include <mutex>
#include <thread>
#include <utility>

#include "platform/portable/Threads.h"

namespace pell {

struct ThreadExecutor::Core {
  using Key = std::pair<Instant, std::uint64_t>;

  std::mutex mutex;
  std::condition_variable changed;
  std::map<Key, Work> waiting;
  std::uint64_t sequence = 0;
  bool stopping = false;
  std::thread thread;

  Key add(Seconds delay, Work work) {
    // A century is as good as never, and stays clear of the clock's range.
    constexpr Seconds longest{3.2e9};
    const auto wait =
        delay > Seconds(0) ? toNanoseconds(std::min(delay, longest)) : std::chrono::nanoseconds(0);
    std::lock_guard lock(mutex);
    Key key{std::chrono::steady_clock::now() + wait, sequence++};
    waiting.emplace(key, std::move(work));
    changed.notify_one();
    return key;
  }

  void cancel(Key key) {
    decltype(waiting)::node_type dropped;  // destroyed without the lock: it may hold handles of its own
    std::lock_guard lock(mutex);
    dropped = waiting.extract(key);
  }

  /// The next piece of work that is due; empty once the executor stops.
  Work next() {
    std::unique_lock lock(mutex);
    while (!stopping) {
      if (waiting.empty()) {
        changed.wait(lock);
      } else if (auto due = waiting.begin()->first.first; due > std::chrono::steady_clock::now()) {
        changed.wait_until(lock, due);
      } else {
        return std::move(waiting.extract(waiting.begin()).mapped());
      }
    }
    return nullptr;
  }

  void run() {
    while (auto work = next()) work();
  }
};

ThreadExecutor::ThreadExecutor(std::string_view name) : core_(std::make_shared<Core>()) {
  core_->thread = startThread(name, [core = core_.get()] { core->run(); });
}

ThreadExecutor::~ThreadExecutor() {
  {
    std::lock_guard lock(core_->mutex);
    core_->stopping = true;
    core_->changed.notify_one();
  }
  core_->thread.join();
  std::unique_lock lock(core_->mutex);
  auto dropped = std::exchange(core_->waiting, {});
  lock.unlock();
}

void ThreadExecutor::post(Work work) { core_->add(Seconds(0), std::move(work)); }

DelayedWork ThreadExecutor::postAfter(Seconds delay, Work work) {
  auto key = core_->add(delay, std::move(work));
  return DelayedWork([weak = std::weak_ptr(core_), key] {
    if (auto core = weak.lock()) core->cancel(key);
  });
}

Instant ThreadExecutor::now() const { return std::chrono::steady_clock::now(); }

bool ThreadExecutor::isCurrent() const { return core_->thread.get_id() == std::this_thread::get_id(); }

SerialExecutorFactory threadExecutors() {
  return [](std::string_view name) { return std::make_unique<ThreadExecutor>(name); };
}

}  // namespace pell
