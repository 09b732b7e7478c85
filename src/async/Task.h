// Lazy coroutines with a home executor.
#pragma once

#include <coroutine>
#include <exception>
#include <optional>
#include <utility>
#include <variant>

#include "async/Executor.h"

namespace pell {

template <class T>
class Task;

namespace detail {

struct PromiseBase {
  Executor* home = nullptr;
  std::coroutine_handle<> continuation;
  std::exception_ptr failure;

  std::suspend_always initial_suspend() const noexcept { return {}; }
  void unhandled_exception() noexcept { failure = std::current_exception(); }

  struct FinalAwaiter {
    bool await_ready() const noexcept { return false; }
    template <class Promise>
    std::coroutine_handle<> await_suspend(std::coroutine_handle<Promise> handle) const noexcept {
      auto next = handle.promise().continuation;
      return next ? next : std::noop_coroutine();
    }
    void await_resume() const noexcept {}
  };
  FinalAwaiter final_suspend() const noexcept { return {}; }
};

template <class T>
struct Promise : PromiseBase {
  std::optional<T> value;
  Task<T> get_return_object();
  template <class U>
  void return_value(U&& result) {
    value.emplace(std::forward<U>(result));
  }
  T take() {
    if (failure) std::rethrow_exception(failure);
    return std::move(*value);
  }
};

template <>
struct Promise<void> : PromiseBase {
  Task<void> get_return_object();
  void return_void() const noexcept {}
  void take() const {
    if (failure) std::rethrow_exception(failure);
  }
};

}  // namespace detail

/// A coroutine that starts when it is awaited or given to a `TaskScope`, and that runs only on one
/// executor, its home: the scope's for a task that a scope started, the awaiting coroutine's for a task
/// that is awaited. A task that is destroyed before its end is abandoned where it stands; its locals are
/// destroyed. To run a task on another executor and come back, use `TaskScope::call`.
template <class T = void>
class [[nodiscard]] Task {
 public:
  using promise_type = detail::Promise<T>;
  using Handle = std::coroutine_handle<promise_type>;

  explicit Task(Handle handle) : handle_(handle) {}
  Task(Task&& other) noexcept : handle_(std::exchange(other.handle_, nullptr)) {}
  Task& operator=(Task&& other) noexcept {
    if (this != &other) {
      destroy();
      handle_ = std::exchange(other.handle_, nullptr);
    }
    return *this;
  }
  Task(const Task&) = delete;
  Task& operator=(const Task&) = delete;
  ~Task() { destroy(); }

  class Awaiter {
   public:
    explicit Awaiter(Handle handle) : handle_(handle) {}
    bool await_ready() const noexcept { return false; }
    template <class Promise>
    std::coroutine_handle<> await_suspend(std::coroutine_handle<Promise> awaiting) noexcept {
      handle_.promise().home = awaiting.promise().home;
      handle_.promise().continuation = awaiting;
      return handle_;
    }
    T await_resume() { return handle_.promise().take(); }

   private:
    Handle handle_;
  };

  Awaiter operator co_await() && { return Awaiter(handle_); }

 private:
  void destroy() {
    if (handle_) std::exchange(handle_, nullptr).destroy();
  }

  Handle handle_;
};

namespace detail {
template <class T>
Task<T> Promise<T>::get_return_object() {
  return Task<T>(std::coroutine_handle<Promise<T>>::from_promise(*this));
}
inline Task<void> Promise<void>::get_return_object() {
  return Task<void>(std::coroutine_handle<Promise<void>>::from_promise(*this));
}

/// What a finished task left: its value, or the exception that it ended with.
template <class T>
struct Settled {
  using Value = std::conditional_t<std::is_void_v<T>, std::monostate, T>;
  std::variant<Value, std::exception_ptr> content;

  T take() {
    if (auto* failure = std::get_if<std::exception_ptr>(&content)) std::rethrow_exception(*failure);
    if constexpr (!std::is_void_v<T>) return std::move(std::get<Value>(content));
  }
};

template <class T>
Task<Settled<T>> settle(Task<T> task) {
  Settled<T> result;
  try {
    if constexpr (std::is_void_v<T>) {
      co_await std::move(task);
    } else {
      result.content.template emplace<0>(co_await std::move(task));
    }
  } catch (...) {
    result.content.template emplace<1>(std::current_exception());
  }
  co_return result;
}
}  // namespace detail

}  // namespace pell
