#pragma once

#include <string>

#include "localserver/Secrets.h"
#include "localserver/Sessions.h"
#include "localserver/Storage.h"

namespace pell::localserver {

/// A sign-in as its owner is told of it.
struct SignedIn {
  TokenPair tokens;
  UserRecord user;
};

/// Registration and sign-in. Operations hash passwords, so they belong on a worker thread; each throws
/// Refusal with the sentence for the person who asked.
class Accounts {
 public:
  static constexpr std::int64_t shortestPassword = 10;
  static constexpr std::size_t longestPassword = 1024;

  Accounts(Storage& storage, Sessions& sessions, const Passwords& passwords, WallNow now);

  SignedIn registerAccount(const std::string& email, const std::string& password);
  SignedIn signIn(const std::string& email, const std::string& password);
  SignedIn refresh(const std::string& refreshToken);
  /// The caller's own record.
  UserRecord account(const Caller& caller);

 private:
  Storage& storage_;
  Sessions& sessions_;
  const Passwords& passwords_;
  WallNow now_;
};

/// The form of an address in which two of them are compared: trimmed, lower case. Empty where it is no
/// address.
std::string normalizedEmail(const std::string& email);

}  // namespace pell::localserver
