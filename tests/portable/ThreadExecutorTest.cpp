#include "contracts/ExecutorContract.h"
#include "platform/portable/ThreadExecutor.h"
#include "portable/support/RealTime.h"

namespace pell::testing {

GTEST_ALLOW_UNINSTANTIATED_PARAMETERIZED_TEST(MainLoopContract);

namespace {

class ThreadWorld final : public RealTime<ExecutorWorld> {
 public:
  Executor& executor() override { return *executor_; }
  void destroyExecutor() override { executor_.reset(); }

 private:
  std::unique_ptr<Executor> executor_ = threadExecutors()("contract");
};

PELL_INSTANTIATE_CONTRACT(Thread, ExecutorContract, ExecutorWorld, ThreadWorld);

TEST(ThreadExecutorTest, DroppedWorkMayHoldHandlesOfItsOwnExecutor) {
  auto executor = std::make_unique<ThreadExecutor>("nested");
  auto inner = std::make_shared<DelayedWork>(executor->postAfter(Seconds(60), [] {}));
  auto outer = executor->postAfter(Seconds(1e300), [inner] {});
  inner.reset();
  outer.cancel();
  auto last = std::make_shared<DelayedWork>(executor->postAfter(Seconds(60), [] {}));
  auto kept = executor->postAfter(Seconds(60), [last = std::move(last)] {});
  executor.reset();
}

}  // namespace
}  // namespace pell::testing
