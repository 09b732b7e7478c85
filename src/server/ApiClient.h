// The one object through which the application speaks to its server.
#pragma once

#include <functional>
#include <memory>
#include <optional>
#include <string>
#include <vector>

#include "async/StoppableExecutor.h"
#include "async/Task.h"
#include "async/TaskScope.h"
#include "platform/HttpSession.h"
#include "platform/Services.h"
#include "server/ApiFailure.h"
#include "server/Records.h"
#include "stores/AppConfig.h"
#include "stores/Keychain.h"
#include "styles/DictationStyle.h"

namespace pell {

/// Builds every request, keeps the short-lived access token in memory and the refresh token in the
/// keychain, and renews the former in a single flight however many callers need it.
///
/// All state belongs to a serial executor of its own; the calls may be awaited from any executor and come
/// back there. They throw `Failure`. Destroying the client abandons what is in flight: whoever awaits a
/// call then is never resumed.
class ApiClient {
 public:
  using Failure = ApiFailure;

  struct Services {
    HttpSession& http;
    Keychain& keychain;
    const AppConfig& config;
    const WallClock& clock;
    std::unique_ptr<Executor> executor;  // a serial one, for this client alone
  };

  explicit ApiClient(Services services);
  ~ApiClient();
  ApiClient(const ApiClient&) = delete;
  ApiClient& operator=(const ApiClient&) = delete;

  /// Called on the client's executor, possibly again and again, when an authenticated request finds no
  /// usable session, with the reason. Any thread; holds for the calls that start later.
  void setSessionLostHandler(std::function<void(Keychain::ReadOutcome)> handler);

  /// How the latest attempt to read the refresh token went.
  Task<Keychain::ReadOutcome> lastRefreshTokenRead();

  /// A whole recording. Without a style the server picks one.
  struct Upload {
    std::string audio;
    std::string contentType;
    std::string language;
    std::optional<std::string> style;
  };
  Task<TranscriptionResult> transcribe(Upload upload);

  /// Both keep the session that the server opens.
  Task<AccountSummary> registerAccount(std::string email, std::string password);
  Task<AccountSummary> signIn(std::string email, std::string password);

  /// Never throws: the local sign-out goes through with no network.
  Task<void> signOut();

  /// Restores a stored session. Absent without one (see `lastRefreshTokenRead`), and when the server
  /// says that there is no account.
  Task<std::optional<Account>> account();

  /// Once it succeeds the session is forgotten; a failure keeps it.
  Task<void> deleteAccount();

  Task<void> requestPasswordReset(std::string email);
  Task<void> resendVerification();

  Task<UsageStats> usage();
  Task<AchievementShelf> achievements();

  /// Gives the identifiers that this unlocked.
  Task<std::vector<std::string>> reportAchievement(std::string milestone);

  Task<CleanupStyleCatalogue> cleanupStyles();

  /// Both give the value that the server stored. An absent style clears the account's choice.
  Task<bool> setCleanupEnabled(bool enabled);
  Task<std::optional<std::string>> setCleanupPromptVersion(std::optional<std::string> style);

 private:
  struct Call {
    std::string path;
    std::string method = "GET";
    std::optional<std::string> body;
    std::optional<std::string> contentType;
    bool authenticated = true;
  };
  using Token = std::optional<std::string>;

  Task<std::string> request(Call call);
  template <class Reply>
  Task<Reply> exchange(Call call);
  template <class Reply>
  Task<Reply> get(std::string path);
  template <class Reply>
  Task<Reply> patch(std::string path, std::string body);
  Task<std::string> postRaw(std::string path, std::optional<std::string> body, bool authenticated);
  Task<Token> ensureAccessToken();
  Task<void> refresh();
  Task<Token> performRefresh();
  Token freshToken() const;
  void store(const Session& session);
  void forgetAccessToken();
  void forgetSession();
  [[noreturn]] void refuse(const HttpResponse& response, bool authenticated);

  Task<Keychain::ReadOutcome> readOutcome();
  Task<TranscriptionResult> upload(Upload upload);
  Task<AccountSummary> openSession(std::string path, std::string email, std::string password);
  Task<void> endSession();
  Task<std::optional<Account>> restore();
  Task<void> erase();
  Task<void> askForReset(std::string email);
  Task<void> askForVerification();
  Task<std::vector<std::string>> report(std::string milestone);
  Task<bool> storeCleanupEnabled(bool enabled);
  Task<std::optional<std::string>> storeCleanupPromptVersion(std::optional<std::string> style);

  HttpSession& http_;
  Keychain& keychain_;
  const AppConfig& config_;
  const WallClock& clock_;

  // Touched on the executor only.
  Token accessToken_;
  std::optional<Date> accessTokenExpiry_;  // 30 seconds early
  Keychain::ReadOutcome lastRefreshTokenRead_ = Keychain::ReadOutcome::absent;
  std::function<void(Keychain::ReadOutcome)> onSessionLost_;
  std::optional<std::vector<OneShot<detail::Settled<Token>>>> refreshWaiters_;  // of the one in flight

  StoppableExecutor executor_;
  TaskScope scope_;
};

}  // namespace pell
