// What every Executor and every MainLoop does.
#pragma once

#include <atomic>

#include "async/Executor.h"
#include "contracts/World.h"

namespace pell::testing {

class ExecutorWorld : public World {
 public:
  virtual Executor& executor() = 0;
  virtual void destroyExecutor() = 0;
};

class ExecutorContract : public Contract<ExecutorWorld> {
 protected:
  /// Runs `work` on the executor and waits for it.
  void run(std::function<void()> work) {
    auto done = std::make_shared<std::atomic<bool>>(false);
    world().executor().post([work = std::move(work), done] {
      work();
      *done = true;
    });
    EXPECT_TRUE(world().waitUntil([&] { return done->load(); }));
  }
};

TEST_P(ExecutorContract, RunsWorkInTheOrderOfItsPosting) {
  auto seen = std::make_shared<Inbox<int>>();
  std::vector<int> expected;
  for (int index = 0; index < 200; ++index) {
    expected.push_back(index);
    world().executor().post([seen, index] { seen->put(index); });
  }
  EXPECT_TRUE(world().waitUntil([&] { return seen->size() == expected.size(); }));
  EXPECT_EQ(seen->all(), expected);
}

TEST_P(ExecutorContract, NeverRunsWorkInline) {
  auto seen = std::make_shared<Inbox<std::string>>();
  auto& executor = world().executor();
  run([seen, &executor] {
    EXPECT_TRUE(executor.isCurrent());
    executor.post([seen] { seen->put("inner"); });
    seen->put("outer");
  });
  EXPECT_TRUE(world().waitUntil([&] { return seen->size() == 2; }));
  EXPECT_THAT(seen->all(), ::testing::ElementsAre("outer", "inner"));
}

TEST_P(ExecutorContract, RunsDelayedWorkWhenItIsDue) {
  auto seen = std::make_shared<Inbox<std::string>>();
  auto& executor = world().executor();
  auto start = executor.now();
  std::vector<DelayedWork> pending;
  run([&] {
    pending.push_back(executor.postAfter(Seconds(0.2), [seen] { seen->put("later"); }));
    pending.push_back(executor.postAfter(Seconds(0.05), [seen] { seen->put("soon"); }));
    pending.push_back(executor.postAfter(Seconds(0.05), [seen] { seen->put("soon too"); }));
    executor.post([seen] { seen->put("now"); });
  });
  EXPECT_TRUE(world().waitUntil([&] { return seen->size() == 4; }));
  EXPECT_THAT(seen->all(), ::testing::ElementsAre("now", "soon", "soon too", "later"));
  EXPECT_GE(Seconds(executor.now() - start).count(), 0.2);
  run([&] { pending.clear(); });
}

TEST_P(ExecutorContract, CancelledWorkNeverRuns) {
  auto seen = std::make_shared<Inbox<int>>();
  auto& executor = world().executor();
  run([&] {
    auto dropped = executor.postAfter(Seconds(0.01), [seen] { seen->put(1); });
    auto due = executor.postAfter(Seconds(0), [seen] { seen->put(2); });
    DelayedWork replaced = executor.postAfter(Seconds(0.02), [seen] { seen->put(3); });
    replaced = DelayedWork();
  });
  EXPECT_FALSE(world().waitUntil([&] { return seen->size() > 0; }, Seconds(0.2)));
}

TEST_P(ExecutorContract, WorkMayDropItsOwnHandle) {
  auto& executor = world().executor();
  auto runs = std::make_shared<std::atomic<int>>(0);
  DelayedWork self;
  run([&] {
    self = executor.postAfter(Seconds(0.01), [&self, runs] {
      self.cancel();
      ++*runs;
    });
  });
  EXPECT_TRUE(world().waitUntil([&] { return runs->load() == 1; }));
  world().settle();
  EXPECT_EQ(runs->load(), 1);
}

TEST_P(ExecutorContract, DropsWaitingWorkWhenDestroyed) {
  auto token = std::make_shared<int>(0);
  std::weak_ptr<int> released = token;
  auto ran = std::make_shared<std::atomic<bool>>(false);
  auto late = world().executor().postAfter(Seconds(0.05), [token = std::move(token), ran] { *ran = true; });
  world().destroyExecutor();
  EXPECT_FALSE(world().waitUntil([&] { return ran->load(); }, Seconds(0.2)));
  late.cancel();
  EXPECT_TRUE(released.expired());
}

class MainLoopWorld : public World {
 public:
  virtual MainLoop& main() = 0;
};

class MainLoopContract : public Contract<MainLoopWorld> {};

TEST_P(MainLoopContract, RunsOtherWorkForASpanFromInsideItsOwn) {
  auto& loop = world().main();
  std::vector<std::string> order;
  std::vector<DelayedWork> pending;
  bool done = false;
  loop.post([&] {
    pending.push_back(loop.postAfter(Seconds(0.02), [&] { order.emplace_back("inside"); }));
    pending.push_back(loop.postAfter(Seconds(0.3), [&] { order.emplace_back("afterwards"); }));
    loop.post([&] { order.emplace_back("posted"); });
    auto start = loop.now();
    loop.runFor(Seconds(0.1));
    EXPECT_GE(Seconds(loop.now() - start).count(), 0.1);
    order.emplace_back("returned");
    done = true;
  });
  EXPECT_TRUE(world().waitUntil([&] { return done && order.size() == 4; }));
  EXPECT_THAT(order, ::testing::ElementsAre("posted", "inside", "returned", "afterwards"));
}

TEST_P(MainLoopContract, MayBePumpedWithinThePump) {
  auto& loop = world().main();
  std::vector<std::string> order;
  bool done = false;
  loop.post([&] {
    loop.post([&] {
      order.emplace_back("outer work begins");
      loop.post([&] { order.emplace_back("inner work"); });
      loop.runFor(Seconds(0.02));
      order.emplace_back("outer work ends");
    });
    loop.runFor(Seconds(0.05));
    order.emplace_back("returned");
    done = true;
  });
  EXPECT_TRUE(world().waitUntil([&] { return done; }));
  EXPECT_THAT(order,
              ::testing::ElementsAre("outer work begins", "inner work", "outer work ends", "returned"));
}

}  // namespace pell::testing
