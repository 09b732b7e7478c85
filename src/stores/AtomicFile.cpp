#include "stores/AtomicFile.h"

#include <cerrno>
#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

namespace pell {
namespace {

namespace fs = std::filesystem;

std::error_code lastError() { return {errno, std::generic_category()}; }

std::error_code makePrivateFolders(const fs::path& folder) {
  std::error_code error;
  if (folder.empty() || fs::is_directory(folder, error)) return {};
  if (auto failure = makePrivateFolders(folder.parent_path())) return failure;
  return mkdir(folder.c_str(), 0700) == 0 || errno == EEXIST ? std::error_code{} : lastError();
}

class Descriptor {
 public:
  explicit Descriptor(int value) : value_(value) {}
  ~Descriptor() {
    if (value_ >= 0) ::close(value_);
  }
  Descriptor(const Descriptor&) = delete;
  Descriptor& operator=(const Descriptor&) = delete;
  int get() const { return value_; }

 private:
  int value_;
};

std::error_code writeDurably(const fs::path& file, std::string_view content) {
  Descriptor out(open(file.c_str(), O_WRONLY | O_CREAT | O_TRUNC | O_NOFOLLOW | O_CLOEXEC, 0600));
  if (out.get() < 0 || fchmod(out.get(), 0600) != 0) return lastError();
  while (!content.empty()) {
    const auto written = ::write(out.get(), content.data(), content.size());
    if (written < 0 && errno == EINTR) continue;
    if (written < 0) return lastError();
    content.remove_prefix(static_cast<std::size_t>(written));
  }
  return fsync(out.get()) == 0 ? std::error_code{} : lastError();
}

}  // namespace

std::error_code replacePrivateFile(const fs::path& file, std::string_view content) {
  std::error_code error;
  const fs::path target = fs::is_symlink(file, error) ? fs::weakly_canonical(file, error) : file;
  const fs::path folder = target.parent_path();
  if (auto failure = makePrivateFolders(folder)) return failure;
  if (target == file) chmod(folder.c_str(), 0700);  // as far as it can be: the file's own mode still holds

  fs::path fresh = target;
  fresh += ".new";
  auto failure = writeDurably(fresh, content);
  if (!failure && rename(fresh.c_str(), target.c_str()) != 0) failure = lastError();
  if (failure) {
    unlink(fresh.c_str());
    return failure;
  }
  // The rename itself is on the disk only once its folder is.
  if (Descriptor directory(open(folder.c_str(), O_RDONLY | O_DIRECTORY | O_CLOEXEC)); directory.get() >= 0) {
    fsync(directory.get());
  }
  return {};
}

}  // namespace pell
