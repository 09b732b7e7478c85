#include "localserver/AttemptLimit.h"

#include <algorithm>
#include <arpa/inet.h>
#include <array>

namespace pell::localserver {

AttemptLimit::AttemptLimit(int attempts, Clock::duration period) : attempts_(attempts), period_(period) {}

bool AttemptLimit::allow(const std::string& key, Clock::time_point now) {
  if (attempts_ <= 0) return true;
  const std::lock_guard lock(mutex_);
  if (buckets_.size() >= sweepAt_) {
    // A bucket that has had a whole period is full again, which is what a missing one means.
    std::erase_if(buckets_, [&](const auto& entry) { return now - entry.second.filled >= period_; });
    sweepAt_ = std::max<std::size_t>(10'000, buckets_.size() * 2);
  }
  const double most = attempts_;
  Bucket& bucket = buckets_.try_emplace(key, Bucket{.left = most, .filled = now}).first->second;
  const double periods = std::chrono::duration<double>(now - bucket.filled) / period_;
  bucket.left = std::min(most, bucket.left + periods * most);
  bucket.filled = now;
  if (bucket.left < 1) return false;
  bucket.left -= 1;
  return true;
}

void AttemptLimit::giveBack(const std::string& key) {
  const std::lock_guard lock(mutex_);
  const auto found = buckets_.find(key);
  if (found != buckets_.end()) found->second.left += 1;
}

std::string attemptKey(const std::string& address) {
  in6_addr bytes{};
  if (inet_pton(AF_INET6, address.c_str(), &bytes) != 1 || IN6_IS_ADDR_V4MAPPED(&bytes)) return address;
  std::fill(std::begin(bytes.s6_addr) + 8, std::end(bytes.s6_addr), std::uint8_t{0});
  std::array<char, INET6_ADDRSTRLEN> text{};
  return inet_ntop(AF_INET6, &bytes, text.data(), text.size());
}

}  // namespace pell::localserver
