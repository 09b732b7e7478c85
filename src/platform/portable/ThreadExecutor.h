#pragma once

#include <memory>
#include <string_view>

#include "async/Executor.h"

namespace pell {

/// A serial executor on a thread of its own, timed by the steady clock. Sleeps while there is nothing to do.
/// The destructor waits for the work that is running, drops the rest and joins; it must not run inside that
/// work.
class ThreadExecutor final : public Executor {
 public:
  /// `name` shows in debuggers and thread lists; its first 15 bytes count.
  explicit ThreadExecutor(std::string_view name);
  ~ThreadExecutor() override;

  void post(Work work) override;
  [[nodiscard]] DelayedWork postAfter(Seconds delay, Work work) override;
  Instant now() const override;
  bool isCurrent() const override;

 private:
  struct Core;
  std::shared_ptr<Core> core_;
};

SerialExecutorFactory threadExecutors();

}  // namespace pell
