// Threads that take pieces of work in the order in which they came.
#pragma once

#include <condition_variable>
#include <cstddef>
#include <deque>
#include <functional>
#include <mutex>
#include <thread>
#include <vector>

namespace pell::localserver {

/// A fixed number of threads before a bounded queue. The destructor waits for the work that runs and drops
/// the work that waits.
class WorkerPool {
 public:
  WorkerPool(std::size_t threads, std::size_t queueLimit);
  ~WorkerPool();
  WorkerPool(const WorkerPool&) = delete;
  WorkerPool& operator=(const WorkerPool&) = delete;

  /// False where the queue is full or the pool is ending. The work must not throw. Any thread.
  bool post(std::function<void()> work);

 private:
  void run();

  const std::size_t queueLimit_;
  std::mutex mutex_;
  std::condition_variable wake_;
  std::deque<std::function<void()>> queue_;
  bool ending_ = false;
  std::vector<std::thread> threads_;
};

}  // namespace pell::localserver
