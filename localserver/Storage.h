// What the server remembers, and nothing of how.
#pragma once

#include <cstdint>
#include <functional>
#include <map>
#include <optional>
#include <stdexcept>
#include <string>

namespace pell::localserver {

/// Seconds since 1970-01-01T00:00Z.
using UnixSeconds = std::int64_t;
/// Gives the current time; any thread.
using WallNow = std::function<UnixSeconds()>;

/// `email` is in the form that sign-in compares: trimmed and in lower case.
struct UserRecord {
  std::string id;
  std::string email;
  std::string passwordHash;
  bool isAdmin = false;
  bool emailVerified = true;
  bool cleanupEnabled = true;
  /// Absent: the server's default style.
  std::optional<std::string> cleanupPromptVersion;
  UnixSeconds createdAt = 0;
  /// Absent: the plan that every account has unless it was given another.
  std::optional<std::string> plan = std::nullopt;

  friend bool operator==(const UserRecord&, const UserRecord&) = default;
};

/// What a token is good for. The numbers stand in databases.
enum class TokenKind : std::int64_t { access = 0, refresh = 1, emailVerification = 2, passwordReset = 3 };

/// Tokens are stored by their hash alone.
struct TokenRecord {
  std::string hash;
  TokenKind kind = TokenKind::access;
  std::string userId;
  /// Tokens that live and die together: those of one sign-in on one device.
  std::string family;
  /// Of a refresh token: 0 at sign-in, one more with each rotation.
  std::int64_t generation = 0;
  UnixSeconds expiresAt = 0;
  /// Of a refresh token: exchanged for a successor.
  bool used = false;
  /// Of a refresh token: a successor of it, or a sibling, was used. Whoever shows it now is not its owner.
  bool replaced = false;

  friend bool operator==(const TokenRecord&, const TokenRecord&) = default;
};

/// What one user dictated in a span of time.
struct UsageRecord {
  std::int64_t dictations = 0;
  std::int64_t words = 0;
  std::int64_t characters = 0;
  double seconds = 0;

  friend bool operator==(const UsageRecord&, const UsageRecord&) = default;
};

/// Thrown where the storage cannot do what was asked; the text is fit for an operator to read.
class StorageFailure : public std::runtime_error {
 public:
  using std::runtime_error::runtime_error;
};

/// The server's memory. Every operation may be called from any thread and is durable when it returns; each
/// may throw StorageFailure.
class Storage {
 public:
  virtual ~Storage() = default;

  /// Runs `work` with no other thread in between. An exception out of it undoes all that it wrote and goes on
  /// to the caller. Operations of this storage are what `work` consists of; calls may nest, and then only the
  /// outermost counts.
  virtual void atomically(const std::function<void()>& work) = 0;

  /// False where the address belongs to somebody already; nothing changes then.
  virtual bool addUser(const UserRecord& user) = 0;
  virtual std::optional<UserRecord> userById(const std::string& id) = 0;
  virtual std::optional<UserRecord> userByEmail(const std::string& email) = 0;
  /// Replaces all but the identifier, the address and the time of registration. Nothing happens where there
  /// is no such user.
  virtual void updateUser(const UserRecord& user) = 0;
  /// Takes everything with it that the user had, beyond recovery from the bytes of the storage.
  virtual void removeUser(const std::string& id) = 0;

  virtual void addToken(const TokenRecord& token) = 0;
  virtual std::optional<TokenRecord> token(TokenKind kind, const std::string& hash) = 0;
  /// Marks a refresh token as used, and all others of its family up to its generation as replaced.
  virtual void useToken(const TokenRecord& token) = 0;
  virtual void removeFamily(const std::string& family) = 0;
  /// Of one kind, or of every kind.
  virtual void removeTokensOf(const std::string& userId, std::optional<TokenKind> kind) = 0;
  /// Removes tokens that expired at or before `now`.
  virtual void removeExpired(UnixSeconds now) = 0;

  /// `month` is "YYYY-MM". All zero where nothing was dictated.
  virtual UsageRecord usage(const std::string& userId, const std::string& month) = 0;
  virtual UsageRecord lifetimeUsage(const std::string& userId) = 0;
  /// Adds to what stands there; negative values take back. Nothing falls below zero.
  virtual void addUsage(const std::string& userId, const std::string& month, const UsageRecord& more) = 0;

  /// False where the user has that achievement already; the time of the first stays.
  virtual bool unlock(const std::string& userId, const std::string& achievement, UnixSeconds at) = 0;
  /// Achievements and when they were unlocked.
  virtual std::map<std::string, UnixSeconds> unlocked(const std::string& userId) = 0;
};

}  // namespace pell::localserver
