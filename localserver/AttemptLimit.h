#pragma once

#include <chrono>
#include <mutex>
#include <string>
#include <unordered_map>

namespace pell::localserver {

/// Holds back whoever tries again and again: per key so many attempts in a period, all of which may come at
/// once. Any thread.
class AttemptLimit {
 public:
  using Clock = std::chrono::steady_clock;

  /// 0 attempts: no limit.
  explicit AttemptLimit(int attempts, Clock::duration period = std::chrono::minutes(1));

  /// Whether one more attempt is allowed now; it is counted if so.
  bool allow(const std::string& key, Clock::time_point now);
  /// Takes back that one was counted.
  void giveBack(const std::string& key);

 private:
  struct Bucket {
    double left = 0;
    Clock::time_point filled;
  };

  const int attempts_;
  const Clock::duration period_;
  std::mutex mutex_;
  std::unordered_map<std::string, Bucket> buckets_;
  std::size_t sweepAt_ = 10'000;
};

/// What attempts from a numeric address are counted under: an IPv4 address itself, of an IPv6 address the
/// network of 64 bits, any part of which its owner may use.
std::string attemptKey(const std::string& address);

}  // namespace pell::localserver
