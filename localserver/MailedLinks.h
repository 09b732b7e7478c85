#pragma once

#include <functional>
#include <string>

#include "localserver/AttemptLimit.h"
#include "localserver/Outbox.h"
#include "localserver/Secrets.h"
#include "localserver/ServerLog.h"
#include "localserver/Storage.h"
#include "localserver/WorkerPool.h"

namespace pell::localserver {

/// What is done by a link in a letter: confirming an address and setting a new password. A link works once
/// and for a while; of its token only the hash is kept. Any thread; operations throw StorageFailure.
class MailedLinks {
 public:
  static constexpr std::chrono::hours verificationLifetime{72};
  static constexpr std::chrono::hours resetLifetime{1};
  /// Letters of one kind to one user in an hour.
  static constexpr int lettersPerHour = 3;

  struct Setup {
    Storage& storage;
    const Passwords& passwords;
    ServerLog& log;
    WallNow now;
    std::filesystem::path folder;
    std::string sender;
    /// Where a browser reaches this server, without a final slash.
    std::string publicUrl;
  };
  explicit MailedLinks(Setup setup);

  /// A letter that cannot be written is told to the log and not to the user, who can ask for another.
  void welcome(const UserRecord& user);
  /// Nothing happens where the address is confirmed already. Throws Refusal "TOO_MANY_ATTEMPTS" and
  /// MailFailure.
  void resendVerification(const std::string& userId);
  /// Comes back at once whether or not anybody has that address, and does the rest behind the caller's back:
  /// no reply and no delay tells who has an account.
  void requestReset(const std::string& email);

  /// False where the link is used, expired or made up.
  bool verify(const std::string& token);
  bool canReset(const std::string& token);
  /// Sets the password and ends every sign-in of the account; false as `verify` is. Hashes a password. Throws
  /// Refusal where the password will not do.
  bool resetPassword(const std::string& token, const std::string& password);

  /// Takes back the letters to a user.
  void discard(const std::string& userId) const { outbox_.discard(userId); }

 private:
  bool mayWrite(TokenKind kind, const std::string& userId);
  void sendVerification(const UserRecord& user);
  void sendReset(const std::string& email);
  std::string newLink(TokenKind kind, const std::string& userId);
  std::optional<TokenRecord> find(TokenKind kind, const std::string& token);
  void logged(const std::function<void()>& work);

  const Setup setup_;
  Outbox outbox_;
  AttemptLimit letters_{lettersPerHour, std::chrono::hours(1)};
  WorkerPool background_{1, 64};
};

}  // namespace pell::localserver
