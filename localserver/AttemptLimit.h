#pragma once

#include <chrono>
#include <mutex>
#include <string>
#include <unordered_map>

namespace pell::localserver {

/// Holds back whoever tries passwords: per key (a client's address) so many attempts a minute, of which a
/// whole minute's worth may come at once. Any thread.
class AttemptLimit {
 public:
  using Clock = std::chrono::steady_clock;

  /// 0 per minute: no limit.
  explicit AttemptLimit(int perMinute);

  /// Whether one more attempt is allowed now; it is counted if so.
  bool allow(const std::string& key, Clock::time_point now);

 private:
  struct Bucket {
    double left = 0;
    Clock::time_point filled;
  };

  const int perMinute_;
  std::mutex mutex_;
  std::unordered_map<std::string, Bucket> buckets_;
};

}  // namespace pell::localserver
