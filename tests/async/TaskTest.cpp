#include <gtest/gtest.h>
#include <stdexcept>
#include <string>
#include <vector>

#include "async/Sleep.h"
#include "async/Task.h"
#include "async/TaskScope.h"
#include "support/VirtualTime.h"

namespace pell {
namespace {

using testing::VirtualTime;

class TaskTest : public ::testing::Test {
 protected:
  VirtualTime time;
  std::unique_ptr<Executor> other = time.serialExecutors()("other");
  std::vector<std::string> trace;

  void note(std::string what) { trace.push_back(std::move(what)); }
};

TEST_F(TaskTest, SpawnNeverRunsInline) {
  TaskScope scope(time.main());
  auto work = [this]() -> Task<> {
    note("task");
    co_return;
  };
  scope.spawn(work());
  note("spawned");
  time.runReady();
  EXPECT_EQ(trace, (std::vector<std::string>{"spawned", "task"}));
}

TEST_F(TaskTest, CallComesHomeBehindWorkPostedEarlier) {
  TaskScope here(time.main());
  TaskScope there(*other);
  auto remote = [this]() -> Task<int> {
    EXPECT_TRUE(other->isCurrent());
    time.main().post([this] { note("posted"); });
    co_return 7;
  };
  auto local = [&]() -> Task<> {
    auto task = remote();
    int value = co_await there.call(std::move(task));
    EXPECT_TRUE(time.main().isCurrent());
    note("got " + std::to_string(value));
  };
  here.spawn(local());
  time.runReady();
  EXPECT_EQ(trace, (std::vector<std::string>{"posted", "got 7"}));
}

TEST_F(TaskTest, FailureCrossesExecutors) {
  TaskScope here(time.main());
  TaskScope there(*other);
  auto remote = []() -> Task<int> {
    throw std::runtime_error("no");
    co_return 0;
  };
  auto local = [&]() -> Task<> {
    try {
      auto task = remote();
      co_await there.call(std::move(task));
    } catch (const std::runtime_error& failure) {
      note(failure.what());
    }
  };
  here.spawn(local());
  time.runReady();
  EXPECT_EQ(trace, std::vector<std::string>{"no"});
}

TEST_F(TaskTest, ValueThatIsReadyDoesNotSuspend) {
  TaskScope scope(time.main());
  OneShot<int> value;
  EXPECT_TRUE(value.set(1));
  EXPECT_FALSE(value.set(2));
  auto work = [&]() -> Task<> {
    time.main().post([this] { note("later"); });
    note("got " + std::to_string(co_await value));
  };
  scope.spawn(work());
  time.runReady();
  EXPECT_EQ(trace, (std::vector<std::string>{"got 1", "later"}));
}

TEST_F(TaskTest, SleepEndsWithTimeOrWithTheToken) {
  TaskScope scope(time.main());
  std::stop_source stop;
  auto sleeper = [&](Seconds span, std::stop_token token, std::string name) -> Task<> {
    co_await sleepFor(time.main(), span, token);
    note(name);
  };
  scope.spawn(sleeper(Seconds(1), {}, "one"));
  scope.spawn(sleeper(Seconds(60), stop.get_token(), "stopped"));
  time.advance(Seconds(0.999));
  EXPECT_TRUE(trace.empty());
  stop.request_stop();
  time.runReady();
  EXPECT_EQ(trace, std::vector<std::string>{"stopped"});
  time.advance(Seconds(0.001));
  EXPECT_EQ(trace.back(), "one");
}

// The owner goes away at every step that the scheduler takes; the address sanitizer is the judge.
TEST_F(TaskTest, OwnerMayGoAtEverySuspensionPoint) {
  for (int steps = 0;; ++steps) {
    VirtualTime clock;
    auto background = clock.serialExecutors()("background");
    auto there = std::make_unique<TaskScope>(*background);
    auto here = std::make_unique<TaskScope>(clock.main());
    bool finished = false;
    auto remote = [&](Seconds span) -> Task<std::string> {
      co_await sleepFor(*background, span);
      co_return std::string(100, 'x');
    };
    auto local = [&]() -> Task<> {
      auto first = remote(Seconds(1));
      std::string text = co_await there->call(std::move(first));
      co_await sleepFor(clock.main(), Seconds(2));
      auto second = remote(Seconds(3));
      text += co_await there->call(std::move(second));
      finished = text.size() == 200;
    };
    here->spawn(local());
    for (int i = 0; i < steps; ++i) clock.step();
    if (finished) break;
    here.reset();
    while (clock.step()) {
    }
    EXPECT_FALSE(finished);
  }
}

}  // namespace
}  // namespace pell
