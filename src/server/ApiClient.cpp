#include "server/ApiClient.h"

#include <fmt/core.h>
#include <string_view>
#include <utility>

#include "server/Wire.h"
#include "stores/Text.h"
#include "stores/Url.h"

namespace pell {
namespace {

constexpr Seconds requestTimeout{60.0};
constexpr Seconds resourceTimeout{180.0};
constexpr Seconds expiryMargin{30.0};
constexpr std::string_view jsonContentType = "application/json";

bool isSuccess(int status) { return status >= 200 && status <= 299; }

template <class Reply>
Reply decoded(const std::string& body) {
  try {
    return decodeWire<Reply>(body);
  } catch (const WireMismatch&) {
    throw ApiFailure::malformedResponse();
  }
}

/// Absent where a value is no UTF-8 and so cannot stand in JSON.
std::optional<std::string> jsonText(const nlohmann::json& object) {
  try {
    return object.dump();
  } catch (const nlohmann::json::type_error&) {
    return std::nullopt;
  }
}

/// For the calls that make no sense without their body.
std::string requiredJsonText(const nlohmann::json& object) {
  auto text = jsonText(object);
  if (!text) throw ApiFailure::malformedResponse();
  return *std::move(text);
}

constexpr const char* achievementsPath = "/api/v1/me/achievements";
constexpr const char* preferencesPath = "/api/v1/me/preferences";

// Replies of one field.
struct Unlocked {
  std::vector<std::string> unlocked;
};
struct CleanupEnabled {
  bool cleanupEnabled = false;
};
struct CleanupPromptVersion {
  std::optional<std::string> cleanupPromptVersion;
};
void decode(const WireObject& object, Unlocked& reply) { object.required("unlocked", reply.unlocked); }
void decode(const WireObject& object, CleanupEnabled& reply) {
  object.required("cleanupEnabled", reply.cleanupEnabled);
}
void decode(const WireObject& object, CleanupPromptVersion& reply) {
  object.optional("cleanupPromptVersion", reply.cleanupPromptVersion);
}

std::string percentEncoded(std::string_view text) {
  constexpr std::string_view kept = "ABCDEFGHIJKLMNOPQRSTUVWXYZabcdefghijklmnopqrstuvwxyz0123456789-_.";
  std::string encoded;
  for (char character : text) {
    if (kept.find(character) != kept.npos) {
      encoded += character;
    } else {
      encoded += fmt::format("%{:02X}", static_cast<unsigned char>(character));
    }
  }
  return encoded;
}

}  // namespace

ApiClient::ApiClient(Services services)
    : http_(services.http),
      keychain_(services.keychain),
      config_(services.config),
      clock_(services.clock),
      executor_(std::move(services.executor)),
      scope_(executor_) {}

ApiClient::~ApiClient() { executor_.stop(); }

void ApiClient::setSessionLostHandler(std::function<void(Keychain::ReadOutcome)> handler) {
  executor_.post([this, handler = std::move(handler)]() mutable { onSessionLost_ = std::move(handler); });
}

// The public calls: each runs its body on the executor and comes back to the caller's.

Task<Keychain::ReadOutcome> ApiClient::lastRefreshTokenRead() { return scope_.call(readOutcome()); }

Task<TranscriptionResult> ApiClient::transcribe(Upload recording) {
  return scope_.call(upload(std::move(recording)));
}

Task<AccountSummary> ApiClient::registerAccount(std::string email, std::string password) {
  return scope_.call(openSession("/api/v1/auth/register", std::move(email), std::move(password)));
}

Task<AccountSummary> ApiClient::signIn(std::string email, std::string password) {
  return scope_.call(openSession("/api/v1/auth/login", std::move(email), std::move(password)));
}

Task<void> ApiClient::signOut() { return scope_.call(endSession()); }

Task<std::optional<Account>> ApiClient::account() { return scope_.call(restore()); }

Task<void> ApiClient::deleteAccount() { return scope_.call(erase()); }

Task<void> ApiClient::requestPasswordReset(std::string email) {
  return scope_.call(askForReset(std::move(email)));
}

Task<void> ApiClient::resendVerification() { return scope_.call(askForVerification()); }

Task<UsageStats> ApiClient::usage() { return scope_.call(get<UsageStats>("/api/v1/me/usage")); }

Task<AchievementShelf> ApiClient::achievements() {
  return scope_.call(get<AchievementShelf>(achievementsPath));
}

Task<std::vector<std::string>> ApiClient::reportAchievement(std::string milestone) {
  return scope_.call(report(std::move(milestone)));
}

Task<CleanupStyleCatalogue> ApiClient::cleanupStyles() {
  return scope_.call(get<CleanupStyleCatalogue>("/api/v1/cleanup-styles"));
}

Task<bool> ApiClient::setCleanupEnabled(bool enabled) { return scope_.call(storeCleanupEnabled(enabled)); }

Task<std::optional<std::string>> ApiClient::setCleanupPromptVersion(std::optional<std::string> style) {
  return scope_.call(storeCleanupPromptVersion(std::move(style)));
}

// Their bodies.

Task<Keychain::ReadOutcome> ApiClient::readOutcome() { co_return lastRefreshTokenRead_; }

Task<TranscriptionResult> ApiClient::upload(Upload recording) {
  Call call{.path = "/api/v1/transcribe?language=" + recording.language,
            .method = "POST",
            .body = std::move(recording.audio),
            .contentType = std::move(recording.contentType)};
  if (recording.style && isUtf8(*recording.style)) call.path += "&style=" + percentEncoded(*recording.style);
  co_return co_await exchange<TranscriptionResult>(std::move(call));
}

Task<AccountSummary> ApiClient::openSession(std::string path, std::string email, std::string password) {
  const nlohmann::json credentials{{"email", std::move(email)}, {"password", std::move(password)}};
  Call call{.path = std::move(path),
            .method = "POST",
            .body = jsonText(credentials),
            .contentType = std::string(jsonContentType),
            .authenticated = false};
  const auto session = co_await exchange<Session>(std::move(call));
  store(session);
  co_return session.user;
}

Task<void> ApiClient::endSession() {
  try {
    co_await postRaw("/api/v1/auth/logout", std::nullopt, true);
  } catch (const std::exception&) {
    // Signed out here all the same.
  }
  forgetSession();
}

Task<std::optional<Account>> ApiClient::restore() {
  const Token token = co_await ensureAccessToken();
  if (!token) co_return std::nullopt;
  co_return co_await get<std::optional<Account>>("/api/v1/me");
}

Task<void> ApiClient::erase() {
  Call call{.path = "/api/v1/me", .method = "DELETE"};
  co_await request(std::move(call));
  forgetSession();
}

Task<void> ApiClient::askForReset(std::string email) {
  const nlohmann::json body{{"email", std::move(email)}};
  co_await postRaw("/api/v1/auth/password/reset-request", requiredJsonText(body), false);
}

Task<void> ApiClient::askForVerification() {
  co_await postRaw("/api/v1/me/email/verify/resend", std::nullopt, true);
}

Task<std::vector<std::string>> ApiClient::report(std::string milestone) {
  const nlohmann::json body{{"milestone", std::move(milestone)}};
  const std::string reply = co_await postRaw(achievementsPath, requiredJsonText(body), true);
  co_return decoded<Unlocked>(reply).unlocked;
}

Task<bool> ApiClient::storeCleanupEnabled(bool enabled) {
  const nlohmann::json body{{"cleanupEnabled", enabled}};
  const auto stored = co_await patch<CleanupEnabled>(preferencesPath, requiredJsonText(body));
  co_return stored.cleanupEnabled;
}

Task<std::optional<std::string>> ApiClient::storeCleanupPromptVersion(std::optional<std::string> style) {
  // A null clears the choice; a missing key would change nothing.
  nlohmann::json body{{"cleanupPromptVersion", nullptr}};
  if (style) body["cleanupPromptVersion"] = *std::move(style);
  auto stored = co_await patch<CleanupPromptVersion>(preferencesPath, requiredJsonText(body));
  co_return std::move(stored.cleanupPromptVersion);
}

// Requests.

template <class Reply>
Task<Reply> ApiClient::exchange(Call call) {
  const std::string reply = co_await request(std::move(call));
  co_return decoded<Reply>(reply);
}

template <class Reply>
Task<Reply> ApiClient::get(std::string path) {
  Call call{.path = std::move(path)};
  co_return co_await exchange<Reply>(std::move(call));
}

template <class Reply>
Task<Reply> ApiClient::patch(std::string path, std::string body) {
  Call call{.path = std::move(path),
            .method = "PATCH",
            .body = std::move(body),
            .contentType = std::string(jsonContentType)};
  co_return co_await exchange<Reply>(std::move(call));
}

Task<std::string> ApiClient::postRaw(std::string path, std::optional<std::string> body, bool authenticated) {
  Call call{.path = std::move(path), .method = "POST", .authenticated = authenticated};
  if (body) call.contentType = std::string(jsonContentType);
  call.body = std::move(body);
  co_return co_await request(std::move(call));
}

Task<std::string> ApiClient::request(Call call) {
  Token token;
  if (call.authenticated) {
    token = co_await ensureAccessToken();
    if (!token) {
      if (onSessionLost_) onSessionLost_(lastRefreshTokenRead_);
      throw Failure::signedOut();
    }
  }
  const auto base = Url::parse(config_.apiBaseURL());
  const auto path = Url::parse(call.path);
  if (!base || !path) throw Failure::malformedResponse();
  const Url url = base->resolving(*path);
  // Audio and tokens do not cross a network in the clear, whatever the settings say.
  if (url.isExposed()) throw Failure::offline();

  HttpRequest message{.url = url.string(),
                      .method = std::move(call.method),
                      .headers = {},
                      .body = std::move(call.body).value_or(""),
                      .timeout = requestTimeout,
                      .resourceTimeout = resourceTimeout};
  if (call.contentType) message.headers.emplace_back("Content-Type", *call.contentType);
  if (token) message.headers.emplace_back("Authorization", "Bearer " + *token);

  OneShot<HttpOutcome> answered;
  http_.send(std::move(message), [answered](HttpOutcome outcome) { answered.set(std::move(outcome)); });
  HttpOutcome outcome = co_await answered;
  auto* response = std::get_if<HttpResponse>(&outcome);
  if (!response) throw Failure::offline();
  if (!response->status) throw Failure::malformedResponse();
  if (!isSuccess(*response->status)) refuse(*response, call.authenticated);
  co_return std::move(response->body);
}

void ApiClient::refuse(const HttpResponse& response, bool authenticated) {
  const int status = *response.status;
  ApiErrorBody body;
  try {
    body = decodeWire<ApiErrorBody>(response.body);
  } catch (const WireMismatch&) {
    throw Failure::api("INTERNAL", fmt::format("Request failed ({}).", status), status);
  }
  if (status == 401 && authenticated) forgetAccessToken();
  throw Failure::api(std::move(body.code), std::move(body.error), body.status);
}

// Tokens.

ApiClient::Token ApiClient::freshToken() const {
  if (accessTokenExpiry_ && *accessTokenExpiry_ > clock_.now()) return accessToken_;
  return std::nullopt;
}

Task<ApiClient::Token> ApiClient::ensureAccessToken() {
  if (Token token = freshToken()) co_return token;
  OneShot<detail::Settled<Token>> renewed;
  const bool inFlight = refreshWaiters_.has_value();
  if (!inFlight) refreshWaiters_.emplace();
  refreshWaiters_->push_back(renewed);
  if (!inFlight) scope_.spawn(refresh());
  detail::Settled<Token> outcome = co_await renewed;
  co_return outcome.take();
}

/// The one refresh in flight. It ends before its waiters go on, so that each of them finds the way free
/// for another.
Task<void> ApiClient::refresh() {
  auto task = detail::settle(performRefresh());
  const detail::Settled<Token> outcome = co_await std::move(task);
  const auto waiters = std::exchange(refreshWaiters_, std::nullopt);
  for (const auto& waiter : *waiters) waiter.set(outcome);
}

Task<ApiClient::Token> ApiClient::performRefresh() {
  if (Token token = freshToken()) co_return token;
  const std::string item(Keychain::refreshTokenAccount);
  const Keychain::Read read = co_await keychain_.get(item, Keychain::readTimeout);
  lastRefreshTokenRead_ = read.outcome;
  if (!read.value) co_return std::nullopt;

  const nlohmann::json body{{"refreshToken", *read.value}};
  Call call{.path = "/api/v1/auth/refresh",
            .method = "POST",
            .body = body.dump(),
            .contentType = std::string(jsonContentType),
            .authenticated = false};
  std::optional<Session> session;
  try {
    session = co_await exchange<Session>(std::move(call));
  } catch (const Failure& failure) {
    const auto* api = std::get_if<Failure::Api>(&failure.content());
    if (!api || api->status != 401) throw;
  }
  // Somebody may have signed in meanwhile: that session stands.
  if (Token token = freshToken()) co_return token;
  if (session) {
    store(*session);
  } else {
    forgetSession();
  }
  co_return accessToken_;
}

void ApiClient::store(const Session& session) {
  accessToken_ = session.accessToken;
  accessTokenExpiry_ = clock_.now() + Seconds(session.expiresIn) - expiryMargin;
  keychain_.set(session.refreshToken, std::string(Keychain::refreshTokenAccount));
}

void ApiClient::forgetAccessToken() {
  accessToken_.reset();
  accessTokenExpiry_.reset();
}

void ApiClient::forgetSession() {
  forgetAccessToken();
  keychain_.remove(std::string(Keychain::refreshTokenAccount));
}

}  // namespace pell
