#include "platform/qt/QtMainLoop.h"

#include <QCoreApplication>
#include <QEvent>
#include <QEventLoop>
#include <QThread>
#include <algorithm>
#include <utility>

namespace pell {
namespace {

const auto readyEvent = static_cast<QEvent::Type>(QEvent::User + 1);
const auto armEvent = static_cast<QEvent::Type>(QEvent::User + 2);

}  // namespace

QtMainLoop::QtMainLoop() {
  timer_.setSingleShot(true);
  timer_.setTimerType(Qt::PreciseTimer);
  QObject::connect(&timer_, &QTimer::timeout, this, [this] { runDue(); });
}

QtMainLoop::~QtMainLoop() {
  // Work is destroyed outside the lock: its captures may cancel other work.
  std::deque<Work> ready;
  std::map<Key, Work> delayed;
  std::lock_guard lock(shared_->mutex);
  ready.swap(shared_->ready);
  delayed.swap(shared_->delayed);
}

void QtMainLoop::post(Work work) {
  {
    std::lock_guard lock(shared_->mutex);
    shared_->ready.push_back(std::move(work));
  }
  QCoreApplication::postEvent(this, new QEvent(readyEvent));
}

DelayedWork QtMainLoop::postAfter(Seconds delay, Work work) {
  Key key;
  {
    std::lock_guard lock(shared_->mutex);
    key = {now() + toNanoseconds(std::max(delay, Seconds(0))), shared_->sequence++};
    shared_->delayed.emplace(key, std::move(work));
  }
  if (isCurrent()) {
    armTimer();
  } else {
    QCoreApplication::postEvent(this, new QEvent(armEvent));
  }
  return DelayedWork([weak = std::weak_ptr(shared_), key] {
    auto shared = weak.lock();
    if (!shared) return;
    std::map<Key, Work>::node_type dropped;
    std::lock_guard lock(shared->mutex);
    dropped = shared->delayed.extract(key);
  });
}

Instant QtMainLoop::now() const { return std::chrono::steady_clock::now(); }

bool QtMainLoop::isCurrent() const { return QThread::currentThread() == thread(); }

void QtMainLoop::runFor(Seconds span) {
  QEventLoop loop;
  auto wait = std::chrono::ceil<std::chrono::milliseconds>(span);
  QTimer::singleShot(wait, Qt::PreciseTimer, &loop, &QEventLoop::quit);
  loop.exec();
}

bool QtMainLoop::event(QEvent* event) {
  if (event->type() == readyEvent) {
    runReady();
    return true;
  }
  if (event->type() == armEvent) {
    armTimer();
    return true;
  }
  return QObject::event(event);
}

void QtMainLoop::runReady() {
  Work work;
  {
    std::lock_guard lock(shared_->mutex);
    if (shared_->ready.empty()) return;
    work = std::move(shared_->ready.front());
    shared_->ready.pop_front();
  }
  work();
}

void QtMainLoop::runDue() {
  Work work;
  {
    std::lock_guard lock(shared_->mutex);
    auto first = shared_->delayed.begin();
    if (first != shared_->delayed.end() && first->first.first <= now()) {
      work = std::move(first->second);
      shared_->delayed.erase(first);
    }
  }
  armTimer();  // before the work, which may run a nested loop
  if (work) work();
}

void QtMainLoop::armTimer() {
  std::lock_guard lock(shared_->mutex);
  if (shared_->delayed.empty()) {
    timer_.stop();
    return;
  }
  auto wait = std::chrono::ceil<std::chrono::milliseconds>(shared_->delayed.begin()->first.first - now());
  timer_.start(std::max(wait, std::chrono::milliseconds(0)));
}

}  // namespace pell
