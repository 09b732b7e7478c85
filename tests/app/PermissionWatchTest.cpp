#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include "app/AppState.h"
#include "app/OnboardingModel.h"
#include "app/PermissionContent.h"
#include "app/PermissionWatch.h"
#include "app/Permissions.h"
#include "support/MemoryPlatform.h"

namespace pell::testing {
namespace {

using ::testing::ElementsAre;
using Status = MicrophoneAuthorization;
using State = PermissionState;
using Screen = AppState::Screen;

/// A watch over a desktop on which both permissions are there.
struct Desk {
  void poll() { watch->syncPermissions(permissions.hasMicrophone(), permissions.hasAccessibility()); }
  void allowMicrophone(bool allowed) {
    platform.audio.status = allowed ? Status::authorized : Status::denied;
  }
  void allowAccessibility(bool allowed) { platform.desktop.trusted = allowed; }

  /// As after a sign-in.
  void enter(const OnboardingStep& step) {
    state.screen = Screen::onboarding;
    onboarding.enter(step, false);
    watch->takeBaselines();
  }
  void becomeReady() {
    state.screen = Screen::ready;
    watch->takeBaselines();
  }

  bool isAt(const OnboardingStep& step) const { return onboarding.step() == step; }
  std::optional<ReauthorizationState> sheet() const { return watch->reauthorization().get(); }

  MemoryPlatform platform;
  Log log{platform.log};
  AppState state;
  OnboardingModel onboarding{platform.defaults, platform.time};
  Permissions permissions{platform.accessibility, platform.audio, platform.workspace};
  int notes = 0;
  int raised = 0;
  std::unique_ptr<PermissionWatch> watch =
      std::make_unique<PermissionWatch>(PermissionWatch::Collaborators{.state = state,
                                                                       .onboarding = onboarding,
                                                                       .permissions = permissions,
                                                                       .main = platform.time.main(),
                                                                       .words = MemoryPlatform::words(),
                                                                       .log = log,
                                                                       .newNote = [this] { ++notes; },
                                                                       .bringToFront = [this] { ++raised; }});
};

class PermissionWatchTest : public ::testing::Test {
 protected:
  void advance(double seconds) { desk.platform.time.advance(Seconds(seconds)); }

