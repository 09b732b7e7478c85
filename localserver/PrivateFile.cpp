#include "localserver/PrivateFile.h"

#include <cstdio>
#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

namespace pell::localserver {
namespace {

[[noreturn]] void fail(const std::filesystem::path& file) {
  throw std::system_error(errno, std::generic_category(), file.string());
}

void writeAll(int descriptor, std::string_view content, const std::filesystem::path& file) {
  while (!content.empty()) {
    const ssize_t count = write(descriptor, content.data(), content.size());
    if (count < 0 && errno == EINTR) continue;
    if (count < 0) fail(file);
    content.remove_prefix(static_cast<std::size_t>(count));
  }
  if (fsync(descriptor) != 0) fail(file);
}

}  // namespace

void makePrivateFolder(const std::filesystem::path& folder) {
  // "data/" and "data" are the same.
  const auto name = folder.has_filename() ? folder : folder.parent_path();
  if (name.has_parent_path()) std::filesystem::create_directories(name.parent_path());
  if (mkdir(name.c_str(), 0700) == 0) return;
  const int error = errno;
  if (std::filesystem::is_directory(name)) return;
  errno = error;
  fail(name);
}

void writePrivateFile(const std::filesystem::path& file, std::string_view content) {
  std::string pattern = (file.parent_path() / ".new-XXXXXX").string();
  // Made with 0600, so that there is no moment at which another user could open it.
  const int descriptor = mkostemp(pattern.data(), O_CLOEXEC);
  if (descriptor < 0) fail(file);
  try {
    writeAll(descriptor, content, file);
    close(descriptor);
  } catch (...) {
    close(descriptor);
    unlink(pattern.c_str());
    throw;
  }
  if (std::rename(pattern.c_str(), file.c_str()) != 0) {
    const int error = errno;
    unlink(pattern.c_str());
    errno = error;
    fail(file);
  }
}

}  // namespace pell::localserver
