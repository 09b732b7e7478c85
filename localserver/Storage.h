// What the server remembers, and nothing of how.
#pragma once

#include <cstdint>
#include <functional>
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

  friend bool operator==(const UserRecord&, const UserRecord&) = default;
};

/// One sign-in on one device: a family of tokens that live and die together.
struct SessionRecord {
  std::string id;
  std::string userId;
  UnixSeconds createdAt = 0;

  friend bool operator==(const SessionRecord&, const SessionRecord&) = default;
};

/// Tokens are stored by their hash alone.
struct AccessTokenRecord {
  std::string hash;
  std::string sessionId;
  UnixSeconds expiresAt = 0;

  friend bool operator==(const AccessTokenRecord&, const AccessTokenRecord&) = default;
};

struct RefreshTokenRecord {
  std::string hash;
  std::string sessionId;
  /// 0 at sign-in, one more with each rotation.
  std::int64_t generation = 0;
  UnixSeconds expiresAt = 0;
  /// Once exchanged for a successor.
  bool used = false;
  /// A successor of it, or a sibling, was used: whoever shows it now is not its owner.
  bool replaced = false;

  friend bool operator==(const RefreshTokenRecord&, const RefreshTokenRecord&) = default;
};

/// What one user dictated in one month.
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

  virtual void addSession(const SessionRecord& session) = 0;
  virtual std::optional<SessionRecord> session(const std::string& id) = 0;
  /// Takes every token of the session with it.
  virtual void removeSession(const std::string& id) = 0;

  virtual void addAccessToken(const AccessTokenRecord& token) = 0;
  virtual std::optional<AccessTokenRecord> accessToken(const std::string& hash) = 0;

  virtual void addRefreshToken(const RefreshTokenRecord& token) = 0;
  virtual std::optional<RefreshTokenRecord> refreshToken(const std::string& hash) = 0;
  /// Marks `token` as used, and every other token of its session up to its generation as replaced.
  virtual void useRefreshToken(const RefreshTokenRecord& token) = 0;

  /// Removes tokens that expired at or before `now`, and sessions that have no refresh token left.
  virtual void removeExpired(UnixSeconds now) = 0;

  /// `month` is "YYYY-MM". All zero where nothing was dictated.
  virtual UsageRecord usage(const std::string& userId, const std::string& month) = 0;
  /// Adds to what stands there; negative values take back. Nothing falls below zero.
  virtual void addUsage(const std::string& userId, const std::string& month, const UsageRecord& more) = 0;
};

}  // namespace pell::localserver
