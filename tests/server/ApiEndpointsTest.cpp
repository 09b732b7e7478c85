#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <nlohmann/json.hpp>

#include "server/ApiClient.h"
#include "server/ApiClientFixture.h"

namespace pell {
namespace {

using namespace pell::testing;
using ::testing::ElementsAre;
using ::testing::IsEmpty;
using Json = nlohmann::json;

const std::string usageJson =
    R"({"lifetime":{"dictations":1,"words":2,"characters":3,"seconds":4.5},
        "period":{"start":"2024-01-01T00:00:00Z","end":"2024-02-01T00:00:00Z","dictations":5,"words":6,
                  "characters":7,"seconds":8.5},
        "quota":{"minutesPerMonth":9,"allowanceSeconds":540,"remainingSeconds":531.5},
        "plan":{"id":"free","displayName":"Free"}})";

const std::string shelfJson =
    R"({"badges":[{"id":"words.100","title":"T","blurb":"B","icon":"star","threshold":100,
                   "unlockedAt":"2024-01-01T00:00:00Z"}],
        "actions":[{"id":"action.microphone","title":"T","blurb":"B","icon":"mic","threshold":1}],
        "timeMilestones":[{"id":"seconds.60","title":"T","blurb":"B","icon":"clock","threshold":60,
                           "unlockedAt":null}],
        "progress":0.25})";

const std::string catalogueJson =
    R"({"styles":[{"id":"a","title":"A","description":"D"}],"serverDefault":"a"})";

class ApiEndpointsTest : public ::testing::Test, public ApiWorld {};

struct Endpoint {
  std::string name;
  std::function<Task<>(ApiClient&)> call;  // and what is expected of its value
  std::string request;                     // method and path
  std::string body;
  std::string token = "Bearer first";
  std::string reply;
  bool readsReply = true;
};

Task<> resetPassword(ApiClient& api) { co_await api.requestPasswordReset("me@\"example.com"); }
Task<> resend(ApiClient& api) { co_await api.resendVerification(); }
Task<> report(ApiClient& api) {
  const auto unlocked = co_await api.reportAchievement("action.microphone");
  EXPECT_THAT(unlocked, ElementsAre("action.microphone", "words.100"));
}
Task<> enableCleanup(ApiClient& api) { EXPECT_FALSE(co_await api.setCleanupEnabled(true)); }
Task<> chooseStyle(ApiClient& api) {
  EXPECT_EQ(co_await api.setCleanupPromptVersion("email-v1"), "email-v2");
}
Task<> chooseNoStyle(ApiClient& api) {
  EXPECT_EQ(co_await api.setCleanupPromptVersion(std::nullopt), std::nullopt);
}
Task<> readUsage(ApiClient& api) {
  const auto usage = co_await api.usage();
  const UsageStats expected{
      .lifetime = {.dictations = 1, .words = 2, .characters = 3, .seconds = 4.5},
      .period = {.start = "2024-01-01T00:00:00Z",
                 .end = "2024-02-01T00:00:00Z",
                 .dictations = 5,
                 .words = 6,
                 .characters = 7,
                 .seconds = 8.5},
      .quota = {.minutesPerMonth = 9, .allowanceSeconds = 540, .remainingSeconds = 531.5},
      .plan = {.id = "free", .displayName = "Free"}};
  EXPECT_EQ(usage, expected);
}
Task<> readShelf(ApiClient& api) {
  const auto shelf = co_await api.achievements();
  const auto item = [](std::string id, std::string icon, std::int64_t threshold) {
    return AchievementItem{.id = std::move(id),
                           .title = "T",
                           .blurb = "B",
                           .icon = std::move(icon),
                           .threshold = threshold,
                           .unlockedAt = std::nullopt};
  };
  AchievementShelf expected{.badges = {item("words.100", "star", 100)},
                            .actions = {item("action.microphone", "mic", 1)},
                            .timeMilestones = {item("seconds.60", "clock", 60)},
                            .progress = 0.25};
  expected.badges[0].unlockedAt = "2024-01-01T00:00:00Z";
  EXPECT_EQ(shelf, expected);
}
Task<> readStyles(ApiClient& api) {
  const auto catalogue = co_await api.cleanupStyles();
  EXPECT_EQ(catalogue.serverDefault, "a");
  EXPECT_EQ(catalogue.groups, std::nullopt);
  EXPECT_EQ(catalogue.styles.size(), 1u);
}
Task<> deleteAccount(ApiClient& api) { co_await api.deleteAccount(); }

