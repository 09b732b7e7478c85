// The main thread's executor on Qt's event loop.
#pragma once

#include <QObject>
#include <QTimer>
#include <cstdint>
#include <deque>
#include <map>
#include <memory>
#include <mutex>

#include "async/Executor.h"

namespace pell {

/// Lives on the thread of the `QCoreApplication`, which must exist before it and outlive it. Work that is
/// posted runs in order, one piece for each event, so that nested event loops (menus, sheets, `runFor`)
/// keep running it.
class QtMainLoop final : public QObject, public MainLoop {
 public:
  QtMainLoop();
  ~QtMainLoop() override;

  void post(Work work) override;
  [[nodiscard]] DelayedWork postAfter(Seconds delay, Work work) override;
  Instant now() const override;
  bool isCurrent() const override;
  void runFor(Seconds span) override;

 protected:
  bool event(QEvent* event) override;

 private:
  using Key = std::pair<Instant, std::uint64_t>;
  struct Shared {
    std::mutex mutex;
    std::deque<Work> ready;
    std::map<Key, Work> delayed;
    std::uint64_t sequence = 0;
  };

  void runReady();
  void runDue();
  void armTimer();

  std::shared_ptr<Shared> shared_ = std::make_shared<Shared>();
  QTimer timer_;
};

}  // namespace pell
