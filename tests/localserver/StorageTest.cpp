// What every storage must do, and what the one in a file does besides.
#include <fstream>
#include <gtest/gtest.h>
#include <sys/stat.h>
#include <thread>

#include "localserver/SqliteStorage.h"
#include "support/TemporaryDirectory.h"

namespace pell::localserver {
namespace {

using pell::testing::TemporaryDirectory;

class StorageContract : public ::testing::Test {
 protected:
  TemporaryDirectory directory_;
  std::unique_ptr<Storage> storage_ = std::make_unique<SqliteStorage>(directory_.path() / "server.db");
  const UserRecord ann_{.id = "u1", .email = "ann@example.org", .passwordHash = "h", .createdAt = 7};

  void signAnnIn(const std::string& session) {
    storage_->addSession({.id = session, .userId = ann_.id, .createdAt = 10});
  }
  void addRefresh(const std::string& hash, const std::string& session, std::int64_t generation) {
    storage_->addRefreshToken(
        {.hash = hash, .sessionId = session, .generation = generation, .expiresAt = 100});
  }
};

TEST_F(StorageContract, KeepsUsersWholeAndOnePerAddress) {
  UserRecord bob{.id = "u2", .email = "bob@example.org", .passwordHash = "x'; drop table users; --"};
  bob.isAdmin = true;
  bob.emailVerified = false;
  bob.cleanupEnabled = false;
  bob.cleanupPromptVersion = "email-v1";
  EXPECT_TRUE(storage_->addUser(ann_));
  EXPECT_TRUE(storage_->addUser(bob));
  UserRecord intruder = ann_;
  intruder.id = "u3";
  EXPECT_FALSE(storage_->addUser(intruder));
  EXPECT_EQ(storage_->userByEmail("ann@example.org"), ann_);
  EXPECT_EQ(storage_->userById("u2"), bob);
  EXPECT_EQ(storage_->userById("u3"), std::nullopt);
  EXPECT_EQ(storage_->userByEmail(""), std::nullopt);
}

TEST_F(StorageContract, RemovingASessionTakesItsTokensAndNoOthers) {
  storage_->addUser(ann_);
  for (const std::string session : {"s1", "s2"}) {
    signAnnIn(session);
    storage_->addAccessToken({.hash = "a-" + session, .sessionId = session, .expiresAt = 50});
    addRefresh("r-" + session, session, 0);
  }
  storage_->removeSession("s1");
  EXPECT_EQ(storage_->session("s1"), std::nullopt);
  EXPECT_EQ(storage_->accessToken("a-s1"), std::nullopt);
  EXPECT_EQ(storage_->refreshToken("r-s1"), std::nullopt);
  EXPECT_EQ(storage_->session("s2")->userId, ann_.id);
  EXPECT_EQ(storage_->accessToken("a-s2")->expiresAt, 50);
  EXPECT_EQ(storage_->refreshToken("r-s2")->expiresAt, 100);
}

TEST_F(StorageContract, ForgetsWhatExpired) {
  storage_->addUser(ann_);
  signAnnIn("old");
  signAnnIn("new");
  storage_->addAccessToken({.hash = "a-old", .sessionId = "new", .expiresAt = 50});
  storage_->addAccessToken({.hash = "a-new", .sessionId = "new", .expiresAt = 51});
  storage_->addRefreshToken({.hash = "r-old", .sessionId = "old", .expiresAt = 50});
  storage_->addRefreshToken({.hash = "r-new", .sessionId = "new", .expiresAt = 51});
  storage_->removeExpired(50);
  EXPECT_EQ(storage_->accessToken("a-old"), std::nullopt);
  EXPECT_TRUE(storage_->accessToken("a-new"));
  EXPECT_EQ(storage_->session("old"), std::nullopt);
  EXPECT_TRUE(storage_->session("new"));
}

TEST_F(StorageContract, CountsUsagePerUserAndMonth) {
  storage_->addUser(ann_);
  EXPECT_EQ(storage_->usage("u1", "2025-01"), UsageRecord{});
  storage_->addUsage("u1", "2025-01", {.dictations = 1, .words = 2, .characters = 9, .seconds = 1.5});
  storage_->addUsage("u1", "2025-01", {.dictations = 1, .words = 3, .characters = 1, .seconds = 2.25});
  storage_->addUsage("u1", "2025-02", {.seconds = 4});
  storage_->addUsage("u1", "2025-02", {.seconds = -5});
  const UsageRecord january{.dictations = 2, .words = 5, .characters = 10, .seconds = 3.75};
  EXPECT_EQ(storage_->usage("u1", "2025-01"), january);
  EXPECT_EQ(storage_->usage("u1", "2025-02"), UsageRecord{});
}

TEST_F(StorageContract, UndoesWhatFailsInTheMiddle) {
  storage_->addUser(ann_);
  const auto failing = [&] {
    storage_->addUsage("u1", "2025-01", {.seconds = 1});
    storage_->atomically([&] { signAnnIn("s1"); });
    throw std::runtime_error("enough");
  };
  EXPECT_THROW(storage_->atomically(failing), std::runtime_error);
  EXPECT_EQ(storage_->session("s1"), std::nullopt);
  EXPECT_EQ(storage_->usage("u1", "2025-01"), UsageRecord{});
  EXPECT_THROW(storage_->addSession({.id = "s2", .userId = "nobody"}), StorageFailure);
  signAnnIn("s3");
  EXPECT_TRUE(storage_->session("s3"));
}

TEST_F(StorageContract, LetsNoThreadInBetween) {
  storage_->addUser(ann_);
  const auto increment = [&] {
    for (int i = 0; i < 50; ++i) {
      storage_->atomically([&] {
        const double seen = storage_->usage("u1", "2025-01").seconds;
        std::this_thread::yield();
        storage_->addUsage("u1", "2025-01", {.seconds = seen + 1 - storage_->usage("u1", "2025-01").seconds});
      });
    }
  };
  std::thread other(increment);
  increment();
  other.join();
  EXPECT_EQ(storage_->usage("u1", "2025-01").seconds, 100);
}

TEST(SqliteStorage, RemembersAcrossRestartsInAPrivateFile) {
  const TemporaryDirectory directory;
  const auto file = directory.path() / "server.db";
  SqliteStorage(file).addUser({.id = "u1", .email = "a@b", .passwordHash = "h"});
  EXPECT_EQ(SqliteStorage(file).userByEmail("a@b")->id, "u1");
  struct stat information {};
  ASSERT_EQ(stat(file.c_str(), &information), 0);
  EXPECT_EQ(information.st_mode & 0777, 0600u);
}

TEST(SqliteStorage, SaysWhatIsWrongWithAFileItCannotUse) {
  const TemporaryDirectory directory;
  const auto later = directory.path() / "later.db";
  SqlConnection(later).execute("pragma user_version = 1000");
  const auto garbage = directory.path() / "garbage.db";
  std::ofstream(garbage) << std::string(9000, 'g');
  const auto torn = directory.path() / "torn.db";
  SqliteStorage(torn).addUser({.id = "u1", .email = "a@b", .passwordHash = "h"});
  std::filesystem::resize_file(torn, 6000);
  const auto folder = directory.path() / "folder.db";
  std::filesystem::create_directory(folder);
  for (const auto& file : {later, garbage, torn, folder}) {
    try {
      const SqliteStorage storage(file);
      ADD_FAILURE() << file;
    } catch (const StorageFailure& failure) {
      EXPECT_NE(std::string(failure.what()).find(file.string()), std::string::npos) << failure.what();
    }
  }
}

}  // namespace
}  // namespace pell::localserver
