// What every LogSink, SystemActivity and LoginItem does.
#pragma once

#include <thread>

#include "contracts/World.h"
#include "platform/Services.h"

namespace pell::testing {

class LogSinkWorld : public World {
 public:
  virtual LogSink& sink() = 0;

  /// The lines as whoever reads the log gets them.
  virtual std::vector<std::string> lines() = 0;
};

class LogSinkContract : public Contract<LogSinkWorld> {};

TEST_P(LogSinkContract, KeepsLinesWholeAndInOrder) {
  const std::vector<std::string> lines{
      R"({"event":"first","level":"INFO"})",
      R"({"event":"second","level":"ERROR","reason":"% \n \"quoted\" é"})",
      R"({"event":"long","level":"WARN","reason":")" + std::string(9000, 'r') + "\"}"};
  world().sink().write(LogLevel::info, lines[0]);
  world().sink().write(LogLevel::error, lines[1]);
  world().sink().write(LogLevel::warn, lines[2]);
  EXPECT_TRUE(world().waitUntil([&] { return world().lines().size() == 3; }));
  EXPECT_EQ(world().lines(), lines);
}

TEST_P(LogSinkContract, DoesNotMixLinesOfSeveralThreads) {
  constexpr int perThread = 100;
  {
    std::vector<std::jthread> threads;
    for (char name : {'a', 'b', 'c', 'd'}) {
      threads.emplace_back([this, name] {
        auto line = R"({"event":")" + std::string(300, name) + R"(","level":"INFO"})";
        for (int index = 0; index < perThread; ++index) world().sink().write(LogLevel::info, line);
      });
    }
  }
  EXPECT_TRUE(world().waitUntil([&] { return world().lines().size() == 4 * perThread; }));
  for (const auto& line : world().lines()) {
    ASSERT_GT(line.size(), 20u);
    EXPECT_EQ(line, R"({"event":")" + std::string(300, line[10]) + R"(","level":"INFO"})");
  }
}

class SystemActivityWorld : public World {
 public:
  virtual SystemActivity& activity() = 0;

  /// Activities of this process that keep the machine awake now, as the machine counts them.
  virtual int held() = 0;
};

class SystemActivityContract : public Contract<SystemActivityWorld> {};

TEST_P(SystemActivityContract, LastsAsLongAsItsToken) {
  auto first = world().activity().begin("Dictation in progress");
  ASSERT_NE(first, nullptr);
  EXPECT_TRUE(world().waitUntil([&] { return world().held() == 1; }));
  auto second = world().activity().begin("Another");
  EXPECT_TRUE(world().waitUntil([&] { return world().held() == 2; }));
  first.reset();
  EXPECT_TRUE(world().waitUntil([&] { return world().held() == 1; }));
  second.reset();
  EXPECT_TRUE(world().waitUntil([&] { return world().held() == 0; }));
}

class LoginItemWorld : public World {
 public:
  virtual LoginItem& item() = 0;

  /// The program ends and starts again.
  virtual void reopen() = 0;

  /// From now on nothing can be registered.
  virtual void forbidChanges() = 0;
};

class LoginItemContract : public Contract<LoginItemWorld> {};

TEST_P(LoginItemContract, IsRegisteredUntilItIsTakenBack) {
  constexpr int enabled = 1;
  EXPECT_NE(world().item().status(), enabled);
  EXPECT_EQ(world().item().setRegistered(true), "");
  EXPECT_EQ(world().item().status(), enabled);
  EXPECT_EQ(world().item().setRegistered(true), "");
  world().reopen();
  EXPECT_EQ(world().item().status(), enabled);
  EXPECT_EQ(world().item().setRegistered(false), "");
  EXPECT_NE(world().item().status(), enabled);
  EXPECT_EQ(world().item().setRegistered(false), "");
}

TEST_P(LoginItemContract, SaysWhatWentWrongAndChangesNothing) {
  world().forbidChanges();
  EXPECT_NE(world().item().setRegistered(true), "");
  EXPECT_NE(world().item().status(), 1);
}

}  // namespace pell::testing
