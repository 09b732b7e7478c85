#include <QCoreApplication>
#include <QEventLoop>
#include <thread>

#include "contracts/ExecutorContract.h"
#include "platform/qt/QtMainLoop.h"

namespace pell::testing {
namespace {

template <class W>
class QtWorld : public W {
 public:
  using W::waitUntil;
  bool waitUntil(std::function<bool()> done, Seconds limit) override {
    auto deadline = now() + toNanoseconds(limit);
    while (!done()) {
      if (now() >= deadline) return false;
      QCoreApplication::processEvents(QEventLoop::AllEvents, 5);
    }
    return true;
  }
  void settle() override {
    waitUntil([] { return false; }, Seconds(0.05));
  }
  Instant now() const override { return std::chrono::steady_clock::now(); }

 protected:
  std::unique_ptr<QtMainLoop> loop_ = std::make_unique<QtMainLoop>();
};

class QtExecutor final : public QtWorld<ExecutorWorld> {
 public:
  Executor& executor() override { return *loop_; }
  void destroyExecutor() override { loop_.reset(); }
};

class QtLoop final : public QtWorld<MainLoopWorld> {
 public:
  MainLoop& main() override { return *loop_; }
};

PELL_INSTANTIATE_CONTRACT(Qt, ExecutorContract, ExecutorWorld, QtExecutor);
PELL_INSTANTIATE_CONTRACT(Qt, MainLoopContract, MainLoopWorld, QtLoop);

TEST(QtMainLoopTest, WorkOfOtherThreadsRunsHereInItsOrder) {
  QtExecutor world;
  Executor& loop = world.executor();
  std::vector<int> seen;
  std::vector<DelayedWork> pending;
  std::thread other([&] {
    EXPECT_FALSE(loop.isCurrent());
    pending.push_back(loop.postAfter(Seconds(0.02), [&] { seen.push_back(-1); }));
    for (int i = 0; i < 100; ++i) {
      loop.post([&, i] {
        EXPECT_TRUE(loop.isCurrent());
        seen.push_back(i);
      });
    }
  });
  other.join();
  EXPECT_TRUE(world.waitUntil([&] { return seen.size() == 101; }));
  EXPECT_TRUE(std::is_sorted(seen.begin(), seen.end() - 1));
  EXPECT_EQ(seen.back(), -1);
}

}  // namespace
}  // namespace pell::testing
