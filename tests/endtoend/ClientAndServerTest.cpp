// The application's real client against the real server, over real HTTP.
#include <fstream>
#include <regex>
#include <thread>

#include "Installation.h"
#include "app/VersionGate.h"
#include "localserver/Commands.h"
#include "localserver/ServerFixture.h"
#include "localserver/SoundFile.h"

namespace pell {
namespace {

using testing::Installation;

class ClientAndServerTest : public localserver::ServerFixture {
 protected:
  ClientAndServerTest() { start(hello); }

  Installation& pell() {
    if (!installation_) installation_ = std::make_unique<Installation>(directory_.path(), server_->url());
    return *installation_;
  }

  /// The body that the page behind the newest letter with `subject` would post.
  std::string linkQuery(const std::string& subject) {
    for (int attempt = 0; attempt < 500; ++attempt) {
      for (const auto& entry : std::filesystem::directory_iterator(directory_.path() / "outbox")) {
        std::ifstream stream(entry.path());
        const std::string text{std::istreambuf_iterator<char>(stream), {}};
        std::smatch found;
        if (text.find(subject) != std::string::npos &&
            std::regex_search(text, found, std::regex("token=[A-Za-z0-9_-]+"))) {
          return found.str();
        }
      }
      std::this_thread::sleep_for(std::chrono::milliseconds(10));
    }
    return "no letter";
  }
  long submit(const std::string& path, const std::string& form) {
    return localserver::send(server_->port(), {.method = "POST",
                                               .path = path,
                                               .contentType = "application/x-www-form-urlencoded",
                                               .body = form})
        .status;
  }

  std::unique_ptr<Installation> installation_;
};

TEST_F(ClientAndServerTest, AnAccountFromRegistrationToDeletion) {
  ApiClient& api = pell().api();
  EXPECT_EQ(pell().failure(api.registerAccount("ann@example.org", "short")), "WEAK_PASSWORD");
  EXPECT_EQ(pell().await(api.registerAccount("ann@example.org", "correct horse")).email, "ann@example.org");

  auto account = pell().await(api.account());
  ASSERT_TRUE(account);
  EXPECT_FALSE(account->emailVerified);
  EXPECT_EQ(account->createdAt, "2024-12-31T00:00:00Z");
  pell().await(api.resendVerification());
  EXPECT_EQ(submit("/verify-email", linkQuery("Confirm")), 200);

  EXPECT_FALSE(pell().await(api.setCleanupEnabled(false)));
  account = pell().await(api.account());
  EXPECT_TRUE(account->emailVerified);
  EXPECT_FALSE(account->cleanupEnabled);
  EXPECT_EQ(account->plan.displayName, "Self-hosted");

  pell().await(api.deleteAccount());
  EXPECT_EQ(pell().refreshToken(), std::nullopt);
  EXPECT_FALSE(pell().await(api.account()));
  EXPECT_EQ(pell().failure(api.signIn("ann@example.org", "correct horse")), "INVALID_CREDENTIALS");
}

TEST_F(ClientAndServerTest, AForgottenPassword) {
  ApiClient& api = pell().api();
  pell().await(api.registerAccount("ann@example.org", "correct horse"));
  pell().await(api.requestPasswordReset("ann@example.org"));
  pell().await(api.requestPasswordReset("nobody@example.org"));
  EXPECT_EQ(submit("/reset-password", linkQuery("new password") + "&password=another+horse"), 200);
  EXPECT_EQ(pell().failure(api.usage()), "UNAUTHORIZED");
  EXPECT_FALSE(pell().await(api.account())) << "the refresh token is dead too";
  EXPECT_EQ(pell().refreshToken(), std::nullopt);
  EXPECT_EQ(pell().await(api.signIn("ann@example.org", "another horse")).email, "ann@example.org");
}

TEST_F(ClientAndServerTest, ADictationItsUsageAndWhatItUnlocks) {
  ApiClient& api = pell().api();
  pell().await(api.registerAccount("ann@example.org", "correct horse"));
  const auto result = pell().await(api.transcribe({.audio = localserver::mp4File(localserver::tone(2)),
                                                   .contentType = "audio/mp4",
                                                   .language = "en",
                                                   .style = std::nullopt}));
  EXPECT_EQ(result.words, 2);
  EXPECT_EQ(result.unlocked, std::vector<std::string>{"words.1"});
  const UsageStats usage = pell().await(api.usage());
  EXPECT_EQ(usage.lifetime.words, 2);
  EXPECT_EQ(usage.period.seconds, result.quota.usedSeconds);
  EXPECT_EQ(usage.quota.remainingSeconds, result.quota.remainingSeconds);
  EXPECT_EQ(usage.plan.id, "self-hosted");

  EXPECT_EQ(pell().await(api.reportAchievement("action.microphone")).size(), 1u);
  EXPECT_TRUE(pell().await(api.reportAchievement("action.microphone")).empty());
  const AchievementShelf shelf = pell().await(api.achievements());
  EXPECT_EQ(shelf.badges.front().unlockedAt, "2024-12-31T00:00:00Z");
  EXPECT_EQ(shelf.badges.back().unlockedAt, std::nullopt);
  EXPECT_TRUE(shelf.actions.front().unlockedAt);
  EXPECT_EQ(shelf.progress, 0.02);
}

TEST_F(ClientAndServerTest, ASignInSurvivesALostReplyAndNotATheft) {
  pell().await(pell().api().registerAccount("ann@example.org", "correct horse"));
  const std::string first = pell().refreshToken().value();
  pell().restart();
  ASSERT_TRUE(pell().await(pell().api().account()));
  EXPECT_NE(pell().refreshToken(), first);

  pell().setRefreshToken(first);  // as if the reply with its successor had been lost
  pell().restart();
  EXPECT_TRUE(pell().await(pell().api().account()));
  const std::string second = pell().refreshToken().value();
  pell().restart();
  EXPECT_TRUE(pell().await(pell().api().account()));

  EXPECT_EQ(post("/auth/refresh", {{"refreshToken", first}}).errorCode(), "SESSION_EXPIRED") << "a thief";
  pell().restart();
  EXPECT_FALSE(pell().await(pell().api().account())) << "the sign-in has ended for everybody";
  EXPECT_EQ(post("/auth/refresh", {{"refreshToken", second}}).errorCode(), "SESSION_EXPIRED");
}

class RemoteConfigTest : public localserver::ServerFixture {
 protected:
  RemoteConfigTest() { start(hello); }

