#pragma once

#include <chrono>
#include <mutex>
#include <optional>
#include <unordered_map>

namespace pell::localserver {

/// Cuts connections off that take too long over the head of a request: one byte now and then keeps the HTTP
/// library's idle limit from ever passing. Any thread.
class HeaderDeadlines {
 public:
  using Clock = std::chrono::steady_clock;

  explicit HeaderDeadlines(Clock::duration limit);

  /// A head is awaited on the socket from now on.
  void await(int socket);
  /// It has come, or the socket is about to be closed.
  void forget(int socket);

  /// Shuts down what is late, and gives when the next one will be.
  std::optional<Clock::time_point> cutOff();

 private:
  const Clock::duration limit_;
  std::mutex mutex_;
  std::unordered_map<int, Clock::time_point> awaited_;
};

}  // namespace pell::localserver
