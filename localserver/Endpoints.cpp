#include "localserver/Endpoints.h"

#include "localserver/Replies.h"
#include "localserver/SignedConfig.h"
#include "localserver/TranscribeEndpoint.h"

namespace pell::localserver {
namespace {

using Json = nlohmann::json;

PreferenceChange readChange(const Json& body) {
  PreferenceChange change;
  if (const auto enabled = body.find("cleanupEnabled"); enabled != body.end()) {
    if (!enabled->is_boolean()) {
      throw Refusal({400, "BAD_REQUEST", "\"cleanupEnabled\" is neither true nor false."});
    }
    change.cleanupEnabled = enabled->get<bool>();
  }
  if (const auto style = body.find("cleanupPromptVersion"); style != body.end()) {
    change.cleanupPromptVersion.emplace();
    if (!style->is_null()) {
      const std::string id = requiredString(body, "cleanupPromptVersion");
      if (!StyleCatalogue::find(id)) {
        throw Refusal({400, "UNKNOWN_STYLE", "This server does not know that style."});
      }
      change.cleanupPromptVersion = id;
    }
  }
  return change;
}

std::vector<Route> signInRoutes(const EndpointServices& services) {
  Accounts& accounts = services.accounts;
  Sessions& sessions = services.sessions;
  MailedLinks& links = services.links;
  const auto session = [&metering = services.metering](const SignedIn& signedIn) {
    return sessionJson(signedIn, metering.plan(signedIn.user));
  };
  const auto signUp = asJson([&accounts, session](const Call& call) {
    return session(
        accounts.registerAccount(requiredString(call.body, "email"), requiredString(call.body, "password")));
  });
  const auto signIn = asJson([&accounts, session](const Call& call) {
    return session(
        accounts.signIn(requiredString(call.body, "email"), requiredString(call.body, "password")));
  });
  const auto refresh = asJson([&accounts, session](const Call& call) {
    return session(accounts.refresh(requiredString(call.body, "refreshToken")));
  });
  const auto signOut = asJson([&sessions](const Call& call) {
    sessions.close(call.caller);
    return Json::object();
  });
  const auto requestReset = asJson([&links](const Call& call) {
    links.requestReset(requiredString(call.body, "email"));
    return Json::object();
  });
  using enum Access;
  using enum BodyKind;
  // clang-format off
  return {
      {"POST", "/api/v1/auth/register",               attempt,  json, Effort::password, signUp},
      {"POST", "/api/v1/auth/login",                  attempt,  json, Effort::password, signIn},
      {"POST", "/api/v1/auth/refresh",                attempt,  json, Effort::quick,    refresh},
      {"POST", "/api/v1/auth/logout",                 signedIn, none, Effort::quick,    signOut},
      {"POST", "/api/v1/auth/password/reset-request", attempt,  json, Effort::quick,    requestReset},
  };
  // clang-format on
}

std::vector<Route> accountRoutes(const EndpointServices& services) {
  Accounts& accounts = services.accounts;
  const auto account = asJson([&accounts, &metering = services.metering](const Call& call) {
    const UserRecord user = accounts.account(call.caller);
    return accountJson(user, metering.plan(user));
  });
  const auto remove = asJson([&accounts](const Call& call) {
    accounts.remove(call.caller);
    return Json::object();
  });
  const auto resend = asJson([&links = services.links](const Call& call) {
    links.resendVerification(call.caller.userId);
    return Json::object();
  });
  const auto change = asJson([&accounts](const Call& call) {
    return preferencesJson(accounts.changePreferences(call.caller, readChange(call.body)));
  });
  // clang-format off
  return {
      {"GET",    "/api/v1/me",                     Access::signedIn, BodyKind::none, Effort::quick, account},
      {"DELETE", "/api/v1/me",                     Access::signedIn, BodyKind::none, Effort::quick, remove},
      {"POST",   "/api/v1/me/email/verify/resend", Access::signedIn, BodyKind::none, Effort::quick, resend},
      {"PATCH",  "/api/v1/me/preferences",         Access::signedIn, BodyKind::json, Effort::quick, change},
  };
  // clang-format on
}

std::vector<Route> progressRoutes(const EndpointServices& services) {
  Achievements& achievements = services.achievements;
  const auto usage = asJson([&metering = services.metering](const Call& call) {
    return usageJson(metering.report(call.caller.userId));
  });
  const auto shelf = asJson([&achievements](const Call& call) {
    return shelfJson(achievements.catalogue(), achievements.shelf(call.caller.userId));
  });
  const auto report = asJson([&achievements](const Call& call) {
    const auto fresh = achievements.report(call.caller.userId, requiredString(call.body, "milestone"));
    return Json{{"unlocked", fresh}};
  });
  // clang-format off
  return {
      {"GET",  "/api/v1/me/usage",        Access::signedIn, BodyKind::none, Effort::quick, usage},
      {"GET",  "/api/v1/me/achievements", Access::signedIn, BodyKind::none, Effort::quick, shelf},
      {"POST", "/api/v1/me/achievements", Access::signedIn, BodyKind::json, Effort::quick, report},
  };
  // clang-format on
}

std::vector<Route> serviceRoutes(const EndpointServices& services) {
  const TranscribeEndpoint endpoint({.accounts = services.accounts,
                                     .metering = services.metering,
                                     .achievements = services.achievements,
                                     .transcriber = services.transcriber,
                                     .cleaner = services.cleaner,
                                     .log = services.log});
  const auto transcribe = asJson([endpoint](const Call& call) { return endpoint.answer(call); });
  const auto precheck = [endpoint](const RequestHead& head, const Caller& caller) {
    endpoint.admit(head, caller);
  };
  const auto styles = asJson([](const Call&) { return StyleCatalogue::reply(); });
  const auto config = asJson([file = services.signedConfig](const Call&) { return readSignedConfig(file); });
  // clang-format off
  return {
      {"POST", "/api/v1/transcribe",     Access::signedIn, BodyKind::audio, Effort::lengthy, transcribe, precheck},
      {"GET",  "/api/v1/cleanup-styles", Access::signedIn, BodyKind::none,  Effort::quick,   styles},
      {"GET",  "/api/v1/app-config",     Access::open,     BodyKind::none,  Effort::quick,   config},
  };
  // clang-format on
}

}  // namespace

std::vector<Route> endpoints(const EndpointServices& services) {
  std::vector<Route> all;
  for (const auto& part :
       {signInRoutes(services), accountRoutes(services), progressRoutes(services), serviceRoutes(services)}) {
    all.insert(all.end(), part.begin(), part.end());
  }
  return all;
}

}  // namespace pell::localserver
