#include "localserver/Sessions.h"

#include "localserver/Secrets.h"

namespace pell::localserver {

Sessions::Sessions(Storage& storage, WallNow now) : storage_(storage), now_(std::move(now)) {}

TokenPair Sessions::open(const std::string& userId) {
  sweep();
  TokenPair pair;
  storage_.atomically([&] {
    const SessionRecord session{.id = newIdentifier(), .userId = userId, .createdAt = now_()};
    storage_.addSession(session);
    pair = issue(session, 0);
  });
  return pair;
}

std::optional<TokenPair> Sessions::refresh(const std::string& refreshToken) {
  sweep();
  std::optional<TokenPair> pair;
  storage_.atomically([&] {
    const auto token = storage_.refreshToken(tokenHash(refreshToken));
    if (!token || token->expiresAt <= now_()) return;
    const auto session = storage_.session(token->sessionId);
    if (!session) return;
    if (token->replaced) {
      storage_.removeSession(session->id);
      return;
    }
    if (!token->used) storage_.useRefreshToken(*token);
    pair = issue(*session, token->generation + 1);
  });
  return pair;
}

std::optional<Caller> Sessions::authenticate(const std::string& accessToken) {
  if (accessToken.empty()) return std::nullopt;
  const auto token = storage_.accessToken(tokenHash(accessToken));
  if (!token || token->expiresAt <= now_()) return std::nullopt;
  const auto session = storage_.session(token->sessionId);
  if (!session) return std::nullopt;
  return Caller{.userId = session->userId, .sessionId = session->id};
}

void Sessions::close(const Caller& caller) { storage_.removeSession(caller.sessionId); }

TokenPair Sessions::issue(const SessionRecord& session, std::int64_t generation) {
  TokenPair pair{.access = newToken(),
                 .refresh = newToken(),
                 .accessLifetime = accessLifetime,
                 .userId = session.userId};
  const UnixSeconds now = now_();
  storage_.addAccessToken({.hash = tokenHash(pair.access),
                           .sessionId = session.id,
                           .expiresAt = now + std::chrono::seconds(accessLifetime).count()});
  storage_.addRefreshToken({.hash = tokenHash(pair.refresh),
                            .sessionId = session.id,
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
