#pragma once

#include <functional>
#include <thread>

#include "async/Executor.h"

namespace pell {

/// Turns SIGTERM, SIGINT and SIGHUP into work on an executor. One in a process. The signals are handled
/// and not blocked, so that programs started from here get them as usual.
class SignalWatch {
 public:
  /// `handler` runs on `executor` for each signal. Both must outlive the watch.
  SignalWatch(Executor& executor, std::function<void(int signal)> handler);

  /// The signals act as they did before.
  ~SignalWatch();
  SignalWatch(const SignalWatch&) = delete;
  SignalWatch& operator=(const SignalWatch&) = delete;

 private:
  void forward(Executor& executor, const std::function<void(int)>& handler) const;

  int reading_ = -1;
  int writing_ = -1;
  std::thread thread_;
};

}  // namespace pell
