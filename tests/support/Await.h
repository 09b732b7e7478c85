#pragma once

#include <memory>
#include <optional>
#include <stdexcept>
#include <utility>

#include "async/TaskScope.h"
#include "support/VirtualTime.h"

namespace pell::testing {

/// What a started task has come to so far.
template <class T>
class Pending {
 public:
  bool isDone() const { return outcome_->has_value(); }

  /// The value; throws what the task threw, or if it has not ended.
  T get() const {
    if (!isDone()) throw std::logic_error("the task has not ended");
    auto outcome = **outcome_;
    return outcome.take();
  }

  static Task<> collect(Task<T> task, Pending pending) {
    auto settling = detail::settle(std::move(task));
    *pending.outcome_ = co_await std::move(settling);
  }

 private:
  std::shared_ptr<std::optional<detail::Settled<T>>> outcome_ =
      std::make_shared<std::optional<detail::Settled<T>>>();
};

template <class T>
Pending<T> start(TaskScope& scope, Task<T> task) {
  Pending<T> pending;
  scope.spawn(Pending<T>::collect(std::move(task), pending));
  return pending;
}

/// Runs a task on the main loop for as long as it takes, its sleeps and time limits included.
template <class T>
T await(VirtualTime& time, Task<T> task) {
  TaskScope scope(time.main());
  auto pending = start(scope, std::move(task));
  while (!pending.isDone() && time.step()) {
  }
  return pending.get();
}

}  // namespace pell::testing
