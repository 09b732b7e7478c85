#include "localserver/WorkerPool.h"

namespace pell::localserver {

WorkerPool::WorkerPool(std::size_t threads, std::size_t queueLimit) : queueLimit_(queueLimit) {
  for (std::size_t i = 0; i < threads; ++i) threads_.emplace_back([this] { run(); });
}

WorkerPool::~WorkerPool() {
  {
    std::lock_guard lock(mutex_);
    ending_ = true;
  }
  wake_.notify_all();
  for (auto& thread : threads_) thread.join();
}

bool WorkerPool::post(std::function<void()> work) {
  {
    std::lock_guard lock(mutex_);
    if (ending_ || queue_.size() >= queueLimit_) return false;
    queue_.push_back(std::move(work));
  }
  wake_.notify_one();
  return true;
}

void WorkerPool::run() {
  while (true) {
    std::function<void()> work;
    {
      std::unique_lock lock(mutex_);
      wake_.wait(lock, [this] { return ending_ || !queue_.empty(); });
      if (ending_) return;
      work = std::move(queue_.front());
      queue_.pop_front();
    }
    work();
  }
}

}  // namespace pell::localserver
