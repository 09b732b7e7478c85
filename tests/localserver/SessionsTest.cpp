// How sign-ins begin, how tokens follow one another, and what happens to a stolen one.
#include <gtest/gtest.h>

#include "localserver/Accounts.h"
#include "localserver/ApiError.h"
#include "localserver/Secrets.h"
#include "localserver/Sessions.h"
#include "localserver/SqliteStorage.h"
#include "support/TemporaryDirectory.h"

namespace pell::localserver {
namespace {

using pell::testing::TemporaryDirectory;

/// Lets something happen between two operations, as another thread could.
class InterruptedStorage : public SqliteStorage {
 public:
  using SqliteStorage::SqliteStorage;
  std::optional<UserRecord> userByEmail(const std::string& email) override {
    auto user = SqliteStorage::userByEmail(email);
    meanwhile();
    return user;
  }
  std::function<void()> meanwhile = [] {};
};

class SessionsTest : public ::testing::Test {
 protected:
  SessionsTest() {
    startCryptography();
    storage_.addUser({.id = "u1", .email = "a@b", .passwordHash = "h"});
  }

  std::string rotate(const std::string& token) {
    const auto pair = sessions_.refresh(token);
    return pair ? pair->refresh : "refused";
  }

  UnixSeconds now_ = 1'700'000'000;
  TemporaryDirectory directory_;
  InterruptedStorage storage_{directory_.path() / "server.db"};
  Sessions sessions_{storage_, [this] { return now_; }};
};

TEST_F(SessionsTest, TokenUsedAfterItsSuccessorEndsTheSignInForBoth) {
  const TokenPair first = sessions_.open("u1");
  const TokenPair elsewhere = sessions_.open("u1");
  const std::string second = rotate(first.refresh);
  const auto current = sessions_.refresh(second);
  ASSERT_TRUE(current);
  ASSERT_TRUE(sessions_.authenticate(current->access));

  EXPECT_EQ(rotate(first.refresh), "refused");
  EXPECT_EQ(rotate(current->refresh), "refused");
  EXPECT_FALSE(sessions_.authenticate(current->access));
  EXPECT_TRUE(sessions_.authenticate(elsewhere.access)) << "another device of the same user";
}

TEST_F(SessionsTest, OfTwoSuccessorsOnlyTheOneUsedFirstIsGood) {
  const TokenPair first = sessions_.open("u1");
  const std::string one = rotate(first.refresh);
  const std::string other = rotate(first.refresh);
  EXPECT_NE(rotate(one), "refused");
  EXPECT_EQ(rotate(other), "refused");
  EXPECT_EQ(rotate(one), "refused") << "the sign-in has ended";
}

TEST_F(SessionsTest, NoSignInOutlivesWhatItsPasswordWasGoodFor) {
  const Passwords passwords(PasswordCost::least());
  ServerLog log(nullptr);
  const WallNow now = [this] { return now_; };
  MailedLinks links({.storage = storage_,
                     .passwords = passwords,
                     .log = log,
                     .now = now,
                     .folder = directory_.path() / "outbox",
                     .sender = "pell@example.org",
                     .publicUrl = "http://127.0.0.1"});
  Accounts accounts(
      {.storage = storage_, .sessions = sessions_, .passwords = passwords, .links = links, .now = now});
  const UserRecord ann{
      .id = "u2", .email = "ann@example.org", .passwordHash = passwords.hash("correct horse")};
  const auto outcome = [&](const std::function<void()>& meanwhile) -> std::string {
    storage_.removeUser(ann.id);
    storage_.addUser(ann);
    storage_.meanwhile = meanwhile;
    try {
      return accounts.signIn(ann.email, "correct horse").user.passwordHash;
    } catch (const Refusal& refusal) {
      return refusal.error().code;
    }
  };
  UserRecord reset = ann;
  reset.passwordHash = passwords.hash("another horse");
  EXPECT_EQ(outcome([] {}), ann.passwordHash);
  EXPECT_EQ(outcome([&] { storage_.updateUser(reset); }), "INVALID_CREDENTIALS");
  EXPECT_EQ(outcome([&] { storage_.removeUser(ann.id); }), "INVALID_CREDENTIALS");
}

TEST_F(SessionsTest, TokensExpire) {
  const TokenPair pair = sessions_.open("u1");
  now_ += pair.accessLifetime.count() - 1;
  EXPECT_EQ(sessions_.authenticate(pair.access)->userId, "u1");
  now_ += 1;
  EXPECT_FALSE(sessions_.authenticate(pair.access));
  const std::string next = rotate(pair.refresh);
  EXPECT_NE(next, "refused");
  now_ += std::chrono::seconds(Sessions::refreshLifetime).count();
  EXPECT_EQ(rotate(next), "refused");
  EXPECT_EQ(rotate("made up"), "refused");
}

TEST_F(SessionsTest, NothingStoredIsAToken) {
  const TokenPair pair = sessions_.open("u1");
  EXPECT_FALSE(storage_.token(TokenKind::access, pair.access));
  EXPECT_FALSE(storage_.token(TokenKind::refresh, pair.refresh));
  EXPECT_FALSE(sessions_.authenticate(pair.refresh)) << "one kind does not stand for the other";
  EXPECT_FALSE(sessions_.authenticate(tokenHash(pair.access)));
  sessions_.close(*sessions_.authenticate(pair.access));
  EXPECT_FALSE(sessions_.authenticate(pair.access));
  EXPECT_EQ(rotate(pair.refresh), "refused");
}

}  // namespace
}  // namespace pell::localserver
