#pragma once

#include <functional>
#include <thread>

#include "async/Executor.h"

namespace pell {

/// Turns SIGTERM, SIGINT and SIGHUP into work on an executor. Made first thing in `main`, before any other
/// thread starts, as the signals are blocked in every thread that is started afterwards.
class SignalWatch {
 public:
  SignalWatch();
  ~SignalWatch();
  SignalWatch(const SignalWatch&) = delete;
  SignalWatch& operator=(const SignalWatch&) = delete;

  /// `handler` runs on `executor` for each signal from now on, also for one that came before. Once.
  void start(Executor& executor, std::function<void(int signal)> handler);

  /// Lets the signals of this process through to a child; called between fork and exec.
  static void unblockInChild();

 private:
  int descriptor_ = -1;
  int wake_ = -1;
  std::thread thread_;
};

}  // namespace pell
