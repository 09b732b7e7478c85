#pragma once

#include <string>

#include "localserver/AttemptLimit.h"
#include "localserver/MailedLinks.h"
#include "localserver/Secrets.h"
#include "localserver/Sessions.h"
#include "localserver/Storage.h"

namespace pell::localserver {

/// A sign-in as its owner is told of it.
struct SignedIn {
  TokenPair tokens;
  UserRecord user;
};

/// What a user may choose; an absent field stays as it is.
struct PreferenceChange {
  std::optional<bool> cleanupEnabled;
  /// Holding nothing: the server's default style.
  std::optional<std::optional<std::string>> cleanupPromptVersion;
};

/// Registration, sign-in and the account itself. Operations hash passwords, so they belong on a worker
/// thread; each throws Refusal with the sentence for the person who asked.
class Accounts {
 public:
  static constexpr std::int64_t shortestPassword = 10;
  static constexpr std::size_t longestPassword = 1024;
  /// Wrong passwords for one account in `guessPeriod`, from wherever they come. While they are used up the
  /// right one is not taken either.
  static constexpr int guesses = 20;
  static constexpr std::chrono::minutes guessPeriod{15};

  struct Setup {
    Storage& storage;
    Sessions& sessions;
    const Passwords& passwords;
    MailedLinks& links;
    WallNow now;
    /// Whether new users are asked to confirm their address.
    bool verifyEmail = true;
  };
  explicit Accounts(Setup setup);

  SignedIn registerAccount(const std::string& email, const std::string& password);
  SignedIn signIn(const std::string& email, const std::string& password);
  SignedIn refresh(const std::string& refreshToken);
  /// The caller's own record.
  UserRecord account(const Caller& caller);
  /// Gives the record as it is then.
  UserRecord changePreferences(const Caller& caller, const PreferenceChange& change);
  /// Everything that the server knows of the caller goes.
  void remove(const Caller& caller);

 private:
  SignedIn openFor(const UserRecord& proven);

  const Setup setup_;
  AttemptLimit guesses_{guesses, guessPeriod};
};

/// Throws Refusal "WEAK_PASSWORD".
void requireGoodPassword(const std::string& password);

/// The form of an address in which two of them are compared: trimmed, lower case. Empty where it is no
/// address that could stand in the head of a letter as it is.
std::string normalizedEmail(const std::string& email);

}  // namespace pell::localserver
