#include "platform/linux/X11Loop.h"

#include <X11/Xlib.h>
#include <algorithm>
#include <poll.h>
#include <pthread.h>
#include <signal.h>
#include <sys/eventfd.h>
#include <unistd.h>
#include <utility>

namespace pell {

X11Loop::X11Loop(std::string name)
    : name_(std::move(name)), wakeDescriptor_(eventfd(0, EFD_CLOEXEC | EFD_NONBLOCK)) {}

X11Loop::~X11Loop() {
  stop();
  close(wakeDescriptor_);
}

void X11Loop::watch(std::unique_ptr<X11Connection> connection, Handler handler) {
  watched_.push_back({.connection = std::move(connection), .handler = std::move(handler)});
}

void X11Loop::start(Work lost) {
  // Signals are for the main thread.
  sigset_t all, before;
  sigfillset(&all);
  pthread_sigmask(SIG_SETMASK, &all, &before);
  thread_ = std::thread([this, lost = std::move(lost)] { run(lost); });
  pthread_sigmask(SIG_SETMASK, &before, nullptr);
}

void X11Loop::stop() {
  stopping_ = true;
  wake();
  if (thread_.joinable()) thread_.join();
}

void X11Loop::post(Work work) {
  {
    std::lock_guard lock(mutex_);
    if (ended_) return;
    posted_.push_back(std::move(work));
  }
  wake();
}

bool X11Loop::call(Work work, Seconds limit) {
  struct Turn {
    std::mutex mutex;
    std::condition_variable over;
    bool done = false, dropped = false;
    void set(bool& flag) {
      std::lock_guard lock(mutex);
      flag = true;
      over.notify_one();
    }
  };
  auto turn = std::make_shared<Turn>();
  // Goes with the posted work, so that work which is dropped unrun does not keep the caller waiting.
  std::shared_ptr<void> farewell(nullptr, [turn](void*) { turn->set(turn->dropped); });
  post([turn, farewell, work = std::move(work)] {
    work();
    turn->set(turn->done);
  });
  farewell.reset();
  std::unique_lock lock(turn->mutex);
  turn->over.wait_for(lock, limit, [&] { return turn->done || turn->dropped; });
  return turn->done;
}

void X11Loop::at(Instant due, Work work) { timers_.emplace(due, std::move(work)); }

bool X11Loop::pump(const std::function<bool()>& done, Instant deadline) {
  while (!done()) {
    if (stopping_ || isLost() || now() >= deadline) return false;
    if (handleEvents()) continue;
    runTimers();
    if (!done()) sleep(deadline);
  }
  return true;
}

Instant X11Loop::now() { return std::chrono::steady_clock::now(); }

void X11Loop::run(const Work& lost) {
  pthread_setname_np(pthread_self(), name_.substr(0, 15).c_str());
  while (!stopping_ && !isLost()) {
    runPosted();
    runTimers();
    if (handleEvents() || hasPosted()) continue;
    sleep(std::nullopt);
  }
  std::vector<Work> dropped;
  {
    std::lock_guard lock(mutex_);
    ended_ = true;
    dropped.swap(posted_);
  }
  // Xlib keeps a lost display locked for the thread that lost it, so this one closes it.
  bool isOver = isLost();
  std::erase_if(watched_, [](const Watched& watched) { return watched.connection->isLost(); });
  if (isOver && lost) lost();
}

bool X11Loop::isLost() const {
  return std::any_of(watched_.begin(), watched_.end(),
                     [](const Watched& watched) { return watched.connection->isLost(); });
}

// One event of each connection at a time, as a handler may read ahead on the others.
bool X11Loop::handleEvents() {
  bool any = false;
  for (auto& watched : watched_) {
    if (watched.connection->isLost() || XPending(watched.connection->display()) == 0) continue;
    XEvent event;
    XNextEvent(watched.connection->display(), &event);
    watched.handler(event);
    any = true;
  }
  return any;
}

void X11Loop::runTimers() {
  while (!timers_.empty() && timers_.begin()->first <= now()) {
    auto due = timers_.extract(timers_.begin());
    due.mapped()();
  }
}

bool X11Loop::hasPosted() {
  std::lock_guard lock(mutex_);
  return !posted_.empty();
}

void X11Loop::runPosted() {
  std::vector<Work> ready;
  {
    std::lock_guard lock(mutex_);
    ready.swap(posted_);
  }
  for (auto& work : ready) {
    if (stopping_) return;
    work();
  }
}

void X11Loop::sleep(std::optional<Instant> deadline) {
  std::vector<pollfd> descriptors{{.fd = wakeDescriptor_, .events = POLLIN, .revents = 0}};
  for (auto& watched : watched_) {
    XFlush(watched.connection->display());
    // Flushing may have read events into the queue, where poll does not see them.
    if (XEventsQueued(watched.connection->display(), QueuedAlready) > 0) return;
    descriptors.push_back({.fd = watched.connection->descriptor(), .events = POLLIN, .revents = 0});
  }
  if (!timers_.empty())
    deadline = deadline ? std::min(*deadline, timers_.begin()->first) : timers_.begin()->first;
  int wait = -1;
  if (deadline) {
    auto left = std::chrono::ceil<std::chrono::milliseconds>(*deadline - now()).count();
    wait = static_cast<int>(std::clamp<long long>(left, 0, 60'000));
  }
  poll(descriptors.data(), descriptors.size(), wait);
  std::uint64_t count = 0;
  // Inside `pump` posted work stays where it is; `run` looks for it before it sleeps.
  if (descriptors[0].revents) [[maybe_unused]]
    auto got = read(wakeDescriptor_, &count, sizeof count);
}

void X11Loop::wake() const {
  std::uint64_t one = 1;
  [[maybe_unused]] auto written = write(wakeDescriptor_, &one, sizeof one);
}

}  // namespace pell
