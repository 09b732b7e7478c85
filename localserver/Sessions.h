// Who a token belongs to, and how tokens follow one another.
#pragma once

#include <atomic>
#include <chrono>
#include <optional>
#include <string>

#include "localserver/Storage.h"

namespace pell::localserver {

/// A fresh pair of tokens. Nothing but this record ever holds them in clear.
struct TokenPair {
  std::string access;
  std::string refresh;
  std::chrono::seconds accessLifetime{0};
  std::string userId;
};

/// Whose request this is.
struct Caller {
  std::string userId;
  std::string sessionId;
};

/// Sign-ins. An access token lives for minutes; a refresh token buys the next pair. The token that was handed
/// in stays good until its successor is used for the first time, so that a reply lost on its way costs nobody
/// the sign-in. Whoever shows a token after its successor was used holds a copy: the sign-in ends for both.
/// Any thread; operations throw StorageFailure.
class Sessions {
 public:
  static constexpr std::chrono::minutes accessLifetime{15};
  static constexpr std::chrono::days refreshLifetime{90};

  Sessions(Storage& storage, WallNow now);

  TokenPair open(const std::string& userId);
  /// Nothing where the token is unknown, expired or replaced.
  std::optional<TokenPair> refresh(const std::string& refreshToken);
  std::optional<Caller> authenticate(const std::string& accessToken);
  void close(const Caller& caller);

 private:
  TokenPair issue(const std::string& userId, const std::string& sessionId, std::int64_t generation);
  void sweep();

  Storage& storage_;
  WallNow now_;
  std::atomic<UnixSeconds> lastSweep_{0};
};

}  // namespace pell::localserver
