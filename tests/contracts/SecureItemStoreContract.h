// What every SecureItemStore does.
#pragma once

#include "contracts/World.h"
#include "platform/SecureItemStore.h"

namespace pell::testing {

class SecureItemStoreWorld : public World {
 public:
  virtual SecureItemStore& store() = 0;

  /// The program ends and starts again.
  virtual void reopen() = 0;

  /// The store is locked and would have to ask the user. False if this store has no lock.
  virtual bool lock() = 0;
  virtual void unlock() = 0;
};

class SecureItemStoreContract : public Contract<SecureItemStoreWorld> {
 protected:
  struct Answer {
    SecureItemStatus status;
    std::string bytes;
    bool operator==(const Answer&) const = default;
  };
  using Box = std::shared_ptr<Inbox<Answer>>;

  static SecureItemKey key(const std::string& account) { return {"com.pell.contract", account}; }

  Box ask(const SecureItemKey& item) {
    auto box = std::make_shared<Inbox<Answer>>();
    world().store().copyMatching(item, [box](SecureItemStatus status, std::string bytes) {
      box->put({status, std::move(bytes)});
    });
    return box;
  }
  Answer read(const SecureItemKey& item) {
    auto box = ask(item);
    if (!world().waitUntil([&] { return box->size() > 0; }))
      return {SecureItemStatus::userCanceled, "no reply"};
    world().settle();
    EXPECT_EQ(box->size(), 1u);
    return box->all().front();
  }
};

TEST_P(SecureItemStoreContract, KeepsBytesOverARestart) {
  const std::vector<std::pair<std::string, std::string>> items{
      {"session", "{\"token\":\"abc\"}"},
      {"binary", std::string("\x00\xFF\n\xC3(", 5)},
      {"unicode", "पासवर्ड é\n\"quoted\""},
      {"long", std::string(20000, 'k')},
  };
  for (const auto& [account, bytes] : items) {
    EXPECT_EQ(world().store().add(key(account), bytes), SecureItemStatus::success) << account;
  }
  for (bool restarted : {false, true}) {
    if (restarted) world().reopen();
    for (const auto& [account, bytes] : items) {
      EXPECT_EQ(read(key(account)), (Answer{SecureItemStatus::success, bytes})) << account;
    }
  }
}

TEST_P(SecureItemStoreContract, TellsItemsApartByServiceAndAccount) {
  world().store().add({"service.one", "a"}, "1a");
  world().store().add({"service.one", "b"}, "1b");
  world().store().add({"service.two", "a"}, "2a");
  EXPECT_EQ(world().store().remove({"service.one", "a"}), SecureItemStatus::success);
  EXPECT_EQ(read({"service.one", "a"}).status, SecureItemStatus::itemNotFound);
  EXPECT_EQ(read({"service.one", "b"}).bytes, "1b");
  EXPECT_EQ(read({"service.two", "a"}).bytes, "2a");
}

TEST_P(SecureItemStoreContract, SaysWhatIsNotThere) {
  EXPECT_EQ(read(key("nothing")), (Answer{SecureItemStatus::itemNotFound, ""}));
  EXPECT_EQ(world().store().remove(key("nothing")), SecureItemStatus::itemNotFound);
}

TEST_P(SecureItemStoreContract, HoldsAnItemAgainAfterItsRemoval) {
  world().store().add(key("again"), "first");
  world().store().remove(key("again"));
  EXPECT_EQ(world().store().add(key("again"), "second"), SecureItemStatus::success);
  EXPECT_EQ(read(key("again")).bytes, "second");
}

TEST_P(SecureItemStoreContract, NeverBlocksTheCallerAndKeepsTheItemWhileLocked) {
  world().store().add(key("kept"), "bytes");
  if (!world().lock()) return;  // this store has no lock: the rest does not concern it
  auto start = world().now();
  auto box = ask(key("kept"));
  EXPECT_LT(Seconds(world().now() - start).count(), 1.0);
  world().settle();
  for (const auto& answer : box->all()) EXPECT_NE(answer.status, SecureItemStatus::success);
  world().unlock();
  EXPECT_EQ(read(key("kept")), (Answer{SecureItemStatus::success, "bytes"}));
}

}  // namespace pell::testing
