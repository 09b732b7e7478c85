#include "main/StandardStreams.h"

#include <cerrno>
#include <cstdio>
#include <fcntl.h>
#include <fmt/format.h>
#include <system_error>
#include <unistd.h>

namespace pell {

void occupyClosedStreams() {
  for (int stream : {STDIN_FILENO, STDOUT_FILENO, STDERR_FILENO}) {
    if (::fcntl(stream, F_GETFD) >= 0) continue;
    // The lowest free number is the stream's own, and the wrong direction makes every use of it fail.
    ::open("/dev/null", stream == STDIN_FILENO ? O_WRONLY : O_RDONLY);
  }
}

int printOut(std::string_view text) {
  const bool written = std::fwrite(text.data(), 1, text.size(), stdout) == text.size();
  if (written && std::fflush(stdout) == 0) return 0;
  return failWith("could not write to standard output: " + std::generic_category().message(errno));
}

int failWith(std::string_view sentence) {
  std::fputs(fmt::format("pell: {}\n", sentence).c_str(), stderr);
  return 1;
}

}  // namespace pell
