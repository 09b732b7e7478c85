// What every storage must do, and what the one in a file does besides.
#include <fmt/format.h>
#include <fstream>
#include <gtest/gtest.h>
#include <sys/stat.h>
#include <thread>

#include "localserver/SqliteSchema.h"
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

  void addToken(TokenKind kind, const std::string& hash, const std::string& family, UnixSeconds expiresAt) {
    storage_->addToken(
        {.hash = hash, .kind = kind, .userId = ann_.id, .family = family, .expiresAt = expiresAt});
  }
  /// The tokens that are there, of those that these tests make.
  std::string tokens() {
    std::string found;
    for (const auto kind : {TokenKind::access, TokenKind::refresh, TokenKind::passwordReset}) {
      for (const char* hash : {"a", "b", "c"}) {
        if (storage_->token(kind, hash)) found += fmt::format("{}{} ", hash, static_cast<int>(kind));
      }
    }
    return found;
  }
};

TEST_F(StorageContract, KeepsUsersWholeAndOnePerAddress) {
  UserRecord bob{.id = "u2", .email = "bob@example.org", .passwordHash = "x'; drop table users; --"};
  EXPECT_TRUE(storage_->addUser(ann_));
  EXPECT_TRUE(storage_->addUser(bob));
  UserRecord intruder = ann_;
  intruder.id = "u3";
  EXPECT_FALSE(storage_->addUser(intruder));
  EXPECT_EQ(storage_->userByEmail("ann@example.org"), ann_);
  EXPECT_EQ(storage_->userById("u3"), std::nullopt);
  EXPECT_EQ(storage_->userByEmail(""), std::nullopt);

  bob.passwordHash = "another";
  bob.isAdmin = true;
  bob.emailVerified = false;
  bob.cleanupEnabled = false;
  bob.cleanupPromptVersion = "email-v1";
  bob.plan = "team";
  storage_->updateUser(bob);
  storage_->updateUser(intruder);
  EXPECT_EQ(storage_->userById("u2"), bob);
  EXPECT_EQ(storage_->userById("u1"), ann_);
  EXPECT_EQ(storage_->userById("u3"), std::nullopt);
}

TEST_F(StorageContract, RemovingAUserLeavesNothing) {
  storage_->addUser(ann_);
  addToken(TokenKind::access, "a", "s1", 50);
  storage_->addUsage("u1", "2025-01", {.words = 2});
  storage_->unlock("u1", "words.1", 5);
  storage_->removeUser("u1");
  EXPECT_EQ(storage_->userByEmail("ann@example.org"), std::nullopt);
  EXPECT_EQ(tokens(), "");
  EXPECT_TRUE(storage_->addUser(ann_));
  EXPECT_EQ(storage_->lifetimeUsage("u1"), UsageRecord{});
  EXPECT_TRUE(storage_->unlocked("u1").empty());
}

TEST_F(StorageContract, TokensGoByFamilyByOwnerAndKindAndByAge) {
  const struct {
    const char* name;
    std::function<void()> removal;
    const char* left;
  } rows[] = {
      {"none", [] {}, "a0 b0 a1 b1 c3 "},
      {"family", [&] { storage_->removeFamily("s1"); }, "b0 b1 c3 "},
      {"kind", [&] { storage_->removeTokensOf("u1", TokenKind::access); }, "a1 b1 c3 "},
      {"owner", [&] { storage_->removeTokensOf("u1", std::nullopt); }, ""},
      {"another owner", [&] { storage_->removeTokensOf("u2", std::nullopt); }, "a0 b0 a1 b1 c3 "},
      {"age", [&] { storage_->removeExpired(50); }, "b0 b1 c3 "},
  };
  for (const auto& [name, removal, left] : rows) {
    storage_->removeUser("u1");
    storage_->addUser(ann_);
    for (const auto kind : {TokenKind::access, TokenKind::refresh}) {
      addToken(kind, "a", "s1", 50);
      addToken(kind, "b", "s2", 51);
    }
    addToken(TokenKind::passwordReset, "c", "s3", 60);
    removal();
    EXPECT_EQ(tokens(), left) << name;
  }
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
  storage_->addUsage("u1", "2024-12", {.words = 100});
  EXPECT_EQ(storage_->lifetimeUsage("u1").words, 105);
  EXPECT_EQ(storage_->lifetimeUsage("u1").seconds, 3.75);
}

TEST_F(StorageContract, UnlocksOnce) {
  storage_->addUser(ann_);
  EXPECT_TRUE(storage_->unlock("u1", "words.1", 5));
  EXPECT_FALSE(storage_->unlock("u1", "words.1", 6));
  EXPECT_TRUE(storage_->unlock("u1", "words.100", 7));
  const std::map<std::string, UnixSeconds> expected = {{"words.1", 5}, {"words.100", 7}};
  EXPECT_EQ(storage_->unlocked("u1"), expected);
}

TEST_F(StorageContract, UndoesWhatFailsInTheMiddle) {
  storage_->addUser(ann_);
  const auto failing = [&] {
    storage_->addUsage("u1", "2025-01", {.seconds = 1});
    storage_->atomically([&] { addToken(TokenKind::access, "a", "s1", 50); });
    throw std::runtime_error("enough");
  };
  EXPECT_THROW(storage_->atomically(failing), std::runtime_error);
  EXPECT_EQ(tokens(), "");
  EXPECT_EQ(storage_->usage("u1", "2025-01"), UsageRecord{});
  EXPECT_THROW(storage_->addToken({.hash = "b", .userId = "nobody", .family = "s"}), StorageFailure);
  addToken(TokenKind::access, "c", "s1", 50);
  EXPECT_EQ(tokens(), "c0 ");
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

TEST(SqliteStorage, BringsTheFirstDatabasesAlong) {
  const TemporaryDirectory directory;
  const auto file = directory.path() / "server.db";
  {
    SqlConnection old(file);
    old.execute(migrationTo(1).c_str());
    old.execute(
        "insert into users values ('u1', 'a@b', 'h', 0, 1, 0, 'email-v1', 7);"
        "insert into sessions values ('s1', 'u1', 8);"
        "insert into access_tokens values ('a', 's1', 50);"
        "insert into refresh_tokens values ('a', 's1', 3, 90, 1, 0);"
        "insert into usage values ('u1', '2025-01', 1, 2, 3, 4.5);");
  }
  SqliteStorage storage(file);
  const UserRecord user{.id = "u1",
                        .email = "a@b",
                        .passwordHash = "h",
                        .cleanupEnabled = false,
                        .cleanupPromptVersion = "email-v1",
                        .createdAt = 7};
  EXPECT_EQ(storage.userById("u1"), user);
  EXPECT_EQ(storage.token(TokenKind::access, "a")->family, "s1");
  const TokenRecord refresh{.hash = "a",
                            .kind = TokenKind::refresh,
                            .userId = "u1",
                            .family = "s1",
                            .generation = 3,
                            .expiresAt = 90,
                            .used = true};
  EXPECT_EQ(storage.token(TokenKind::refresh, "a"), refresh);
  EXPECT_EQ(storage.lifetimeUsage("u1").words, 2);
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
