// An executor that can be stopped before the tasks that call it home are gone.
#pragma once

#include <memory>
#include <mutex>
#include <utility>

#include "async/Executor.h"

namespace pell {

/// Owns a serial executor and can end it while others still hold a reference: work that arrives
/// afterwards is dropped. The owner of a `TaskScope` on an executor of its own stops the executor first
/// and abandons the tasks second; a reply that arrives in between finds this object and does nothing.
class StoppableExecutor final : public Executor {
 public:
  explicit StoppableExecutor(std::unique_ptr<Executor> inner) : inner_(std::move(inner)) {}

  /// Waits for the work that is running now and drops the rest. Not from that work itself.
  void stop() {
    std::unique_ptr<Executor> ended;
    {
      std::lock_guard lock(mutex_);
      ended = std::move(inner_);
    }
  }

  void post(Work work) override {
    std::lock_guard lock(mutex_);
    if (inner_) inner_->post(std::move(work));
  }

  DelayedWork postAfter(Seconds delay, Work work) override {
    std::lock_guard lock(mutex_);
    return inner_ ? inner_->postAfter(delay, std::move(work)) : DelayedWork();
  }

  Instant now() const override {
    std::lock_guard lock(mutex_);
    return inner_ ? inner_->now() : Instant{};
  }

  bool isCurrent() const override {
    std::lock_guard lock(mutex_);
    return inner_ && inner_->isCurrent();
  }

 private:
  mutable std::mutex mutex_;
  std::unique_ptr<Executor> inner_;
};

}  // namespace pell
