#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include "app/ModelWorld.h"

namespace pell::testing {
namespace {

using ::testing::ElementsAre;
using ::testing::IsEmpty;
using ::testing::Pair;
using Screen = AppState::Screen;

TEST(StyleSyncTest, TheCatalogueOutlivesTheProcessAndDamage) {
  ModelWorld world;
  world.openSignedIn();
  world.close();
  for (const bool damaged : {false, true}) {
    if (damaged) world.desk.defaults.set("cachedCleanupStyles", DefaultsData{"{"});
    auto& styles = world.open().styles();
    styles.loadCached();
    EXPECT_EQ(styles.styles().get().size(), damaged ? 0u : 2u);
    EXPECT_EQ(styles.serverDefaultStyleID().get(), "plain-v2");
    EXPECT_THAT(styles.groupOrder().get(), ElementsAre("Home", "Work"));
  }
}

TEST(StyleSyncTest, PreferencesAndRulesAreWhatTheServerStored) {
  ModelWorld world;
  auto& styles = world.openSignedIn().styles();
  world.app->settings().appStyleRules = {{"org.example.Mail", "mail-v1"}};
  styles.setOneShotOverride("mail-v1");
  world.run(styles.setCleanupEnabled(true));
  EXPECT_FALSE(world.state().account.get()->cleanupEnabled) << "the server said no";
  world.run(styles.setAccountStyle("plain-v2"));
  auto rules = world.model().currentStyleRules();
  EXPECT_EQ(rules.accountDefault, "mail-v1");
  EXPECT_THAT(rules.knownStyleIDs, ElementsAre("mail-v1", "plain-v2"));
  EXPECT_THAT(rules.successors, ElementsAre(Pair("plain-v1", "plain-v2")));
  EXPECT_THAT(rules.appRules, ElementsAre(Pair("org.example.Mail", "mail-v1")));
  world.server["PATCH /api/v1/me/preferences"].body = "{}";
  world.run(styles.setAccountStyle(std::nullopt));
  EXPECT_EQ(world.model().currentStyleRules().accountDefault, std::nullopt);

  world.run(world.model().session().signOut());
  world.asked.clear();
  world.run(styles.setCleanupEnabled(true));
  world.run(styles.reload());
  world.run(world.model().usage().reportAction("action.x"));
  EXPECT_THAT(world.asked, IsEmpty()) << "nobody is signed in";
  EXPECT_EQ(world.model().currentStyleRules().oneShotOverride, "mail-v1");
}

TEST(ReloadRuleTest, WhatTheServerOrTheNetworkDidIsDroppedInSilence) {
  const std::vector<ModelWorld::Reply> replies{
      {.status = 500, .body = errorJson("INTERNAL", 500)}, {.offline = true}, {.body = "[]"}};
  for (const auto& failing : replies) {
    ModelWorld world;
    auto& model = world.openSignedIn();
    for (auto& [path, reply] : world.server) reply = failing;
    const auto logged = world.desk.log.lines().size();
    world.run(model.styles().reload());
    world.run(model.styles().setCleanupEnabled(true));
    world.run(model.styles().setAccountStyle("x"));
    world.run(model.usage().reloadUsage());
    world.run(model.usage().reloadAchievements());
    EXPECT_EQ(world.asked.size(), 5u);
    EXPECT_EQ(world.state().screen.get(), Screen::ready);
    EXPECT_EQ(world.state().banner.get(), std::nullopt);
    EXPECT_EQ(world.desk.log.lines().size(), logged);
    EXPECT_EQ(model.styles().styles().get().size(), 2u);
    EXPECT_EQ(model.usage().lifetimeWords(), 120);
    EXPECT_TRUE(world.state().unlockedMilestones.get().contains("words.1"));
    EXPECT_FALSE(model.usage().isLoading().get());
  }
}

TEST(UsageSyncTest, AnActionIsReportedUntilItIsKnown) {
  struct Case {
    std::string unlocked;  // as the server answers; empty: it fails
    bool onboarding;
    std::vector<std::string> celebrated;
    std::vector<std::string> noted;
    std::size_t reports;  // of two, one after the other
  };
  const std::vector<Case> cases{
      {R"(["action.x"])", false, {"action.x"}, {"action.x", "words.1"}, 1},
      {"[]", false, {}, {"action.x", "words.1"}, 1},
      {R"(["a","b"])", false, {"a", "b", "a", "b"}, {"a", "b", "words.1"}, 2},
      {R"(["a"])", true, {}, {"a", "words.1"}, 2},
      {"", false, {}, {"words.1"}, 2},
  };
  for (const auto& each : cases) {
    SCOPED_TRACE(each.unlocked);
    ModelWorld world;
    if (each.onboarding) world.desk.desktop.trusted = false;
    world.server["POST /api/v1/me/achievements"].status = 500;
    auto& model = world.openSignedIn();
    world.desk.log.clear();
    if (!each.unlocked.empty()) {
      world.server["POST /api/v1/me/achievements"] = {.body = R"({"unlocked":)" + each.unlocked + "}"};
    }
    std::vector<std::string> celebrated;
    model.usage().onMilestonesUnlocked = [&](const std::vector<std::string>& ids) {
      celebrated.insert(celebrated.end(), ids.begin(), ids.end());
    };
    for (int times = 0; times < 2; ++times) world.run(model.usage().reportAction("action.x"));
    EXPECT_EQ(world.asked.size(), each.reports);
    EXPECT_EQ(celebrated, each.celebrated);
    EXPECT_THAT(world.state().unlockedMilestones.get(), ::testing::ElementsAreArray(each.noted));
    EXPECT_EQ(world.desk.log.count("achievement_report_failed"), each.unlocked.empty() ? 2u : 0u);
    EXPECT_NE(world.state().screen.get(), Screen::signedOut);
  }
}

}  // namespace
}  // namespace pell::testing
