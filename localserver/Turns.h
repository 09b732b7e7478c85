#pragma once

#include <cstddef>
#include <memory>
#include <mutex>
#include <string>
#include <unordered_map>

namespace pell::localserver {

/// So many pieces of work at a time for each user, so that nobody holds all the workers. Any thread.
class Turns {
 public:
  explicit Turns(std::size_t most) : most_(most) {}

  /// A turn, which lasts as long as what is given, and that must not outlive this; null where the user has
  /// as many as there may be.
  std::shared_ptr<const void> take(const std::string& user);

 private:
  void giveBack(const std::string& user);

  const std::size_t most_;
  std::mutex mutex_;
  /// Those who have none are not in it.
  std::unordered_map<std::string, std::size_t> taken_;
};

}  // namespace pell::localserver