  std::string run(const std::vector<std::string>& line) {
    const auto none = [](const std::string&) { return std::optional<std::string>(); };
    return localserver::runCommand(line, none, now_).value_or("");
  }
  std::string newKey(const std::string& name) {
    const std::string said = run({"keygen", directory_.path() / name});
    return said.substr(said.find("Public key: ") + 12, 44);
  }
  void publish(const std::string& minimum, const std::string& key) {
    const auto document = directory_.path() / "document.json";
    std::ofstream(document) << R"({"minimumSupportedVersion":")" << minimum << "\"}";
    run({"config", "sign", document, "--key", directory_.path() / key, "--data", directory_.path()});
  }
  void alter(const std::function<void(std::string&)>& change) {
    const auto file = directory_.path() / "app-config.json";
    std::ifstream stream(file);
    std::string text{std::istreambuf_iterator<char>(stream), {}};
    change(text);
    std::ofstream(file) << text;
  }
};

TEST_F(RemoteConfigTest, OnlyANewerDocumentOfTheRightKeyMovesTheGate) {
  const std::string publicKey = newKey("right");
  newKey("wrong");
  Installation pell(directory_.path(), server_->url(), publicKey);
  testing::MemoryLog lines;
  const Log log(lines);
  auto gate = std::make_unique<VersionGate>("1.5", log);
  // The oldest version that may run, and whether that stops this one.
  const auto noticed = [&]() -> std::string {
    const auto held = pell.await(pell.remoteConfig().current());
    gate->notice(held);
    return (held ? held->minimumSupportedVersion : "none") + (gate->updateRequired().get() ? " stops" : "");
  };
  const auto refreshed = [&] {
    pell.await(pell.remoteConfig().refresh());
    return noticed();
  };
  EXPECT_EQ(refreshed(), "none") << "nothing is published";
  publish("1.5", "right");
  EXPECT_EQ(refreshed(), "1.5");

  const struct {
    const char* name;
    localserver::UnixSeconds later;
    const char* key;
    std::function<void(std::string&)> change;
    const char* expected;
  } rows[] = {
      {"as old as the held one", 0, "right", [](std::string&) {}, "1.5"},
      {"older", -60, "right", [](std::string&) {}, "1.5"},
      {"wrong key", 60, "wrong", [](std::string&) {}, "1.5"},
      {"altered", 60, "right", [](std::string& text) { ++text[text.find("payload") + 20]; }, "1.5"},
      {"no envelope", 60, "right", [](std::string& text) { text = "{}"; }, "1.5"},
      {"too large", 60, "right",
       [](std::string& text) { text.insert(1, "\"x\":\"" + std::string(100'000, 'x') + "\","); }, "1.5"},
      {"newer", 60, "right", [](std::string&) {}, "9.9 stops"},
  };
  const auto published = now_.load();
  for (const auto& [name, later, key, change, expected] : rows) {
    now_ = published + later;
    publish("9.9", key);
    alter(change);
    EXPECT_EQ(refreshed(), expected) << name;
  }

  server_.reset();
  pell.restart();
  gate = std::make_unique<VersionGate>("1.5", log);
  EXPECT_EQ(refreshed(), "none");
  pell.await(pell.remoteConfig().loadCached());
  EXPECT_EQ(noticed(), "9.9 stops") << "what was trusted once still is with the server down";
}

}  // namespace
}  // namespace pell
