#include "localserver/Accounts.h"

#include <algorithm>
#include <unicode/locid.h>
#include <unicode/unistr.h>

#include "localserver/ApiError.h"
#include "localserver/Text.h"

namespace pell::localserver {
namespace {

constexpr std::size_t longestEmail = 254;

[[noreturn]] void refuse(int status, const char* code, std::string message) {
  throw Refusal({status, code, std::move(message)});
}

[[noreturn]] void refuseCredentials() {
  refuse(401, "INVALID_CREDENTIALS", "The email address or the password is wrong.");
}

}  // namespace

std::string normalizedEmail(const std::string& email) {
  const std::string trimmedText = trimmed(email);
  std::string address;
  icu::UnicodeString::fromUTF8(trimmedText).toLower(icu::Locale::getRoot()).toUTF8String(address);
  const auto at = address.find('@');
  const bool oneAt = at != std::string::npos && address.find('@', at + 1) == std::string::npos;
  const bool clean = std::none_of(address.begin(), address.end(), [](unsigned char c) {
    return c <= ' ' || c == 127 ||
           std::string_view("<>()[],;:\\\"").find(static_cast<char>(c)) != std::string_view::npos;
  });
  if (!oneAt || !clean || at == 0 || at + 1 == address.size() || address.size() > longestEmail) return "";
  return address;
}

void requireGoodPassword(const std::string& password) {
  if (characterCount(password) < Accounts::shortestPassword) {
    refuse(400, "WEAK_PASSWORD", "Use a password of at least 10 characters.");
  }
  if (password.size() > Accounts::longestPassword) {
    refuse(400, "WEAK_PASSWORD", "That password is too long.");
  }
}

Accounts::Accounts(Setup setup) : setup_(std::move(setup)) {}

SignedIn Accounts::registerAccount(const std::string& email, const std::string& password) {
  const std::string address = normalizedEmail(email);
  if (address.empty()) refuse(400, "INVALID_EMAIL", "That is not an email address.");
  requireGoodPassword(password);
  const UserRecord user{.id = newIdentifier(),
                        .email = address,
                        .passwordHash = setup_.passwords.hash(password),
                        .emailVerified = !setup_.verifyEmail,
                        .cleanupPromptVersion = std::nullopt,
                        .createdAt = setup_.now()};
  if (!setup_.storage.addUser(user)) {
    refuse(409, "EMAIL_UNAVAILABLE", "There is an account for that email address already. Sign in instead.");
  }
  if (setup_.verifyEmail) setup_.links.welcome(user);
  return {.tokens = setup_.sessions.open(user.id), .user = user};
}

SignedIn Accounts::signIn(const std::string& email, const std::string& password) {
  const std::string address = normalizedEmail(email);
  // Addresses that nobody has are counted alike, so that this tells nothing of who has an account.
  if (!address.empty() && !guesses_.allow(address, AttemptLimit::Clock::now())) {
    refuse(429, "TOO_MANY_ATTEMPTS", "Too many attempts to sign in with this address. Try again in a while.");
  }
  const auto user = setup_.storage.userByEmail(address);
  const auto hash = user ? std::optional(user->passwordHash) : std::nullopt;
  const bool tooLong = password.size() > longestPassword;
  const bool matches = setup_.passwords.verify(hash, tooLong ? std::string() : password);
  if (!matches || tooLong) refuseCredentials();
  guesses_.giveBack(address);
  return openFor(*user);
}

/// Looking at a password takes a while, in which another may have been set or the account deleted. All
/// sign-ins ended then, and this one must not outlive them.
SignedIn Accounts::openFor(const UserRecord& proven) {
  SignedIn signedIn;
  setup_.storage.atomically([&] {
    const auto user = setup_.storage.userById(proven.id);
    if (!user || user->passwordHash != proven.passwordHash) refuseCredentials();
    signedIn = {.tokens = setup_.sessions.open(user->id), .user = *user};
  });
  return signedIn;
}

SignedIn Accounts::refresh(const std::string& refreshToken) {
  auto tokens = setup_.sessions.refresh(refreshToken);
  const auto user = tokens ? setup_.storage.userById(tokens->userId) : std::nullopt;
  if (!user) refuse(401, "SESSION_EXPIRED", "Your session expired. Sign in again.");
  return {.tokens = std::move(*tokens), .user = *user};
}

UserRecord Accounts::account(const Caller& caller) {
  const auto user = setup_.storage.userById(caller.userId);
  if (!user) refuse(401, "UNAUTHORIZED", "Sign in first.");
  return *user;
}

UserRecord Accounts::changePreferences(const Caller& caller, const PreferenceChange& change) {
  UserRecord user;
  setup_.storage.atomically([&] {
    user = account(caller);
    if (change.cleanupEnabled) user.cleanupEnabled = *change.cleanupEnabled;
    if (change.cleanupPromptVersion) user.cleanupPromptVersion = *change.cleanupPromptVersion;
    setup_.storage.updateUser(user);
  });
  return user;
}

void Accounts::remove(const Caller& caller) {
  setup_.storage.removeUser(caller.userId);
  setup_.links.discard(caller.userId);
}

}  // namespace pell::localserver
