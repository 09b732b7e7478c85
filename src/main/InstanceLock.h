// One running application for each user session.
#pragma once

#include <filesystem>
#include <string>

namespace pell {

/// The private folder in which the running application is found: `$XDG_RUNTIME_DIR/pell`, or a folder of
/// the user's own below the temporary directory. Created with the mode 0700. Empty if there is no folder
/// that belongs to the user alone.
std::filesystem::path runtimeFolder();

/// Held from start to end by the one instance; the kernel lets it go when the process dies.
class InstanceLock {
 public:
  explicit InstanceLock(const std::filesystem::path& file);
  ~InstanceLock();
  InstanceLock(const InstanceLock&) = delete;
  InstanceLock& operator=(const InstanceLock&) = delete;

  enum class State {
    held,
    taken,        // another process holds it
    unavailable,  // the file cannot be opened
  };
  State state() const { return state_; }

 private:
  int descriptor_ = -1;
  State state_ = State::unavailable;
};

}  // namespace pell