const std::vector<Endpoint>& endpoints() {
  static const std::vector<Endpoint> all{
      {.name = "password",
       .call = resetPassword,
       .request = "POST /api/v1/auth/password/reset-request",
       .body = R"({"email":"me@\"example.com"})",
       .token = "none",
       .reply = "<ignored>",
       .readsReply = false},
      {.name = "verification",
       .call = resend,
       .request = "POST /api/v1/me/email/verify/resend",
       .body = "",
       .reply = "",
       .readsReply = false},
      {.name = "milestone",
       .call = report,
       .request = "POST /api/v1/me/achievements",
       .body = R"({"milestone":"action.microphone"})",
       .reply = R"({"unlocked":["action.microphone","words.100"]})"},
      {.name = "cleanup on",
       .call = enableCleanup,
       .request = "PATCH /api/v1/me/preferences",
       .body = R"({"cleanupEnabled":true})",
       .reply = R"({"cleanupEnabled":false})"},
      {.name = "style",
       .call = chooseStyle,
       .request = "PATCH /api/v1/me/preferences",
       .body = R"({"cleanupPromptVersion":"email-v1"})",
       .reply = R"({"cleanupPromptVersion":"email-v2"})"},
      {.name = "no style",
       .call = chooseNoStyle,
       .request = "PATCH /api/v1/me/preferences",
       .body = R"({"cleanupPromptVersion":null})",
       .reply = "{}"},
      {.name = "usage", .call = readUsage, .request = "GET /api/v1/me/usage", .body = "", .reply = usageJson},
      {.name = "shelf",
       .call = readShelf,
       .request = "GET /api/v1/me/achievements",
       .body = "",
       .reply = shelfJson},
      {.name = "styles",
       .call = readStyles,
       .request = "GET /api/v1/cleanup-styles",
       .body = "",
       .reply = catalogueJson},
      {.name = "deletion",
       .call = deleteAccount,
       .request = "DELETE /api/v1/me",
       .body = "",
       .reply = "",
       .readsReply = false},
  };
  return all;
}

TEST_F(ApiEndpointsTest, EachCallSaysAndReadsWhatTheServerExpects) {
  for (const Endpoint& endpoint : endpoints()) {
    SCOPED_TRACE(endpoint.name);
    signIn();
    http.reply(200, endpoint.reply);
    await(time, endpoint.call(*api));
    const auto split = endpoint.request.find('/');
    ASSERT_THAT(urls(), ElementsAre(endpoint.request.substr(0, split) + "https://api.example.com" +
                                    endpoint.request.substr(split)));
    EXPECT_EQ(http.requests[0].body, endpoint.body);
    EXPECT_EQ(header(0, "Content-Type"), endpoint.body.empty() ? "none" : "application/json");
    EXPECT_EQ(header(0, "Authorization"), endpoint.token);
  }
}

TEST_F(ApiEndpointsTest, FailuresReachTheCallerAndKeepTheSession) {
  for (const Endpoint& endpoint : endpoints()) {
    SCOPED_TRACE(endpoint.name);
    signIn();
    http.reply(500, errorJson("BROKEN", 500));
    EXPECT_TRUE(*failureOf(endpoint.call(*api)) == ApiFailure::api("BROKEN", "Sorry.", 500));
    EXPECT_EQ(refreshToken(), "refresh-first");
    if (!endpoint.readsReply) continue;
    for (const std::string& reply : {"[]", "null", R"({"unlocked":1,"cleanupPromptVersion":1})"}) {
      http.reply(200, reply);
      EXPECT_TRUE(*failureOf(endpoint.call(*api)) == ApiFailure::malformedResponse()) << reply;
    }
  }
}

TEST_F(ApiEndpointsTest, RecordsLackingARequiredKeyAreRefused) {
  struct Case {
    const std::string& reply;
    Task<> (*call)(ApiClient&);
    std::vector<std::string> optional;
  };
  const std::vector<Case> cases{
      {usageJson, readUsage, {}},
      {shelfJson, readShelf, {"/badges/0/unlockedAt", "/timeMilestones/0/unlockedAt"}},
      {catalogueJson, readStyles, {}}};
  signIn();
  for (const Case& c : cases) {
    const Json leaves = Json::parse(c.reply).flatten();
    for (const auto& [path, value] : leaves.items()) {
      if (std::ranges::find(c.optional, path) != c.optional.end()) continue;
      const Json::json_pointer place(path);
      Json reply = Json::parse(c.reply);
      reply[place.parent_pointer()].erase(place.back());
      http.reply(200, reply.dump());
      EXPECT_TRUE(*failureOf(c.call(*api)) == ApiFailure::malformedResponse()) << path;
    }
  }
}

TEST_F(ApiEndpointsTest, DeletionEndsTheSession) {
  signIn();
  http.reply(204, "");
  await(time, api->deleteAccount());
  EXPECT_EQ(refreshToken(), std::nullopt);
  EXPECT_TRUE(*failureOf(api->usage()) == ApiFailure::signedOut());
  EXPECT_THAT(losses, ElementsAre(Keychain::ReadOutcome::absent));
}

TEST_F(ApiEndpointsTest, TextThatJsonCannotHoldIsNotSent) {
  signIn();
  EXPECT_TRUE(failureOf(api->requestPasswordReset("\xFF")));
  EXPECT_TRUE(failureOf(api->reportAchievement("\xFF")));
  EXPECT_TRUE(failureOf(api->setCleanupPromptVersion("\xFF")));
  EXPECT_THAT(http.requests, IsEmpty());
}

}  // namespace
}  // namespace pell
