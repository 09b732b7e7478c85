// A whole application on an in-memory desktop, with a server that answers by path.
#pragma once

#include <map>
#include <memory>
#include <optional>
#include <string>
#include <utility>
#include <vector>

#include "app/AppDelegate.h"
#include "server/ApiClientFixture.h"
#include "support/Await.h"
#include "support/MemoryPlatform.h"

namespace pell::testing {

/// Made, and launched only where a test says so: the model works without.
class ModelWorld {
 public:
  using Screen = AppState::Screen;

  struct Reply {
    int status = 200;
    std::string body = "{}";
    Seconds delay{0};
    bool offline = false;
  };

  ModelWorld() {
    desk.http.responder = [this](const HttpRequest& request) { return answer(request); };
    desk.defaults.set("onboardingCompletedAt", std::string("2024-01-01T00:00:00Z"));
  }

  MemoryPlatform desk;
  std::map<std::string, Reply> server{
      {"POST /api/v1/auth/refresh", {.body = sessionJson("renewed")}},
      {"POST /api/v1/auth/login", {.body = sessionJson("first")}},
      {"POST /api/v1/auth/logout", {}},
      {"POST /api/v1/auth/password/reset-request", {}},
      {"POST /api/v1/me/email/verify/resend", {}},
      {"GET /api/v1/me", {.body = accountJson}},
      {"DELETE /api/v1/me", {}},
      {"GET /api/v1/cleanup-styles",
       {.body = R"({"styles":[{"id":"plain-v2","title":"Plain","description":"","group":"Work",
                               "supersedes":["plain-v1"]},
                              {"id":"mail-v1","title":"Mail","description":"","group":"Home"}],
                    "groups":["Home","Work"],"serverDefault":"plain-v2"})"}},
      {"GET /api/v1/me/usage", {.body = usageJson(120)}},
      {"GET /api/v1/me/achievements", {.body = shelfJson("words.1")}},
      {"POST /api/v1/me/achievements", {.body = R"({"unlocked":[]})"}},
      {"PATCH /api/v1/me/preferences",
       {.body = R"({"cleanupEnabled":false,"cleanupPromptVersion":"mail-v1"})"}},
  };
  std::unique_ptr<AppDelegate> app;

  /// Keeps a refresh token, as an earlier sign-in left it.
  void rememberSession() {
    desk.secureItems.put("com.pell.dictation", std::string(Keychain::refreshTokenAccount), "stored");
  }

  AppModel& open() {
    app = std::make_unique<AppDelegate>(desk.platform());
    callers_ = std::make_unique<TaskScope>(desk.time.main());
    return app->model();
  }
  AppModel& model() { return app->model(); }
  const AppState& state() { return app->model().state(); }

  /// With the session restored and the account's data read.
  AppModel& openSignedIn() {
    rememberSession();
    open();
    run(model().session().start());
    asked.clear();
    return model();
  }

  void begin(Task<void> task) { callers_->spawn(std::move(task)); }
  template <class T>
  Pending<T> begin(Task<T> task) {
    return start(*callers_, std::move(task));
  }
  void run(Task<void> task) {
    begin(std::move(task));
    desk.time.advance(Seconds(3));
  }

  /// The application ends as the program does: first whoever waits, then what they wait for.
  void close() {
    callers_.reset();
    app.reset();
  }

  std::vector<std::string> asked;  // "METHOD /path" of each request

  static std::string usageJson(int words) {
    return R"({"lifetime":{"dictations":3,"words":)" + std::to_string(words) +
           R"(,"characters":600,"seconds":61.5},
        "period":{"start":"2024-01-01T00:00:00Z","end":"2024-02-01T00:00:00Z","dictations":1,"words":40,
                  "characters":200,"seconds":20},
        "quota":{"minutesPerMonth":30,"allowanceSeconds":1800,"remainingSeconds":1780},
        "plan":{"id":"free","displayName":"Free"}})";
  }
  /// One badge unlocked, and one action that is not.
  static std::string shelfJson(const std::string& unlocked) {
    const std::string texts = R"(","title":"","blurb":"","icon":"","threshold":1)";
    return R"({"badges":[{"id":")" + unlocked + texts + R"(,"unlockedAt":"2024-01-01T00:00:00Z"}],
        "actions":[{"id":"action.microphone)" +
           texts + R"(}],"timeMilestones":[],"progress":0.5})";
  }
  static std::string unverifiedJson() {
    std::string json = accountJson;
    return json.insert(json.rfind('}'), R"(,"emailVerified":false)");
  }

 private:
  MemoryHttpSession::Reply answer(const HttpRequest& request) {
    const auto path = request.url.substr(request.url.find("/api/"));
    const auto key = request.method + " " + path.substr(0, path.find('?'));
    asked.push_back(key);
    const auto found = server.find(key);
    if (found == server.end() || found->second.offline) return {.outcome = HttpFailure{"Nobody listens."}};
    return {
        .outcome = HttpResponse{.status = found->second.status, .headers = {}, .body = found->second.body},
        .delay = found->second.delay};
  }

  std::unique_ptr<TaskScope> callers_;
};

}  // namespace pell::testing
