// The owner of running tasks.
#pragma once

#include <coroutine>
#include <memory>
#include <unordered_set>
#include <utility>

#include "async/Executor.h"
#include "async/OneShot.h"
#include "async/Task.h"

namespace pell {

/// Owns the tasks that an object has started, so that none outlives it: destroying the scope abandons
/// every task where it is suspended. A scope is a member of the object whose tasks it runs, declared
/// last, and is destroyed on its executor's thread or after that executor has stopped.
class TaskScope {
 public:
  explicit TaskScope(Executor& executor) : core_(std::make_shared<Core>(executor)) {}
  TaskScope(const TaskScope&) = delete;
  TaskScope& operator=(const TaskScope&) = delete;
  ~TaskScope() { cancelAll(); }

  /// Starts `task` on the scope's executor: always posted, never run inline. A task that ends with an
  /// exception ends the process, as nobody is there to catch it. Any thread.
  void spawn(Task<void> task) {
    auto held = std::make_shared<Task<void>>(std::move(task));
    core_->executor.post([weak = std::weak_ptr(core_), held] {
      if (auto core = weak.lock()) core->start(std::move(*held));
    });
  }

  /// Runs `task` on the scope's executor and gives its outcome to the awaiting coroutine on that
  /// coroutine's own home. Work that the task has posted to the awaiter's executor before it ended runs
  /// there first. The task runs to its end even when nobody waits any longer.
  template <class T>
  Task<T> call(Task<T> task) {
    OneShot<detail::Settled<T>> outcome;
    spawn(report(std::move(task), outcome));
    detail::Settled<T> settled = co_await outcome;
    co_return settled.take();
  }

  /// Abandons every running task. Must not be called from one of them.
  void cancelAll() { core_->destroyAll(); }

 private:
  struct Root;
  struct Core {
    explicit Core(Executor& home) : executor(home) {}
    Executor& executor;
    bool closed = false;
    std::unordered_set<void*> running;

    void start(Task<void> task) {
      if (closed) return;
      drive(std::move(task), this).handle.resume();
    }
    void destroyAll() {
      closed = true;
      auto frames = std::exchange(running, {});
      for (void* frame : frames) std::coroutine_handle<>::from_address(frame).destroy();
      closed = false;
    }
  };

  struct Root {
    struct promise_type : detail::PromiseBase {
      promise_type(Task<void>&, Core* owner) : core(owner) {
        home = &core->executor;
        core->running.insert(handle().address());
      }
      std::coroutine_handle<promise_type> handle() {
        return std::coroutine_handle<promise_type>::from_promise(*this);
      }
      Root get_return_object() { return Root{handle()}; }
      void return_void() const noexcept {}
      [[noreturn]] void unhandled_exception() noexcept { std::terminate(); }
      struct Farewell {
        bool await_ready() const noexcept { return false; }
        void await_suspend(std::coroutine_handle<promise_type> handle) const noexcept {
          handle.promise().core->running.erase(handle.address());
          handle.destroy();
        }
        void await_resume() const noexcept {}
      };
      Farewell final_suspend() const noexcept { return {}; }
      Core* core;
    };
    std::coroutine_handle<promise_type> handle;
  };

  static Root drive(Task<void> task, Core*) { co_await std::move(task); }

  template <class T>
  static Task<void> report(Task<T> task, OneShot<detail::Settled<T>> outcome) {
    outcome.set(co_await detail::settle(std::move(task)));
  }

  std::shared_ptr<Core> core_;
};

}  // namespace pell
