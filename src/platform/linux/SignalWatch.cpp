#include "platform/linux/SignalWatch.h"

#include <atomic>
#include <cerrno>
#include <csignal>
#include <fcntl.h>
#include <pthread.h>
#include <unistd.h>

namespace pell {
namespace {

constexpr int watched[] = {SIGTERM, SIGINT, SIGHUP};

// A signal handler can reach nothing but what is global.
std::atomic<int> pipeEnd = -1;

void onSignal(int signal) {
  int saved = errno;
  auto byte = static_cast<unsigned char>(signal);
  if (int end = pipeEnd.load(); end >= 0 && ::write(end, &byte, 1) < 0) {
    // The pipe is full of signals that have not been read yet: one more says nothing new.
  }
  errno = saved;
}

void handleWith(void (*handler)(int)) {
  struct sigaction action {};
  action.sa_handler = handler;
  action.sa_flags = SA_RESTART;
  sigemptyset(&action.sa_mask);
  for (int signal : watched) ::sigaction(signal, &action, nullptr);
}

}  // namespace

SignalWatch::SignalWatch(Executor& executor, std::function<void(int)> handler) {
  int ends[2] = {-1, -1};
  if (::pipe2(ends, O_CLOEXEC) != 0) return;
  reading_ = ends[0];
  writing_ = ends[1];
  ::fcntl(writing_, F_SETFL, O_NONBLOCK);
  pipeEnd = writing_;
  handleWith(onSignal);
  thread_ = std::thread([this, &executor, handler = std::move(handler)] { forward(executor, handler); });
}

SignalWatch::~SignalWatch() {
  if (reading_ < 0) return;
  handleWith(SIG_DFL);
  pipeEnd = -1;
  ::close(writing_);
  thread_.join();
  ::close(reading_);
}

void SignalWatch::forward(Executor& executor, const std::function<void(int)>& handler) const {
  pthread_setname_np(pthread_self(), "signals");
  unsigned char byte = 0;
  for (;;) {
    ssize_t count = ::read(reading_, &byte, 1);
    if (count < 0 && errno == EINTR) continue;
    if (count <= 0) return;
    executor.post([handler, signal = static_cast<int>(byte)] { handler(signal); });
  }
}

}  // namespace pell
