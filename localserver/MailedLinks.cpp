#include "localserver/MailedLinks.h"

#include <fmt/format.h>
#include <nlohmann/json.hpp>
#include <utility>

#include "localserver/Accounts.h"
#include "localserver/ApiError.h"

namespace pell::localserver {
namespace {

UnixSeconds lifetimeOf(TokenKind kind) {
  const auto lifetime =
      kind == TokenKind::passwordReset ? MailedLinks::resetLifetime : MailedLinks::verificationLifetime;
  return std::chrono::seconds(lifetime).count();
}

}  // namespace

MailedLinks::MailedLinks(Setup setup)
    : setup_(std::move(setup)),
      outbox_({.folder = setup_.folder,
               .sender = setup_.sender,
               .now = setup_.now,
               .lifetime = verificationLifetime}) {}

void MailedLinks::welcome(const UserRecord& user) {
  logged([&] {
    if (mayWrite(TokenKind::emailVerification, user.id)) sendVerification(user);
  });
}

void MailedLinks::resendVerification(const std::string& userId) {
  const auto user = setup_.storage.userById(userId);
  if (!user || user->emailVerified) return;
  if (!mayWrite(TokenKind::emailVerification, userId)) {
    throw Refusal({.status = 429,
                   .code = "TOO_MANY_ATTEMPTS",
                   .message = "A few messages are on their way to you already. Look into your inbox and your "
                              "spam folder, or try again in an hour.",
                   .retryAfter = std::chrono::hours(1)});
  }
  sendVerification(*user);
}

void MailedLinks::requestReset(const std::string& email) {
  background_.post([this, email] { logged([&] { sendReset(email); }); });
}

bool MailedLinks::verify(const std::string& token) {
  bool done = false;
  setup_.storage.atomically([&] {
    const auto found = find(TokenKind::emailVerification, token);
    auto user = found ? setup_.storage.userById(found->userId) : std::nullopt;
    if (!user) return;
    setup_.storage.removeTokensOf(user->id, TokenKind::emailVerification);
    user->emailVerified = true;
    setup_.storage.updateUser(*user);
    done = true;
  });
  return done;
}

bool MailedLinks::canReset(const std::string& token) {
  return find(TokenKind::passwordReset, token).has_value();
}

bool MailedLinks::resetPassword(const std::string& token, const std::string& password) {
  // Before the hash, which costs too much to be had for a made-up token.
  if (!canReset(token)) return false;
  requireGoodPassword(password);
  const std::string hash = setup_.passwords.hash(password);
  bool done = false;
  setup_.storage.atomically([&] {
    const auto found = find(TokenKind::passwordReset, token);
    auto user = found ? setup_.storage.userById(found->userId) : std::nullopt;
    if (!user) return;
    setup_.storage.removeTokensOf(user->id, std::nullopt);
    user->passwordHash = hash;
    // Whoever followed the link reads the address's mail.
    user->emailVerified = true;
    setup_.storage.updateUser(*user);
    done = true;
  });
  return done;
}

bool MailedLinks::mayWrite(TokenKind kind, const std::string& userId) {
  return letters_.allow(fmt::format("{} {}", static_cast<int>(kind), userId), AttemptLimit::Clock::now());
}

void MailedLinks::sendVerification(const UserRecord& user) {
  outbox_.post({.userId = user.id,
                .to = user.email,
                .subject = "Confirm your email address",
                .text = fmt::format("Somebody, probably you, made a Pell account with this address. To "
                                    "confirm that it is yours, open\n\n{}\n\nThe link works for three days. "
                                    "If it was not you, do nothing.\n",
                                    newLink(TokenKind::emailVerification, user.id))});
}

void MailedLinks::sendReset(const std::string& email) {
  const auto user = setup_.storage.userByEmail(normalizedEmail(email));
  if (!user || !mayWrite(TokenKind::passwordReset, user->id)) return;
  outbox_.post({.userId = user->id,
                .to = user->email,
                .subject = "Set a new password",
                .text = fmt::format("Somebody, probably you, asked for a new password of your Pell account. "
                                    "To set one, open\n\n{}\n\nThe link works for one hour. If it was not "
                                    "you, do nothing: your password stays as it is.\n",
                                    newLink(TokenKind::passwordReset, user->id))});
}

std::string MailedLinks::newLink(TokenKind kind, const std::string& userId) {
  const std::string token = newToken();
  setup_.storage.addToken({.hash = tokenHash(token),
                           .kind = kind,
                           .userId = userId,
                           .family = newIdentifier(),
                           .expiresAt = setup_.now() + lifetimeOf(kind)});
  const char* page = kind == TokenKind::passwordReset ? "reset-password" : "verify-email";
  return fmt::format("{}/{}?token={}", setup_.publicUrl, page, token);
}

std::optional<TokenRecord> MailedLinks::find(TokenKind kind, const std::string& token) {
  const auto found = setup_.storage.token(kind, tokenHash(token));
  return found && found->expiresAt > setup_.now() ? found : std::nullopt;
}

void MailedLinks::logged(const std::function<void()>& work) {
  try {
    work();
  } catch (const std::exception& failure) {
    setup_.log.error("letter_failed", {{"reason", failure.what()}});
  }
}

}  // namespace pell::localserver
