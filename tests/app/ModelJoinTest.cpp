#include <fstream>
#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include "app/ModelWorld.h"
#include "editor/EditorCoordinator.h"
#include "support/MemoryTextView.h"

namespace pell::testing {
namespace {

using Screen = AppState::Screen;

constexpr const char* transcription =
    R"({"transcript":"Hello","paragraphs":["Hello"],"rawTranscript":"hello","durationSeconds":1,"words":1,
        "characters":5,"language":"en","unlocked":["words.100"],
        "quota":{"minutesPerMonth":60,"usedSeconds":1,"remainingSeconds":2,"allowanceSeconds":3}})";

/// An editor in front; a newcomer is still at the guided dictations.
struct Joined : ModelWorld {
  explicit Joined(bool newcomer = false) {
    desk.desktop.launchEditor();
    if (newcomer) {
      desk.defaults.remove("onboardingCompletedAt");
      server["GET /api/v1/me/achievements"].body = shelfJson("seconds.60");
    }
    server["POST /api/v1/transcribe"] = {.body = transcription};
    openSignedIn();
    app->applicationDidFinishLaunching();
    desk.time.advance(Seconds(0.2));
  }
  void dictate() {
    app->dictation().begin();
    desk.time.advance(Seconds(1));
    app->dictation().finish();
    desk.time.advance(Seconds(1));
  }
};

TEST(ModelJoinTest, ADictationReachesEveryDuty) {
  for (const bool newcomer : {false, true}) {
    Joined world(newcomer);
    auto& model = world.model();
    EXPECT_EQ(model.state().screen.get(), newcomer ? Screen::onboarding : Screen::ready);
    model.styles().setOneShotOverride("mail-v1");
    model.banners().reportQuotaExceeded("All used up.");
    world.server["GET /api/v1/me/usage"].body = ModelWorld::usageJson(121);
    world.dictate();
    EXPECT_THAT(world.desk.http.requests, ::testing::Contains(::testing::Field(
                                              &HttpRequest::url, ::testing::HasSubstr("style=mail-v1"))));
    EXPECT_EQ(model.styles().oneShotOverride().get(), std::nullopt);
    EXPECT_EQ(model.history().records().get().size(), 1u);
    EXPECT_EQ(model.usage().lifetimeWords(), 121);
    EXPECT_EQ(model.state().banner.get(), std::nullopt) << "there is an allowance again";
    EXPECT_TRUE(model.state().unlockedMilestones.get().contains("words.100"));
    const auto& card = world.app->celebrations().showing.get();
    EXPECT_EQ(card.has_value(), !newcomer) << "newcomers see them on the last page";
    EXPECT_EQ(std::ranges::count(world.desk.sounds.played, "Glass"), newcomer ? 0 : 1);

    world.server["POST /api/v1/transcribe"] = {.status = 402, .body = errorJson("QUOTA_EXCEEDED", 402)};
    world.server["GET /api/v1/me/usage"].offline = true;
    world.dictate();
    EXPECT_EQ(model.banners().kind(), Banners::Kind::attention);
  }
}

TEST(ModelJoinTest, AShortTapIsCoachedOnlyInTheGuidedDictationOfTheWindow) {
  Joined world(true);
  for (const bool here : {true, false}) {
    world.model().onboarding().enter(here ? OnboardingStep(step::DictateInPell{}) : step::DictateElsewhere{},
                                     false);
    world.desk.taps.press(keycode::leftOption);
    world.desk.time.advance(Seconds(0.05));
    world.desk.taps.release(keycode::leftOption);
    world.desk.time.advance(Seconds(1));
    EXPECT_EQ(world.model().banners().shortTapCoach().get().has_value(), here);
    world.desk.time.advance(Seconds(2));
  }
}

TEST(ModelJoinTest, ACachedDocumentGatesTheVersionWithoutTheNetwork) {
  ModelWorld world;
  std::filesystem::create_directories(world.desk.support() / "Pell");
  std::ofstream(world.desk.support() / "Pell" / "app-config.json")
      << R"({"minimumSupportedVersion":"9.0","features":{},"issuedAt":"2024-01-01T00:00:00.000Z"})";
  world.open();
  world.app->applicationDidFinishLaunching();
  world.desk.time.runReady();
  auto& gate = world.model().versionGate();
  EXPECT_TRUE(gate.updateRequired().get());
  gate.dismissUpdateRequired();
  for (const bool again : {true, false}) gate.notice(again ? gate.remoteConfig().get() : std::nullopt);
  EXPECT_TRUE(gate.updateRequired().get()) << "asked again by the next document";
  EXPECT_EQ(world.desk.log.count("app_config_gate"), 2u);
}

TEST(ModelJoinTest, WhatIsTypedAndDictatedIntoANoteIsStoredBeforeTheEnd) {
  Joined world;
  auto& model = world.model();
  MemoryTextView view;
  EditorCoordinator coordinator(model.editor(), view, [](const std::string&) { return true; });
  coordinator.show(model.notes().documentID(), model.notes().draft());
  EXPECT_TRUE(model.notes().insertTranscript({.paragraphs = {"Said"}}));
  EXPECT_EQ(model.store().notes()->list().at(0).text, "Said");
  view.type(u", typed");
  world.app->applicationShouldTerminate();
  EXPECT_EQ(model.store().notes()->list().at(0).text, "Said, typed");
}

}  // namespace
}  // namespace pell::testing
