// A value that is set once, from any thread, and awaited by one coroutine.
#pragma once

#include <coroutine>
#include <memory>
#include <mutex>
#include <optional>
#include <utility>

#include "async/Executor.h"

namespace pell {

/// The bridge from callbacks to coroutines. Copies share one value: hand one copy to the callback and
/// await the other. The first `set` wins and later ones are ignored, which makes races (a reply against
/// a time-out) one line. A waiter whose coroutine is destroyed simply stops waiting.
template <class T>
class OneShot {
  struct State {
    std::mutex mutex;
    std::optional<T> value;
    std::coroutine_handle<> waiter;
    Executor* home = nullptr;
  };

 public:
  OneShot() : state_(std::make_shared<State>()) {}

  /// True if this call set the value; false if it was set before. Any thread.
  bool set(T value) const {
    Executor* home = nullptr;
    {
      std::lock_guard lock(state_->mutex);
      if (state_->value) return false;
      state_->value.emplace(std::move(value));
      if (state_->waiter) home = state_->home;
      // Posted under the lock, so that the waiter's executor cannot be gone in between.
      if (home) home->post([state = state_] { resume(*state); });
    }
    return true;
  }

  bool isSet() const {
    std::lock_guard lock(state_->mutex);
    return state_->value.has_value();
  }

  class Awaiter {
   public:
    explicit Awaiter(std::shared_ptr<State> state) : state_(std::move(state)) {}
    Awaiter(const Awaiter&) = delete;
    Awaiter& operator=(const Awaiter&) = delete;
    ~Awaiter() {
      std::lock_guard lock(state_->mutex);
      state_->waiter = nullptr;
    }

    bool await_ready() const {
      std::lock_guard lock(state_->mutex);
      return state_->value.has_value();
    }

    template <class Promise>
    bool await_suspend(std::coroutine_handle<Promise> handle) {
      std::lock_guard lock(state_->mutex);
      if (state_->value) return false;
      state_->waiter = handle;
      state_->home = handle.promise().home;
      return true;
    }

    T await_resume() {
      std::lock_guard lock(state_->mutex);
      return std::move(*state_->value);
    }

   private:
    std::shared_ptr<State> state_;
  };

  Awaiter operator co_await() const { return Awaiter(state_); }

 private:
  static void resume(State& state) {
    std::coroutine_handle<> waiter;
    {
      std::lock_guard lock(state.mutex);
      waiter = std::exchange(state.waiter, nullptr);
    }
    if (waiter) waiter.resume();
  }

  std::shared_ptr<State> state_;
};

}  // namespace pell
