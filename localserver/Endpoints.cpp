#include "localserver/Endpoints.h"

#include <fmt/chrono.h>

#include "localserver/TranscribeEndpoint.h"

namespace pell::localserver {
namespace {

using nlohmann::json;

std::string isoTime(UnixSeconds seconds) {
  return fmt::format("{:%Y-%m-%dT%H:%M:%SZ}", fmt::gmtime(static_cast<std::time_t>(seconds)));
}

// Every account of a self-hosted server is on the one plan.
constexpr const char* planId = "self-hosted";
constexpr const char* planName = "Self-hosted";

json sessionJson(const SignedIn& signedIn) {
  return {{"accessToken", signedIn.tokens.access},
          {"refreshToken", signedIn.tokens.refresh},
          {"expiresIn", static_cast<double>(signedIn.tokens.accessLifetime.count())},
          {"user",
           {{"id", signedIn.user.id},
            {"email", signedIn.user.email},
            {"plan", planId},
            {"isAdmin", signedIn.user.isAdmin}}}};
}

json accountJson(const UserRecord& user, std::int64_t minutesPerMonth) {
  json account = {{"id", user.id},
                  {"email", user.email},
                  {"isAdmin", user.isAdmin},
                  {"cleanupEnabled", user.cleanupEnabled},
                  {"plan", {{"id", planId}, {"displayName", planName}, {"minutesPerMonth", minutesPerMonth}}},
                  {"createdAt", isoTime(user.createdAt)},
                  {"emailVerified", user.emailVerified}};
  if (user.cleanupPromptVersion) account["cleanupPromptVersion"] = *user.cleanupPromptVersion;
  return account;
}

}  // namespace

std::vector<Route> endpoints(const EndpointServices& services) {
  Accounts& accounts = services.accounts;
  Sessions& sessions = services.sessions;
  Metering& metering = services.metering;

  const auto signUp = [&accounts](const Call& call) {
    return sessionJson(
        accounts.registerAccount(requiredString(call.body, "email"), requiredString(call.body, "password")));
  };
  const auto signIn = [&accounts](const Call& call) {
    return sessionJson(
        accounts.signIn(requiredString(call.body, "email"), requiredString(call.body, "password")));
  };
  const auto refresh = [&accounts](const Call& call) {
    return sessionJson(accounts.refresh(requiredString(call.body, "refreshToken")));
  };
  const auto signOut = [&sessions](const Call& call) {
    sessions.close(call.caller);
    return json::object();
  };
  const auto account = [&accounts, &metering](const Call& call) {
    const auto minutes = metering.quota(call.caller.userId).minutesPerMonth;
    return accountJson(accounts.account(call.caller), minutes);
  };
  const auto transcribe = [endpoint =
                               TranscribeEndpoint(services.metering, services.transcriber, services.log)](
                              const Call& call) { return endpoint.answer(call); };

  // clang-format off
  return {
      {"POST", "/api/v1/auth/register", Access::attempt,  BodyKind::json,  false, signUp},
      {"POST", "/api/v1/auth/login",    Access::attempt,  BodyKind::json,  false, signIn},
      {"POST", "/api/v1/auth/refresh",  Access::open,     BodyKind::json,  false, refresh},
      {"POST", "/api/v1/auth/logout",   Access::signedIn, BodyKind::none,  false, signOut},
      {"GET",  "/api/v1/me",            Access::signedIn, BodyKind::none,  false, account},
      {"POST", "/api/v1/transcribe",    Access::signedIn, BodyKind::audio, true,  transcribe},
  };
  // clang-format on
}

}  // namespace pell::localserver
