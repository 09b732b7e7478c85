#include "localserver/Sessions.h"

#include "localserver/Secrets.h"

namespace pell::localserver {

Sessions::Sessions(Storage& storage, WallNow now) : storage_(storage), now_(std::move(now)) {}

TokenPair Sessions::open(const std::string& userId) {
  sweep();
  TokenPair pair;
  storage_.atomically([&] { pair = issue(userId, newIdentifier(), 0); });
  return pair;
}

std::optional<TokenPair> Sessions::refresh(const std::string& refreshToken) {
  sweep();
  std::optional<TokenPair> pair;
  storage_.atomically([&] {
    const auto token = storage_.token(TokenKind::refresh, tokenHash(refreshToken));
    if (!token || token->expiresAt <= now_()) return;
    if (token->replaced) {
      storage_.removeFamily(token->family);
      return;
    }
    if (!token->used) storage_.useToken(*token);
    pair = issue(token->userId, token->family, token->generation + 1);
  });
  return pair;
}

std::optional<Caller> Sessions::authenticate(const std::string& accessToken) {
  if (accessToken.empty()) return std::nullopt;
  const auto token = storage_.token(TokenKind::access, tokenHash(accessToken));
  if (!token || token->expiresAt <= now_()) return std::nullopt;
  return Caller{.userId = token->userId, .sessionId = token->family};
}

void Sessions::close(const Caller& caller) { storage_.removeFamily(caller.sessionId); }

TokenPair Sessions::issue(const std::string& userId, const std::string& sessionId, std::int64_t generation) {
  TokenPair pair{
      .access = newToken(), .refresh = newToken(), .accessLifetime = accessLifetime, .userId = userId};
  const UnixSeconds now = now_();
  storage_.addToken({.hash = tokenHash(pair.access),
                     .kind = TokenKind::access,
                     .userId = userId,
                     .family = sessionId,
                     .expiresAt = now + std::chrono::seconds(accessLifetime).count()});
  storage_.addToken({.hash = tokenHash(pair.refresh),
                     .kind = TokenKind::refresh,
                     .userId = userId,
                     .family = sessionId,
                     .generation = generation,
                     .expiresAt = now + std::chrono::seconds(refreshLifetime).count()});
  return pair;
}

/// Old rows go at most once an hour, on the way of a request that writes anyway.
void Sessions::sweep() {
  const UnixSeconds now = now_();
  UnixSeconds last = lastSweep_;
  if (now - last < 3600 || !lastSweep_.compare_exchange_strong(last, now)) return;
  storage_.removeExpired(now);
}

}  // namespace pell::localserver
