#include "platform/portable/StreamLogSink.h"

#include <cerrno>
#include <csignal>
#include <pthread.h>
#include <string>
#include <unistd.h>

namespace pell {
namespace {

/// While it lives, writing to a pipe that nobody reads is an error of the call and no signal.
class BrokenPipeGuard {
 public:
  BrokenPipeGuard() {
    sigemptyset(&pipe_);
    sigaddset(&pipe_, SIGPIPE);
    sigset_t pending;
    sigpending(&pending);
    waitedBefore_ = sigismember(&pending, SIGPIPE) == 1;
    pthread_sigmask(SIG_BLOCK, &pipe_, &before_);
  }
  ~BrokenPipeGuard() {
    if (raised && !waitedBefore_) {
      const timespec now{};
      while (sigtimedwait(&pipe_, nullptr, &now) < 0 && errno == EINTR) {
      }
    }
    pthread_sigmask(SIG_SETMASK, &before_, nullptr);
  }
  BrokenPipeGuard(const BrokenPipeGuard&) = delete;
  BrokenPipeGuard& operator=(const BrokenPipeGuard&) = delete;

  bool raised = false;

 private:
  sigset_t pipe_;
  sigset_t before_;
  bool waitedBefore_ = false;
};

}  // namespace

void StreamLogSink::write(LogLevel, std::string_view line) {
  std::string whole(line);
  whole += '\n';
  BrokenPipeGuard guard;
  std::string_view rest = whole;
  while (!rest.empty()) {
    const auto written = ::write(descriptor_, rest.data(), rest.size());
    if (written > 0) {
      rest.remove_prefix(static_cast<std::size_t>(written));
    } else if (written == 0 || errno != EINTR) {
      guard.raised = errno == EPIPE;
      return;
    }
  }
}

}  // namespace pell
