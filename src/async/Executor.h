// Where work runs. One interface for the main loop, for serial background queues and for the
// virtual-time scheduler of the tests.
#pragma once

#include <functional>
#include <memory>
#include <string_view>
#include <utility>

#include "async/Time.h"

namespace pell {

/// A pending piece of delayed work. Destroying or resetting the handle on the executor's own thread
/// guarantees that the work does not run afterwards. An empty handle is inert.
class DelayedWork {
 public:
  DelayedWork() = default;
  explicit DelayedWork(std::function<void()> cancel) : cancel_(std::move(cancel)) {}
  DelayedWork(DelayedWork&& other) noexcept : cancel_(std::exchange(other.cancel_, nullptr)) {}
  DelayedWork& operator=(DelayedWork&& other) noexcept {
    if (this != &other) {
      cancel();
      cancel_ = std::exchange(other.cancel_, nullptr);
    }
    return *this;
  }
  DelayedWork(const DelayedWork&) = delete;
  DelayedWork& operator=(const DelayedWork&) = delete;
  ~DelayedWork() { cancel(); }

  void cancel() {
    if (auto cancel = std::exchange(cancel_, nullptr)) cancel();
  }

 private:
  std::function<void()> cancel_;
};

/// Runs work one piece after the other, in the order in which it was posted.
///
/// Threads: `post` and `postAfter` may be called from anywhere; work runs on the executor's thread.
/// Work that is still waiting when the executor is destroyed is dropped without running.
class Executor {
 public:
  using Work = std::function<void()>;

  virtual ~Executor() = default;

  /// Runs `work` later, never inline.
  virtual void post(Work work) = 0;

  /// Runs `work` once `delay` has passed, unless the returned handle is destroyed first. Work that
  /// falls due at the same instant runs in the order of its posting.
  [[nodiscard]] virtual DelayedWork postAfter(Seconds delay, Work work) = 0;

  /// The monotonic time as this executor counts it.
  virtual Instant now() const = 0;

  /// True on the executor's own thread.
  virtual bool isCurrent() const = 0;
};

/// The main thread's executor. It alone can be pumped from inside its own work, for the one bounded
/// wait of a paste.
class MainLoop : public Executor {
 public:
  /// Runs other work of this executor for `span`, then returns. Main thread only; may nest.
  virtual void runFor(Seconds span) = 0;
};

/// Makes a serial executor of its own; the name shows in debuggers and thread lists.
using SerialExecutorFactory = std::function<std::unique_ptr<Executor>(std::string_view name)>;

/// A timer that fires again and again until it is stopped or destroyed. Each interval begins when the
/// firing before it was due to run, so that a slow firing never causes a burst. Belongs to the executor's
/// thread.
class RepeatingTimer {
 public:
  RepeatingTimer() = default;
  RepeatingTimer(const RepeatingTimer&) = delete;
  RepeatingTimer& operator=(const RepeatingTimer&) = delete;

  void start(Executor& executor, Seconds interval, std::function<void()> firing) {
    executor_ = &executor;
    interval_ = interval;
    firing_ = std::make_shared<std::function<void()>>(std::move(firing));
    arm();
  }

  void stop() {
    pending_.cancel();
    firing_.reset();
  }

 private:
  void arm() {
    pending_ = executor_->postAfter(interval_, [this] {
      auto firing = firing_;  // the firing may stop or destroy this timer
      arm();
      (*firing)();
    });
  }

  Executor* executor_ = nullptr;
  Seconds interval_{};
  std::shared_ptr<std::function<void()>> firing_;
  DelayedWork pending_;
};

}  // namespace pell
