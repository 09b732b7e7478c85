#include "localserver/Accounts.h"

#include <algorithm>
#include <unicode/unistr.h>

#include "localserver/ApiError.h"
#include "localserver/Text.h"

namespace pell::localserver {
namespace {

constexpr std::size_t longestEmail = 254;

[[noreturn]] void refuse(int status, const char* code, std::string message) {
  throw Refusal({status, code, std::move(message)});
}

}  // namespace

std::string normalizedEmail(const std::string& email) {
  const std::string trimmedText = trimmed(email);
  std::string address;
  icu::UnicodeString::fromUTF8(trimmedText).toLower().toUTF8String(address);
  const auto at = address.find('@');
  const bool oneAt = at != std::string::npos && address.find('@', at + 1) == std::string::npos;
  const bool clean =
      std::none_of(address.begin(), address.end(), [](unsigned char c) { return c <= ' ' || c == 127; });
  if (!oneAt || !clean || at == 0 || at + 1 == address.size() || address.size() > longestEmail) return "";
  return address;
}

Accounts::Accounts(Storage& storage, Sessions& sessions, const Passwords& passwords, WallNow now)
    : storage_(storage), sessions_(sessions), passwords_(passwords), now_(std::move(now)) {}

SignedIn Accounts::registerAccount(const std::string& email, const std::string& password) {
  const std::string address = normalizedEmail(email);
  if (address.empty()) refuse(400, "INVALID_EMAIL", "That is not an email address.");
  if (characterCount(password) < shortestPassword) {
    refuse(400, "WEAK_PASSWORD", "Use a password of at least 10 characters.");
  }
  if (password.size() > longestPassword) refuse(400, "WEAK_PASSWORD", "That password is too long.");
  const UserRecord user{.id = newIdentifier(),
                        .email = address,
                        .passwordHash = passwords_.hash(password),
                        .cleanupPromptVersion = std::nullopt,
                        .createdAt = now_()};
  if (!storage_.addUser(user)) {
    refuse(409, "EMAIL_UNAVAILABLE", "There is an account for that email address already. Sign in instead.");
  }
  return {.tokens = sessions_.open(user.id), .user = user};
}

SignedIn Accounts::signIn(const std::string& email, const std::string& password) {
  const auto user = storage_.userByEmail(normalizedEmail(email));
  const auto hash = user ? std::optional(user->passwordHash) : std::nullopt;
  const bool tooLong = password.size() > longestPassword;
  const bool matches = passwords_.verify(hash, tooLong ? std::string() : password);
  if (!matches || tooLong) refuse(401, "INVALID_CREDENTIALS", "The email address or the password is wrong.");
  return {.tokens = sessions_.open(user->id), .user = *user};
}

SignedIn Accounts::refresh(const std::string& refreshToken) {
  auto tokens = sessions_.refresh(refreshToken);
  if (!tokens) refuse(401, "SESSION_EXPIRED", "Your session expired. Sign in again.");
  const auto user = storage_.userById(tokens->userId);
  if (!user) refuse(401, "SESSION_EXPIRED", "Your session expired. Sign in again.");
  return {.tokens = std::move(*tokens), .user = *user};
}

UserRecord Accounts::account(const Caller& caller) {
  const auto user = storage_.userById(caller.userId);
  if (!user) refuse(401, "UNAUTHORIZED", "Sign in first.");
  return *user;
}

}  // namespace pell::localserver