  Desk desk;
};

const ReauthorizationState microphoneLost = reauthorization::Microphone{};
const ReauthorizationState accessibilityLost = reauthorization::Accessibility{};
const ReauthorizationState waiting = reauthorization::Accessibility{State::waiting};
const ReauthorizationState stuck = reauthorization::Accessibility{State::stuck};
const ReauthorizationState granted = reauthorization::Granted{};

TEST_F(PermissionWatchTest, AGrantMovesTheOnboardingOn) {
  for (bool hasDictated : {false, true}) {
    Desk fresh;
    if (hasDictated) fresh.state.unlockedMilestones = std::set<std::string>{"words.1"};
    fresh.allowMicrophone(false);
    fresh.allowAccessibility(false);
    fresh.enter(step::Microphone{State::blocked});
    fresh.poll();
    EXPECT_TRUE(fresh.isAt(step::Microphone{State::blocked}));
    fresh.allowMicrophone(true);
    fresh.poll();
    EXPECT_TRUE(fresh.isAt(step::Accessibility{}));
    fresh.onboarding.setHUDCoaching(OnboardingModel::HUDCoaching{.title = "Find Pell in the list"});
    fresh.allowAccessibility(true);
    fresh.poll();
    EXPECT_TRUE(fresh.isAt(hasDictated ? OnboardingStep(step::Finish{}) : step::DictateInPell{}));
    EXPECT_EQ(fresh.onboarding.isReturningUser(), hasDictated);
    EXPECT_EQ(fresh.notes, hasDictated ? 0 : 1);
    EXPECT_EQ(fresh.raised, 1);
    EXPECT_FALSE(fresh.onboarding.hudCoaching());
  }
}

TEST_F(PermissionWatchTest, AStepWhosePermissionIsThereAlreadyIsLeftByTheNextPoll) {
  desk.allowMicrophone(false);
  desk.enter(step::Microphone{});
  desk.allowMicrophone(true);
  desk.watch->requestMicrophoneAccess();
  EXPECT_TRUE(desk.isAt(step::Accessibility{})) << "accessibility was there all the time";
  desk.poll();
  EXPECT_TRUE(desk.isAt(step::DictateInPell{}));

  // The grant came between the decision and the baselines.
  desk.enter(step::Microphone{});
  desk.poll();
  EXPECT_TRUE(desk.isAt(step::DictateInPell{}));
}

TEST_F(PermissionWatchTest, OnOtherScreensChangesAreOnlyRemembered) {
  desk.onboarding.enter(step::Account{}, false);
  for (auto screen : {Screen::loading, Screen::signedOut, Screen::onboarding}) {
    desk.state.screen = screen;
    for (bool there : {true, false}) {
      desk.allowMicrophone(there);
      desk.allowAccessibility(there);
      desk.poll();
      EXPECT_EQ(desk.state.lastKnownAccessibility, there);
    }
  }
  desk.watch->beginAccessibilityRequest();
  EXPECT_EQ(desk.platform.accessibility.trustRequests, 1);
  EXPECT_FALSE(desk.onboarding.hudCoaching()) << "nobody would take it away";
  desk.becomeReady();
  desk.poll();
  EXPECT_TRUE(desk.isAt(step::Account{}));
  EXPECT_FALSE(desk.sheet()) << "what was missing before is no loss";
  EXPECT_EQ(desk.raised + desk.notes, 0);
}

TEST_F(PermissionWatchTest, ALossIsRepairedByTheSamePermissionAlone) {
  struct Event {
    const char* name;
    bool microphone;
    bool accessibility;
    std::optional<ReauthorizationState> sheet;
    double wait = 0;  // seconds that pass before
  };
  desk.becomeReady();
  for (const auto& [name, microphone, accessibility, sheet, wait] : std::vector<Event>{
           {"nothing lost", true, true, std::nullopt},
           {"microphone lost", false, true, microphoneLost},
           {"accessibility lost meanwhile", false, false, microphoneLost},
           {"accessibility back", false, true, microphoneLost},
           {"microphone back", true, true, granted},
           {"both lost at once", false, false, granted},
           {"said for a while", false, false, granted, 1.5},
           {"closed by itself", false, false, std::nullopt, 0.1},
           {"microphone back, and nothing to repair", true, false, std::nullopt},
           {"accessibility back", true, true, std::nullopt},
           {"accessibility lost again", true, false, accessibilityLost},
       }) {
    advance(wait);
    desk.allowMicrophone(microphone);
    desk.allowAccessibility(accessibility);
    desk.poll();
    EXPECT_EQ(desk.sheet(), sheet) << name;
  }
  EXPECT_THAT(desk.platform.log.events(),
              ElementsAre("WARN reauth_raised", "WARN reauth_resolved", "WARN reauth_raised"));
  EXPECT_EQ(desk.platform.log.lines("reauth_raised")[0]["screen"], "ready");
  EXPECT_EQ(desk.platform.log.lines("reauth_resolved")[0]["kind"], "microphone");

  // The end of "granted" leaves what came in between.
  desk.allowAccessibility(true);
  desk.poll();
  desk.watch->dismissReauthorization();
  desk.allowMicrophone(false);
  desk.poll();
  advance(2);
  EXPECT_EQ(desk.sheet(), microphoneLost);
  desk.watch->dismissReauthorization();
  desk.poll();
  EXPECT_FALSE(desk.sheet()) << "dismissed until the next flip";
}

TEST_F(PermissionWatchTest, TheMicrophoneIsAskedForOnceAndItsAnswerDecides) {
  struct Case {
    Status status;
    std::optional<bool> answer;  // of the prompt, where there is one
    OnboardingStep step;
  };
  for (const auto& [status, answer, step] : std::vector<Case>{
           {Status::restricted, {}, step::Microphone{State::restricted}},
           {Status::denied, {}, step::Microphone{State::blocked}},
           {Status::authorized, {}, step::Accessibility{}},
           {Status::notDetermined, false, step::Microphone{State::blocked}},
           {Status::notDetermined, true, step::Accessibility{}},
       }) {
    Desk fresh;
    fresh.allowAccessibility(false);
    fresh.platform.audio.status = status;
    fresh.enter(step::Microphone{});
    fresh.watch->requestMicrophoneAccess();
    EXPECT_EQ(fresh.platform.audio.isAsking(), answer.has_value());
    if (answer) {
      fresh.platform.audio.answerAccess(*answer);
      EXPECT_TRUE(fresh.isAt(step::Microphone{})) << "the answer comes on any thread";
      fresh.platform.time.runReady();
    }
    EXPECT_TRUE(fresh.isAt(step));
    fresh.poll();
    EXPECT_TRUE(fresh.isAt(step)) << "all was done before the poll";
  }
  // Nobody decided: there was no server of sounds to ask.
  for (const bool hasDevice : {true, false}) {
    Desk fresh;
    fresh.platform.audio.status = Status::notDetermined;
    fresh.enter(step::Microphone{});
    fresh.platform.audio.hasDevice = hasDevice;
    fresh.watch->requestMicrophoneAccess();
    fresh.platform.audio.answerUndecided();
    fresh.platform.time.runReady();
    EXPECT_TRUE(fresh.isAt(step::Microphone{hasDevice ? State::explaining : State::noDevice}));
  }
  // In the repair sheet.
  desk.becomeReady();
  desk.allowMicrophone(false);
  desk.poll();
  desk.watch->requestMicrophoneAccess();
  EXPECT_EQ(desk.sheet(), microphoneLost);
  desk.allowMicrophone(true);
  desk.watch->requestMicrophoneAccess();
  EXPECT_EQ(desk.sheet(), granted);
}

TEST_F(PermissionWatchTest, AMissingMicrophoneIsLookedForAgain) {
  struct Case {
    bool hasDevice;
    Status status;
    OnboardingStep step;
  };
  desk.allowAccessibility(false);
  for (const auto& [hasDevice, status, step] :
       std::vector<Case>{{false, Status::notDetermined, step::Microphone{State::noDevice}},
                         {true, Status::notDetermined, step::Microphone{}},
                         {true, Status::authorized, step::Accessibility{}}}) {
    desk.platform.audio.hasDevice = hasDevice;
    desk.platform.audio.status = status;
    desk.enter(step::Microphone{State::noDevice});
    desk.watch->recheckMicrophoneDevice();
    EXPECT_TRUE(desk.isAt(step));
  }
}

TEST_F(PermissionWatchTest, AnAccessibilityRequestIsStuckAfterFortyFiveSecondsWithoutTheGrant) {
  desk.allowAccessibility(false);
  desk.enter(step::Accessibility{});
  desk.watch->beginAccessibilityRequest();
  EXPECT_EQ(desk.platform.accessibility.trustRequests, 1);
  EXPECT_EQ(desk.platform.workspace.opened.size(), 1u);
  EXPECT_TRUE(desk.isAt(step::Accessibility{State::waiting}));
  ASSERT_TRUE(desk.onboarding.hudCoaching());
  EXPECT_FALSE(desk.onboarding.hudCoaching()->dismissible) << "the onboarding cannot go on without it";
  advance(44.9);
  EXPECT_TRUE(desk.isAt(step::Accessibility{State::waiting}));
  advance(0.1);
  EXPECT_TRUE(desk.isAt(step::Accessibility{State::stuck}));

  desk.watch->beginAccessibilityRequest();
  advance(44);
  desk.allowAccessibility(true);
  desk.poll();
  advance(60);
  EXPECT_TRUE(desk.isAt(step::DictateInPell{})) << "the late firing found another step";

  desk.becomeReady();
  desk.allowAccessibility(false);
  desk.poll();
  desk.watch->beginAccessibilityRequest();
  EXPECT_TRUE(desk.onboarding.hudCoaching()->dismissible);
  EXPECT_EQ(desk.sheet(), waiting);
  advance(45);
  EXPECT_EQ(desk.sheet(), stuck);
  desk.allowAccessibility(true);
  desk.poll();
  EXPECT_EQ(desk.sheet(), granted);
  EXPECT_FALSE(desk.onboarding.hudCoaching());
  advance(1.6);
  EXPECT_FALSE(desk.sheet());
}

TEST_F(PermissionWatchTest, MayBeDestroyedAtEveryStep) {
  for (int steps = 0; steps < 12; ++steps) {
    Desk fresh;
    fresh.platform.audio.status = Status::notDetermined;
    fresh.becomeReady();
    fresh.allowAccessibility(false);
    fresh.poll();
    fresh.watch->beginAccessibilityRequest();
    fresh.allowAccessibility(true);
    fresh.poll();
    fresh.watch->requestMicrophoneAccess();
    for (int step = 0; step < steps; ++step) {
      if (step == steps / 2) fresh.platform.audio.answerAccess(true);
      fresh.platform.time.step();
    }
    fresh.watch.reset();
    if (fresh.platform.audio.isAsking()) fresh.platform.audio.answerAccess(true);
    fresh.platform.time.advance(Seconds(60));
  }
}

TEST(PermissionContentTest, OnlyTheOnboardingOffersAWayOut) {
  const Words plain = MemoryPlatform::words();
  for (auto state : {State::explaining, State::waiting, State::blocked, State::restricted, State::noDevice,
                     State::stuck}) {
    const bool blocked = state == State::blocked || state == State::restricted;
    EXPECT_EQ(microphoneContent(state, false, plain).link.has_value(), blocked);
    EXPECT_EQ(accessibilityContent(state, false, plain).link.has_value(), state == State::stuck);
    EXPECT_FALSE(reauthorizationContent(reauthorization::Microphone{state}, plain).link);
    EXPECT_FALSE(reauthorizationContent(reauthorization::Accessibility{state}, plain).link);
  }
}

TEST(PermissionContentTest, ADesktopWithoutAListOfPermissionsIsShownNone) {
  const Words none = [](std::string_view text) { return std::string(text == "Zoom" ? "" : text); };
  EXPECT_TRUE(microphoneContent(State::blocked, false, MemoryPlatform::words()).illustration);
  EXPECT_FALSE(microphoneContent(State::blocked, false, none).illustration);
}

}  // namespace
}  // namespace pell::testing
