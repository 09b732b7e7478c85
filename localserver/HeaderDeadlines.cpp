#include "localserver/HeaderDeadlines.h"

#include <sys/socket.h>

namespace pell::localserver {

HeaderDeadlines::HeaderDeadlines(Clock::duration limit) : limit_(limit) {}

void HeaderDeadlines::await(int socket) {
  const std::lock_guard lock(mutex_);
  awaited_[socket] = Clock::now() + limit_;
}

void HeaderDeadlines::forget(int socket) {
  const std::lock_guard lock(mutex_);
  awaited_.erase(socket);
}

std::optional<HeaderDeadlines::Clock::time_point> HeaderDeadlines::cutOff() {
  // With the lock held: a socket is forgotten before it is closed, so its number still means the same one.
  const std::lock_guard lock(mutex_);
  const auto now = Clock::now();
  std::optional<Clock::time_point> next;
  for (auto entry = awaited_.begin(); entry != awaited_.end();) {
    if (entry->second <= now) {
      shutdown(entry->first, SHUT_RDWR);
      entry = awaited_.erase(entry);
      continue;
    }
    if (!next || entry->second < *next) next = entry->second;
    ++entry;
  }
  return next;
}

}  // namespace pell::localserver
