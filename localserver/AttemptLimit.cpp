#include "localserver/AttemptLimit.h"

#include <algorithm>

namespace pell::localserver {

AttemptLimit::AttemptLimit(int perMinute) : perMinute_(perMinute) {}

bool AttemptLimit::allow(const std::string& key, Clock::time_point now) {
  if (perMinute_ <= 0) return true;
  const std::lock_guard lock(mutex_);
  // A bucket that has had a minute is full again, which is what a missing one means.
  if (buckets_.size() > 10'000) {
    std::erase_if(buckets_,
                  [&](const auto& entry) { return now - entry.second.filled >= std::chrono::minutes(1); });
  }
  const double most = perMinute_;
  Bucket& bucket = buckets_.try_emplace(key, Bucket{.left = most, .filled = now}).first->second;
  const std::chrono::duration<double, std::ratio<60>> minutes = now - bucket.filled;
  bucket.left = std::min(most, bucket.left + minutes.count() * most);
  bucket.filled = now;
  if (bucket.left < 1) return false;
  bucket.left -= 1;
  return true;
}

}  // namespace pell::localserver
