#include <fmt/format.h>
#include <gtest/gtest.h>
#include <nlohmann/json.hpp>

#include "server/ApiClientFixture.h"

namespace pell {
namespace {

using namespace pell::testing;

class ApiEndpointsTest : public ::testing::Test, public ApiWorld {};

Task<std::string> told(Task<void> call) {
  co_await std::move(call);
  co_return "";
}

/// What the call gave, as `tell` puts it.
template <class T>
Task<std::string> told(Task<T> call, std::string (*tell)(const T&)) {
  const T value = co_await std::move(call);
  co_return tell(value);
}

using Text = std::string;
using OptionalText = std::optional<std::string>;
Text orNone(const OptionalText& text) { return text.value_or("none"); }
Text joined(const std::vector<std::string>& texts) { return fmt::format("{}", fmt::join(texts, " ")); }
Text onOrOff(const bool& on) { return on ? "on" : "off"; }
Text summary(const UsageStats& usage) {
  return fmt::format("{} {} {} {}", usage.lifetime.seconds, usage.period.words, usage.quota.remainingSeconds,
                     usage.plan.displayName);
}
Text summary(const AchievementShelf& shelf) {
  const auto item = [](const AchievementItem& i) { return i.id + "=" + i.unlockedAt.value_or("locked"); };
  return fmt::format("{} {} {} {}", shelf.progress, item(shelf.badges.at(0)), item(shelf.actions.at(0)),
                     item(shelf.timeMilestones.at(0)));
}
Text summary(const CleanupStyleCatalogue& catalogue) {
  return catalogue.styles.at(0).title + catalogue.serverDefault + (catalogue.groups ? "+" : "-");
}

struct Endpoint {
  Text request;                         // method and path
  Text body;                            // what is sent
  Text reply;                           // what comes back
  Task<Text> (*call)(ApiClient&);       // gives the value as text
  Text value;                           // and what that should be
  std::vector<Text> mayBeMissing = {};  // places in the reply
};

const std::vector<Endpoint> endpoints{
    {"POST /api/v1/auth/password/reset-request", R"({"email":"\"a\"@b"})", "<ignored>",
     [](ApiClient& api) { return told(api.requestPasswordReset("\"a\"@b")); }, ""},
    {"POST /api/v1/me/email/verify/resend", "", "",
     [](ApiClient& api) { return told(api.resendVerification()); }, ""},
    {"POST /api/v1/me/achievements", R"({"milestone":"a"})", R"({"unlocked":["a","words.1"]})",
     [](ApiClient& api) { return told(api.reportAchievement("a"), joined); }, "a words.1"},
    {"PATCH /api/v1/me/preferences", R"({"cleanupEnabled":true})", R"({"cleanupEnabled":false})",
     [](ApiClient& api) { return told(api.setCleanupEnabled(true), onOrOff); }, "off"},
    {"PATCH /api/v1/me/preferences",
     R"({"cleanupPromptVersion":"v1"})",
     R"({"cleanupPromptVersion":"v2"})",
     [](ApiClient& api) { return told(api.setCleanupPromptVersion("v1"), orNone); },
     "v2",
     {"/cleanupPromptVersion"}},
    {"PATCH /api/v1/me/preferences", R"({"cleanupPromptVersion":null})", "{}",
     [](ApiClient& api) { return told(api.setCleanupPromptVersion(std::nullopt), orNone); }, "none"},
    {"GET /api/v1/me/usage", "",
     R"({"lifetime":{"dictations":1,"words":2,"characters":3,"seconds":4.5},
         "period":{"start":"s","end":"e","dictations":5,"words":6,"characters":7,"seconds":8.5},
         "quota":{"minutesPerMonth":9,"allowanceSeconds":540,"remainingSeconds":531.5},
         "plan":{"id":"free","displayName":"Free"}})",
     [](ApiClient& api) { return told(api.usage(), summary); }, "4.5 6 531.5 Free"},
    {"GET /api/v1/me/achievements",
     "",
     R"({"badges":[{"id":"b","title":"","blurb":"","icon":"","threshold":1,"unlockedAt":"t"}],
         "actions":[{"id":"a","title":"","blurb":"","icon":"","threshold":1,"unlockedAt":null}],
         "timeMilestones":[{"id":"s","title":"","blurb":"","icon":"","threshold":1}],"progress":0.25})",
     [](ApiClient& api) { return told(api.achievements(), summary); },
     "0.25 b=t a=locked s=locked",
     {"/badges/0/unlockedAt", "/actions/0/unlockedAt"}},
    {"GET /api/v1/cleanup-styles", "",
     R"({"styles":[{"id":"a","title":"A","description":"D"}],"serverDefault":"b"})",
     [](ApiClient& api) { return told(api.cleanupStyles(), summary); }, "Ab-"},
    {"DELETE /api/v1/me", "", "", [](ApiClient& api) { return told(api.deleteAccount()); }, ""},
};

TEST_F(ApiEndpointsTest, EachCallSaysAndReadsWhatTheServerExpects) {
  for (const Endpoint& endpoint : endpoints) {
    SCOPED_TRACE(endpoint.request + endpoint.body);
    signIn();
    http.reply(500, errorJson("BROKEN", 500));
    EXPECT_TRUE(*failureOf(endpoint.call(*api)) == ApiFailure::api("BROKEN", "Sorry.", 500));
    EXPECT_EQ(refreshToken(), "refresh-first");  // no failure ends a session
    http.reply(200, endpoint.reply);
    EXPECT_EQ(await(time, endpoint.call(*api)), endpoint.value);
    const auto path = endpoint.request.find('/');
    EXPECT_EQ(urls().at(1),
              endpoint.request.substr(0, path) + "https://api.example.com" + endpoint.request.substr(path));
    EXPECT_EQ(http.requests[1].body, endpoint.body);
    EXPECT_EQ(header(1, "Content-Type"), endpoint.body.empty() ? "none" : "application/json");
    EXPECT_EQ(header(1, "Authorization"),
              endpoint.request.find("/auth/") == std::string::npos ? "Bearer first" : "none");
  }
  EXPECT_TRUE(failureOf(api->requestPasswordReset("\xFF")));  // JSON cannot hold it
  EXPECT_EQ(http.requests.size(), 2u);
  // The last call deleted the account.
  EXPECT_EQ(refreshToken(), std::nullopt);
  EXPECT_TRUE(*failureOf(api->usage()) == ApiFailure::signedOut());
}

TEST_F(ApiEndpointsTest, RepliesWithoutARequiredKeyAreRefused) {
  signIn();
  for (const Endpoint& endpoint : endpoints) {
    const auto reply = nlohmann::json::parse(endpoint.reply, nullptr, false);
    if (!reply.is_object()) continue;
    const auto leaves = reply.flatten();
    for (const auto& leaf : leaves.items()) {
      if (std::ranges::count(endpoint.mayBeMissing, leaf.key()) != 0) continue;
      const nlohmann::json::json_pointer place(leaf.key());
      auto mutilated = reply;
      mutilated[place] = nullptr;
      http.reply(200, mutilated.dump());
      EXPECT_TRUE(*failureOf(endpoint.call(*api)) == ApiFailure::malformedResponse()) << leaf.key();
    }
  }
}

}  // namespace
}  // namespace pell
