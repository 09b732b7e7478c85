#include "platform/linux/SignalWatch.h"

#include <poll.h>
#include <pthread.h>
#include <sys/eventfd.h>
#include <sys/signalfd.h>
#include <unistd.h>

#include <csignal>

namespace pell {
namespace {

sigset_t terminateSignals() {
  sigset_t set;
  sigemptyset(&set);
  for (int signal : {SIGTERM, SIGINT, SIGHUP}) sigaddset(&set, signal);
  return set;
}

}  // namespace

SignalWatch::SignalWatch() {
  sigset_t set = terminateSignals();
  pthread_sigmask(SIG_BLOCK, &set, nullptr);
  descriptor_ = ::signalfd(-1, &set, SFD_CLOEXEC);
  wake_ = ::eventfd(0, EFD_CLOEXEC);
}

SignalWatch::~SignalWatch() {
  if (thread_.joinable()) {
    std::uint64_t one = 1;
    if (::write(wake_, &one, sizeof(one)) == sizeof(one)) {
      thread_.join();
    } else {
      thread_.detach();
    }
  }
  ::close(descriptor_);
  ::close(wake_);
}

void SignalWatch::start(Executor& executor, std::function<void(int)> handler) {
  thread_ = std::thread([this, &executor, handler = std::move(handler)] {
    pthread_setname_np(pthread_self(), "signals");
    pollfd waiting[] = {{descriptor_, POLLIN, 0}, {wake_, POLLIN, 0}};
    while (::poll(waiting, 2, -1) >= 0 || errno == EINTR) {
      if (waiting[1].revents) return;
      signalfd_siginfo info;
      if (!waiting[0].revents || ::read(descriptor_, &info, sizeof(info)) != sizeof(info)) continue;
      executor.post([handler, signal = static_cast<int>(info.ssi_signo)] { handler(signal); });
    }
  });
}

void SignalWatch::unblockInChild() {
  sigset_t set = terminateSignals();
  sigprocmask(SIG_UNBLOCK, &set, nullptr);
}

}  // namespace pell
