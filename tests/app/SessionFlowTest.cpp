#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include "app/ModelWorld.h"

namespace pell::testing {
namespace {

using ::testing::ElementsAre;
using Screen = AppState::Screen;
using Outcome = Keychain::ReadOutcome;

const BannerTexts texts(MemoryPlatform::words());

using Banner = std::optional<std::string>;

// What a start may find.
void asKept(ModelWorld&) {}
void unverified(ModelWorld& world) { world.server["GET /api/v1/me"].body = ModelWorld::unverifiedJson(); }
void newcomer(ModelWorld& world) {
  world.desk.defaults.remove("onboardingCompletedAt");
  world.server["GET /api/v1/me/achievements"].body = ModelWorld::shelfJson("seconds.60");
}
void mute(ModelWorld& world) { world.desk.audio.status = MicrophoneAuthorization::denied; }
void noAccount(ModelWorld& world) { world.server["GET /api/v1/me"].body = "null"; }
void offline(ModelWorld& world) { world.server["POST /api/v1/auth/refresh"].offline = true; }
void offlineNewcomer(ModelWorld& world) {
  newcomer(world);
  offline(world);
}
void slow(ModelWorld& world) { world.desk.secureItems.blocked = true; }
void refused(ModelWorld& world) { world.desk.secureItems.readStatus = SecureItemStatus::authFailed; }
void empty(ModelWorld& world) { world.desk.secureItems.readStatus = SecureItemStatus::itemNotFound; }

TEST(SessionFlowTest, EachWayToStart) {
  struct Case {
    void (*given)(ModelWorld&);
    Screen screen;
    Banner banner;
    bool hasAccount;
    OnboardingStep step = step::Finish{};  // untouched
  };
  const std::vector<Case> cases{
      {asKept, Screen::ready, {}, true},
      {unverified, Screen::ready, texts.confirmEmail, true},
      {newcomer, Screen::onboarding, {}, true, step::DictateInPell{}},
      {mute, Screen::onboarding, {}, true, step::Microphone{}},
      {noAccount, Screen::signedOut, {}, false},
      {offline, Screen::signedOut, {}, false},
      {offlineNewcomer, Screen::onboarding, {}, false, step::Account{}},
      {slow, Screen::signedOut, texts.signInUnread, false},
      {refused, Screen::signedOut, {}, false},
      {empty, Screen::signedOut, {}, false},
  };
  for (const auto& each : cases) {
    SCOPED_TRACE(&each - cases.data());
    ModelWorld world;
    world.rememberSession();
    each.given(world);
    world.open();
    EXPECT_EQ(world.state().screen.get(), Screen::loading);
    world.model().onboarding().enter(step::Finish{}, false);
    world.run(world.model().session().start());
    EXPECT_EQ(world.state().screen.get(), each.screen);
    EXPECT_EQ(world.state().banner.get(), each.banner);
    EXPECT_EQ(world.state().account.get().has_value(), each.hasAccount);
    EXPECT_EQ(world.model().onboarding().step(), each.step);
    const bool isOffline = each.given == offline || each.given == offlineNewcomer;
    EXPECT_EQ(world.desk.log.count("session_restore_failed"), isOffline ? 1u : 0u);
    if (each.given == asKept) {
      EXPECT_THAT(world.asked,
                  ElementsAre("POST /api/v1/auth/refresh", "GET /api/v1/me", "GET /api/v1/cleanup-styles",
                              "GET /api/v1/me/usage", "GET /api/v1/me/achievements",
                              "POST /api/v1/me/achievements", "POST /api/v1/me/achievements"));
    }
  }
}

TEST(SessionFlowTest, AFormThatFailsChangesNothingElse) {
  for (const bool failing : {false, true}) {
    ModelWorld world;
    auto& session = world.openSignedIn().session();
    for (auto& [path, reply] : world.server) {
      if (failing) reply = {.status = 503, .body = errorJson("EMAIL_UNAVAILABLE", 503)};
    }
    const auto signIn = world.begin(session.signIn("me@example.com", "secret"));
    const auto reset = world.begin(session.requestPasswordReset("me@example.com"));
    const auto resend = world.begin(session.resendVerification());
    world.desk.time.runReady();
    const auto shown = [&](const char* text) { return failing ? Banner(text) : std::nullopt; };
    EXPECT_EQ(signIn.get(), shown("Sorry."));
    EXPECT_EQ(
        reset.get(),
        shown("Password reset is not available right now. Write to help@example.com and we will help."));
    EXPECT_EQ(resend.get(), shown("Sorry."));
    EXPECT_EQ(world.state().screen.get(), Screen::ready);
    EXPECT_EQ(world.state().banner.get(), std::nullopt);
    EXPECT_EQ(world.desk.log.text().find("secret"), std::string::npos);
  }
}

TEST(SessionFlowTest, SigningInWhileTheStartIsStillReadingEndsSignedIn) {
  ModelWorld world;
  world.server["GET /api/v1/me/usage"].delay = Seconds(1);
  world.rememberSession();
  world.open();
  world.begin(world.model().session().start());
  world.desk.time.advance(Seconds(0.5));
  ASSERT_EQ(world.state().screen.get(), Screen::loading);
  world.server["GET /api/v1/me/usage"] = {.body = ModelWorld::usageJson(500)};
  auto shown = world.begin(world.model().session().signIn("me@example.com", "secret"));
  world.desk.time.advance(Seconds(0.1));
  EXPECT_EQ(shown.get(), std::nullopt);
  EXPECT_EQ(world.state().screen.get(), Screen::ready);
  world.desk.time.advance(Seconds(3));
  EXPECT_EQ(world.state().screen.get(), Screen::ready);
  EXPECT_EQ(world.model().usage().lifetimeWords(), 120) << "the last answer stands";
  EXPECT_FALSE(world.model().usage().isLoading().get());
}

TEST(SessionFlowTest, AStartThatFindsNoSessionLeavesTheOneThatWasOpenedMeanwhile) {
  for (const bool isSlowKeychain : {true, false}) {
    ModelWorld world;
    world.rememberSession();
    world.desk.secureItems.blocked = isSlowKeychain;
    world.server["POST /api/v1/auth/refresh"] = {
        .status = 401, .body = errorJson("UNAUTHORIZED", 401), .delay = Seconds(2)};
    world.open();
    world.begin(world.model().session().start());
    world.desk.time.advance(Seconds(0.5));
    world.begin(world.model().session().signIn("me@example.com", "secret"));
    world.desk.time.advance(Seconds(3));
    EXPECT_EQ(world.desk.log.count("keychain_read_timed_out"), isSlowKeychain ? 1u : 0u);
    EXPECT_EQ(world.state().screen.get(), Screen::ready);
    EXPECT_EQ(world.state().banner.get(), std::nullopt);
    EXPECT_EQ(world.desk.secureItems.item("com.pell.dictation", "refresh-token"), "refresh-first");
    world.server["GET /api/v1/me"].offline = true;
    world.run(world.model().session().start());
    EXPECT_EQ(world.state().screen.get(), Screen::signedOut) << "a later start goes by what it finds";
  }
}

TEST(SessionFlowTest, ALostSessionSignsOutWhereSomebodyIsSignedIn) {
  struct Case {
    Screen screen;
    Outcome outcome;
    Banner banner;
  };
  const std::vector<Case> cases{
      {Screen::ready, Outcome::ok, texts.signedOut},
      {Screen::ready, Outcome::absent, texts.signedOut},
      {Screen::ready, Outcome::timedOut, texts.signInUnread},
      {Screen::ready, Outcome::refused, texts.signInRemoved},
      {Screen::onboarding, Outcome::ok, "Could not save"},
      {Screen::signedOut, Outcome::ok, "Could not save"},
  };
  for (const auto& each : cases) {
    SCOPED_TRACE(std::string(logLabel(each.screen)) + std::string(rawValue(each.outcome)));
    ModelWorld world;
    if (each.screen == Screen::onboarding) world.desk.desktop.trusted = false;
    world.openSignedIn();
    if (each.screen == Screen::signedOut) world.run(world.model().session().signOut());
    world.model().banners().reportQuotaExceeded("Could not save");  // whatever news is there
    world.model().session().sessionLost(each.outcome);
    const bool wasReady = each.screen == Screen::ready;
    EXPECT_EQ(world.state().screen.get(), wasReady ? Screen::signedOut : each.screen);
    EXPECT_EQ(world.state().banner.get(), each.banner);
    EXPECT_EQ(world.state().usage.get().has_value(), each.screen == Screen::onboarding);
    EXPECT_EQ(world.desk.log.count("session_lost"), wasReady ? 1u : 0u);
  }
}

TEST(SessionFlowTest, ASessionLostDuringADictationSignsOut) {
  ModelWorld world;
  world.desk.desktop.launchEditor();
  world.openSignedIn();
  world.app->applicationDidFinishLaunching();
  world.desk.time.advance(Seconds(4000));
  world.server["POST /api/v1/auth/refresh"] = {.status = 401, .body = errorJson("UNAUTHORIZED", 401)};
  auto& dictation = world.app->dictation();
  dictation.begin();
  world.desk.time.advance(Seconds(1));
  ASSERT_TRUE(std::holds_alternative<phase::Recording>(dictation.phase()));
  world.begin(world.model().usage().reloadUsage());  // finds out first, while the user speaks
  world.desk.time.advance(Seconds(1));
  EXPECT_EQ(world.state().screen.get(), Screen::signedOut);
  EXPECT_EQ(world.state().banner.get(), texts.signedOut) << "the loss was told before the reload failed";
  EXPECT_TRUE(std::holds_alternative<phase::Recording>(dictation.phase())) << "the dictation goes on";
  dictation.finish();
  world.desk.time.advance(Seconds(1));
  EXPECT_TRUE(std::holds_alternative<phase::Failed>(dictation.phase()));
  EXPECT_EQ(world.desk.log.count("session_lost"), 1u) << "told once";
}

TEST(SessionFlowTest, SigningOutAndDeletingForgetTheAccountWhateverTheServerSays) {
  for (const auto& [deletes, offline] :
       {std::pair{false, false}, {false, true}, {true, false}, {true, true}}) {
    SCOPED_TRACE(std::string(deletes ? "delete" : "sign out") + (offline ? ", offline" : ""));
    ModelWorld world;
    unverified(world);
    auto& session = world.openSignedIn().session();
    ASSERT_EQ(world.state().banner.get(), texts.confirmEmail);
    world.server["POST /api/v1/auth/logout"].offline = offline;
    world.server["DELETE /api/v1/me"].offline = offline;
    world.run(deletes ? session.deleteAccount() : session.signOut());
    EXPECT_EQ(world.state().screen.get(), Screen::signedOut);
    EXPECT_EQ(world.state().account.get(), std::nullopt);
    EXPECT_EQ(world.state().usage.get(), std::nullopt);
    EXPECT_TRUE(world.state().unlockedMilestones.get().contains("words.1"));
    const bool failed = deletes && offline;
    EXPECT_EQ(world.state().banner.get(),
              failed ? Banner(ApiFailure::offline().description()) : std::nullopt);
    const auto token = world.desk.secureItems.item("com.pell.dictation", "refresh-token");
    EXPECT_EQ(token.has_value(), failed) << "the client keeps its session";
  }
}

TEST(SessionFlowTest, AsksForTheConfirmationAtMostEveryFiveSecondsUntilItCame) {
  ModelWorld world;
  unverified(world);
  world.openSignedIn();
  auto activate = [&] {
    world.asked.clear();
    world.begin(world.model().session().recheckAfterActivation());
    world.desk.time.runReady();
    return world.asked.size();
  };
  EXPECT_EQ(activate(), 1u);
  world.desk.time.advance(Seconds(4.9));
  EXPECT_EQ(activate(), 0u);
  world.desk.time.advance(Seconds(0.1));
  world.server["GET /api/v1/me"].offline = true;
  EXPECT_EQ(activate(), 1u);
  EXPECT_EQ(world.desk.log.count("account_recheck_failed"), 1u);
  EXPECT_EQ(activate(), 0u) << "a failure counts too";
  EXPECT_EQ(world.state().banner.get(), texts.confirmEmail);
  world.desk.time.advance(Seconds(5));
  world.server["GET /api/v1/me"] = {.body = accountJson};
  EXPECT_EQ(activate(), 1u);
  EXPECT_EQ(world.state().banner.get(), std::nullopt);
  world.desk.time.advance(Seconds(5));
  EXPECT_EQ(activate(), 0u) << "nothing is left to ask";
}

TEST(SessionFlowTest, MayEndAtEveryStep) {
  bool more = true;
  int steps = 0;
  for (; more; ++steps) {
    ModelWorld world;
    for (auto& [path, reply] : world.server) reply.delay = Seconds(0.05);
    world.desk.secureItems.delay = Seconds(0.1);
    world.rememberSession();
    auto& model = world.open();
    world.begin(model.session().start());
    world.begin(model.session().signIn("me@example.com", "secret"));
    world.begin(model.session().recheckAfterActivation());
    world.begin(model.styles().setCleanupEnabled(false));
    world.begin(model.session().deleteAccount());
    model.banners().flashShortTapCoach();
    for (int step = 0; step < steps && more; ++step) more = world.desk.time.step();
    world.close();
    world.desk.time.advance(Seconds(100));
  }
  EXPECT_GT(steps, 40);
}

}  // namespace
}  // namespace pell::testing
