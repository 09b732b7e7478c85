#include <gtest/gtest.h>

#include "stores/Keychain.h"
#include "support/Await.h"
#include "support/MemoryLog.h"
#include "support/MemorySecureItemStore.h"

namespace pell {
namespace {

using Outcome = Keychain::ReadOutcome;
using Read = Keychain::Read;
using testing::await;
using testing::start;

const std::string service = "com.example.test";
const std::string account = "refresh-token";

class KeychainTest : public ::testing::Test {
 protected:
  testing::VirtualTime time;
  testing::MemorySecureItemStore store{time};
  testing::MemoryLog sink;
  std::unique_ptr<Keychain> keychain = std::make_unique<Keychain>(store, time.main(), service, Log(sink));
  TaskScope scope{time.main()};

  auto read() { return start(scope, keychain->get(account, Keychain::readTimeout)); }
};

TEST_F(KeychainTest, EveryAnswerOfThePlatformIsAnOutcome) {
  struct Case {
    std::string name;
    std::optional<std::string> item;
    std::optional<SecureItemStatus> status;
    Read expected;
    std::vector<std::string> events;
    bool kept;
  };
  const std::vector<std::string> refused{"WARN keychain_read_refused"};
  const std::vector<Case> cases{
      {"an item", "token ü", {}, {"token ü", Outcome::ok}, {}, true},
      {"an empty item", "", {}, {"", Outcome::ok}, {}, true},
      {"no item", {}, {}, {{}, Outcome::absent}, {}, false},
      {"not UTF-8", "\xFF\xFE", {}, {{}, Outcome::absent}, {}, true},
      {"not allowed", "t", SecureItemStatus::interactionNotAllowed, {{}, Outcome::refused}, refused, false},
      {"wrong password", "t", SecureItemStatus::authFailed, {{}, Outcome::refused}, refused, false},
      {"prompt cancelled", "t", SecureItemStatus::userCanceled, {{}, Outcome::refused}, refused, false},
      {"something new", "t", static_cast<SecureItemStatus>(-4), {{}, Outcome::absent}, {}, true},
  };
  for (const Case& c : cases) {
    store.remove({service, account});
    if (c.item) store.put(service, account, *c.item);
    store.readStatus = c.status;
    sink.clear();
    EXPECT_EQ(await(time, keychain->get(account, Keychain::readTimeout)), c.expected) << c.name;
    EXPECT_EQ(sink.events(), c.events) << c.name;
    EXPECT_EQ(store.item(service, account).has_value(), c.kept) << c.name;
  }
}

TEST_F(KeychainTest, SetReplacesAndReportsFailure) {
  EXPECT_TRUE(keychain->set("old", account));
  EXPECT_TRUE(keychain->set("new", account));
  EXPECT_EQ(store.item(service, account), "new");
  EXPECT_FALSE(keychain->set("\xC3", account));
  EXPECT_EQ(store.item(service, account), "new");
  keychain->remove(account);
  EXPECT_EQ(store.item(service, account), std::nullopt);
  store.addStatus = SecureItemStatus::interactionNotAllowed;
  EXPECT_FALSE(keychain->set("newer", account));
}

TEST_F(KeychainTest, SlowReadTimesOutAndItsReplyIsDropped) {
  store.put(service, account, "token");
  store.delay = Seconds(5);
  const auto pending = read();
  time.advance(Seconds(1.999));
  EXPECT_FALSE(pending.isDone());
  time.advance(Seconds(0.001));
  EXPECT_EQ(pending.get(), (Read{{}, Outcome::timedOut}));
  EXPECT_EQ(sink.lines("keychain_read_timed_out").at(0)["seconds"], 2.0);
  EXPECT_EQ(sink.lines()[0]["account"], account);
  time.advance(Seconds(10));
  EXPECT_EQ(sink.lines().size(), 1u);
  EXPECT_EQ(store.item(service, account), "token");
}

TEST_F(KeychainTest, RefusalAfterTheLimitStillHeals) {
  store.put(service, account, "unreadable");
  store.delay = Seconds(5);
  store.readStatus = SecureItemStatus::authFailed;
  const auto pending = read();
  time.advance(Seconds(3));
  EXPECT_EQ(pending.get().outcome, Outcome::timedOut);
  keychain.reset();
  time.advance(Seconds(3));
  EXPECT_EQ(store.item(service, account), std::nullopt);
  EXPECT_EQ(sink.events(),
            (std::vector<std::string>{"WARN keychain_read_timed_out", "WARN keychain_read_refused"}));
}

TEST_F(KeychainTest, RefusalSaysNothingAboutAnItemWrittenMeanwhile) {
  for (const bool late : {false, true}) {
    store.put(service, account, "unreadable");
    store.blocked = true;
    store.readStatus = SecureItemStatus::authFailed;
    sink.clear();
    const auto pending = read();
    time.advance(Seconds(late ? 3 : 1));
    keychain->set("fresh", account);
    store.unblock();
    time.runReady();
    EXPECT_EQ(pending.get().outcome, late ? Outcome::timedOut : Outcome::refused);
    EXPECT_EQ(store.item(service, account), "fresh");
    ASSERT_EQ(sink.count("keychain_refusal_ignored"), 1u);
    EXPECT_EQ(sink.lines("keychain_refusal_ignored")[0]["reason"], "rewritten");
    EXPECT_EQ(sink.count("keychain_read_refused"), 0u);
  }
}

TEST_F(KeychainTest, HealingIsNoWriteOfOurs) {
  // Two reads are refused; the first deletes the item, and the second is not told of a rewriting.
  store.put(service, account, "unreadable");
  store.readStatus = SecureItemStatus::authFailed;
  const auto first = read();
  const auto second = read();
  time.runReady();
  EXPECT_EQ(first.get().outcome, Outcome::refused);
  EXPECT_EQ(second.get().outcome, Outcome::refused);
  EXPECT_EQ(sink.count("keychain_read_refused"), 2u);
}

TEST_F(KeychainTest, GoneReadersAreHarmless) {
  store.put(service, account, "token");
  store.delay = Seconds(1);
  for (int steps = 0; steps < 6; ++steps) {
    TaskScope reader(time.main());
    auto pending = start(reader, keychain->get(account, Keychain::readTimeout));
    for (int step = 0; step < steps; ++step) time.step();
  }
  time.advance(Seconds(10));
  EXPECT_EQ(store.item(service, account), "token");
}

}  // namespace
}  // namespace pell
