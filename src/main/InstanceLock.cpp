#include "main/InstanceLock.h"

#include <cstdlib>
#include <fcntl.h>
#include <fmt/format.h>
#include <sys/file.h>
#include <sys/stat.h>
#include <unistd.h>

namespace pell {
namespace {

bool isPrivate(const std::filesystem::path& folder) {
  struct stat info {};
  return ::lstat(folder.c_str(), &info) == 0 && S_ISDIR(info.st_mode) && info.st_uid == ::geteuid() &&
         (info.st_mode & 077) == 0;
}

bool makePrivate(const std::filesystem::path& folder) {
  ::mkdir(folder.c_str(), 0700);
  return isPrivate(folder);
}

}  // namespace

std::filesystem::path runtimeFolder() {
  if (const char* runtime = std::getenv("XDG_RUNTIME_DIR"); runtime && *runtime == '/') {
    auto folder = std::filesystem::path(runtime) / "pell";
    if (makePrivate(folder)) return folder;
  }
  std::error_code error;
  auto temporary = std::filesystem::temp_directory_path(error);
  if (error) temporary = "/tmp";
  auto folder = temporary / fmt::format("pell-{}", ::geteuid());
  return makePrivate(folder) ? folder : std::filesystem::path();
}

InstanceLock::InstanceLock(const std::filesystem::path& file)
    : descriptor_(::open(file.c_str(), O_RDWR | O_CREAT | O_CLOEXEC, 0600)) {
  if (descriptor_ < 0) return;
  state_ = ::flock(descriptor_, LOCK_EX | LOCK_NB) == 0 ? State::held : State::taken;
}

InstanceLock::~InstanceLock() {
  if (descriptor_ >= 0) ::close(descriptor_);
}

}  // namespace pell
