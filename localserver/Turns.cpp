#include "localserver/Turns.h"

namespace pell::localserver {

std::shared_ptr<const void> Turns::take(const std::string& user) {
  {
    const std::lock_guard lock(mutex_);
    std::size_t& taken = taken_[user];
    if (taken >= most_) return nullptr;
    ++taken;
  }
  return {this, [this, user](const void*) { giveBack(user); }};
}

void Turns::giveBack(const std::string& user) {
  const std::lock_guard lock(mutex_);
  const auto found = taken_.find(user);
  if (--found->second == 0) taken_.erase(found);
}

}  // namespace pell::localserver
