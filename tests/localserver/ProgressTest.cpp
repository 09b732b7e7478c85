// What dictations add up to: usage, plans and achievements.
#include "ServerFixture.h"
#include "SoundFile.h"
#include "localserver/Commands.h"

namespace pell::localserver {
namespace {

using nlohmann::json;

class ProgressTest : public ServerFixture {
 protected:
  /// A dictation of one word a second, each a new line.
  json dictate(const std::string& token, int seconds) {
    return transcribe(token, wavFile(tone(seconds)), "?language=en", "audio/wav").json();
  }
  const std::string word_ =
      "head -c 44 >/dev/null; n=$(wc -c); for i in $(seq $((n / 32000))); do echo yes; done";
};

TEST_F(ProgressTest, UsageIsCountedForEverAndPerMonth) {
  start(word_);
  const std::string token = signUp();
  dictate(token, 3);
  now_ += 86'400;  // 2025 begins
  const std::string later = signIn("correct horse").json()["accessToken"];
  const json result = dictate(later, 40);
  EXPECT_EQ(result["words"], 40);
  const json expected = {
      {"lifetime", {{"dictations", 2}, {"words", 43}, {"characters", 12 + 160}, {"seconds", 43.0}}},
      {"period",
       {{"start", "2025-01-01T00:00:00Z"},
        {"end", "2025-02-01T00:00:00Z"},
        {"dictations", 1},
        {"words", 40},
        {"characters", 160},
        {"seconds", 40.0}}},
      {"quota",
       {{"minutesPerMonth", 6000}, {"allowanceSeconds", 360'000.0}, {"remainingSeconds", 359'960.0}}},
      {"plan", {{"id", "self-hosted"}, {"displayName", "Self-hosted"}}}};
  EXPECT_EQ(get("/me/usage", later).json(), expected);
  EXPECT_EQ(get("/me/usage", signUp("bob@example.org")).json()["lifetime"]["words"], 0);
}

TEST_F(ProgressTest, AnotherPlanHasAnotherAllowance) {
  Options options;
  options.minutesPerMonth = 1;
  options.morePlans = {{.id = "team", .displayName = "The team", .minutesPerMonth = 2}};
  start(word_, options);
  const std::string token = signUp();
  dictate(token, 61);
  EXPECT_EQ(dictate(token, 1)["code"], "QUOTA_EXCEEDED");
  const auto none = [](const std::string&) { return std::optional<std::string>(); };
  const auto plan = [&](const std::string& email, const std::string& id) {
    const std::vector<std::string> line = {"plan", email, id, "--data", directory_.path().string()};
    return runCommand(line, none, 0);
  };
  EXPECT_THROW(plan("nobody@example.org", "team"), StorageFailure);
  EXPECT_TRUE(plan("Ann@example.org", "team"));
  EXPECT_EQ(dictate(token, 1)["quota"]["remainingSeconds"], 58.0);
  const json account = me(token).json();
  EXPECT_EQ(account["plan"], json({{"id", "team"}, {"displayName", "The team"}, {"minutesPerMonth", 2}}));
  EXPECT_EQ(get("/me/usage", token).json()["plan"]["id"], "team");
  EXPECT_THROW(plan("ann@example.org", "taem"), StorageFailure);
  start(word_);
  EXPECT_THROW(plan("ann@example.org", "team"), StorageFailure) << "it is no longer sold";
  EXPECT_EQ(me(token).json()["plan"]["id"], "self-hosted");
}

TEST_F(ProgressTest, AchievementsAreToldOnce) {
  start(word_);
  const std::string token = signUp();
  const json start = get("/me/achievements", token).json();
  EXPECT_EQ(start["badges"].size(), 15u);
  EXPECT_EQ(start["actions"].size(), 2u);
  EXPECT_EQ(start["timeMilestones"].size(), 13u);
  EXPECT_EQ(start["progress"], 0.0);
  const json hour = {{"id", "seconds.3600"},
                     {"title", "1 hour spoken"},
                     {"blurb", "You have dictated for 1 hour in total."},
                     {"icon", "clock.fill"},
                     {"threshold", 3600}};
  EXPECT_EQ(start["timeMilestones"][3], hour);

  EXPECT_EQ(dictate(token, 59)["unlocked"], json({"words.1"}));
  EXPECT_FALSE(dictate(token, 0).contains("unlocked"));
  EXPECT_EQ(dictate(token, 41)["unlocked"], json({"words.100", "seconds.60"}));
  const auto report = [&](const std::string& id) {
    return post("/me/achievements", {{"milestone", id}}, token).json()["unlocked"];
  };
  EXPECT_EQ(report("action.microphone"), json({"action.microphone"}));
  EXPECT_EQ(report("action.microphone"), json::array());

  now_ += 60;
  const json shelf = get("/me/achievements", token).json();
  std::string unlocked;
  for (const char* kind : {"badges", "actions", "timeMilestones"}) {
    for (const json& item : shelf[kind]) {
      if (!item.contains("unlockedAt")) continue;
      unlocked += item["id"].get<std::string>() + " ";
      EXPECT_EQ(item["unlockedAt"], "2024-12-31T00:00:00Z");
    }
  }
  EXPECT_EQ(unlocked, "words.1 words.100 action.microphone seconds.60 ");
  EXPECT_EQ(shelf["progress"], 0.1);
}

}  // namespace
}  // namespace pell::localserver
