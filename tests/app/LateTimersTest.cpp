#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include "app/ModelWorld.h"

namespace pell::testing {
namespace {

using ::testing::ElementsAre;
using Screen = AppState::Screen;

/// A signed-in user at an editor, whose machine is suspended in the middle of things.
struct Suspended : ModelWorld {
  explicit Suspended(bool newcomer) {
    desk.desktop.launchEditor();
    if (newcomer) {
      desk.defaults.remove("onboardingCompletedAt");
      server["GET /api/v1/me/achievements"].body = shelfJson("seconds.60");
    }
    openSignedIn();
    app->applicationDidFinishLaunching();
    app->applyPanel = [this](const PanelContext&, std::string_view trigger) { polls += trigger == "poll"; };
    later(0.25);
  }
  void later(double seconds) { desk.time.advance(Seconds(seconds)); }
  /// Everything that fell due meanwhile runs at once, hours late.
  void sleep() {
    desk.time.runReady();
    polls = 0;
    desk.time.block(Seconds(6 * 3600));
    desk.time.runReady();
  }
  void tap() {
    desk.taps.press(keycode::leftOption);
    later(0.05);
    desk.taps.release(keycode::leftOption);
    later(0.05);
  }
  std::optional<ReauthorizationState> sheet() { return model().permissions().reauthorization().get(); }
  template <class Phase>
  bool isIn() {
    return std::holds_alternative<Phase>(app->dictation().phase());
  }

  int polls = 0;
};
using World = Suspended;

struct Case {
  const char* name;
  void (*before)(World&);
  void (*after)(World&);
  bool newcomer = false;
};

const std::vector<Case> cases{
    {"one poll, and it sees what changed", [](World& w) { w.desk.desktop.trusted = false; },
     [](World& w) {
       EXPECT_EQ(w.polls, 1);
       EXPECT_EQ(w.sheet(), ReauthorizationState(reauthorization::Accessibility{}));
     }},
    {"the coaching of a short tap is over", [](World& w) { w.model().banners().flashShortTapCoach(); },
     [](World& w) { EXPECT_EQ(w.model().banners().shortTapCoach().get(), std::nullopt); }},
    {"a repaired permission has been said long enough",
     [](World& w) {
       for (const auto status : {MicrophoneAuthorization::denied, MicrophoneAuthorization::authorized}) {
         w.desk.audio.status = status;
         w.later(0.1);
       }
       EXPECT_EQ(w.sheet(), ReauthorizationState(reauthorization::Granted{}));
     },
     [](World& w) { EXPECT_EQ(w.sheet(), std::nullopt); }},
    {"a request is stuck",
     [](World& w) {
       w.desk.desktop.trusted = false;
       w.later(0.1);
       w.model().permissions().beginAccessibilityRequest();
     },
     [](World& w) {
       EXPECT_EQ(w.sheet(), ReauthorizationState(reauthorization::Accessibility{PermissionState::stuck}));
     }},
    {"a request that was granted meanwhile is not, and says so for its while",
     [](World& w) {
       w.desk.desktop.trusted = false;
       w.later(0.1);
       w.model().permissions().beginAccessibilityRequest();
       w.desk.desktop.trusted = true;
     },
     [](World& w) {
       EXPECT_EQ(w.sheet(), ReauthorizationState(reauthorization::Granted{}));
       w.later(1.7);
       EXPECT_EQ(w.sheet(), std::nullopt);
     }},
    {"the guided dictation is over",
     [](World& w) {
       w.model().onboardingFlow().completeDictateInPell();
       w.model().onboardingFlow().scheduleOnboardingAutoAdvance();
     },
     [](World& w) { EXPECT_EQ(w.model().onboarding().step(), OnboardingStep(step::Finish{})); }, true},
    {"the card is over, and the next has its whole time",
     [](World& w) {
       w.app->celebrations().celebrate({"words.1", "words.100"});
       w.later(0.1);
     },
     [](World& w) {
       const auto& card = w.app->celebrations().showing;
       EXPECT_EQ(card.get(), std::nullopt);
       w.later(3.5);
       EXPECT_EQ(card.get(), Badges::milestone("words.100"));
       w.later(0.1);
       EXPECT_EQ(card.get(), std::nullopt);
     }},
    {"a message is over",
     [](World& w) {
       w.desk.secureEntry.enabled = true;
       w.app->dictation().begin();
       EXPECT_TRUE(w.isIn<phase::Failed>());
     },
     [](World& w) { EXPECT_TRUE(w.isIn<phase::Idle>()); }},
    {"a recording goes on", [](World& w) { w.app->dictation().begin(); },
     [](World& w) {
       EXPECT_TRUE(w.isIn<phase::Recording>());
       EXPECT_EQ(w.app->dictation().elapsedSeconds(), 6 * 3600);
     }},
    {"a key that is let go afterwards records nothing more",
     [](World& w) {
       w.desk.taps.press(keycode::leftOption);
       w.later(0.05);
     },
     [](World& w) {
       w.desk.taps.release(keycode::leftOption);
       w.later(1);
       EXPECT_FALSE(w.isIn<phase::Recording>());
     }},
    {"a tap on each side is no double tap", [](World& w) { w.tap(); },
     [](World& w) {
       w.tap();
       w.later(1);
       EXPECT_TRUE(w.isIn<phase::Idle>());
     }},
    {"an upload has run into its limit, and says so",
     [](World& w) {
       w.server["POST /api/v1/transcribe"] = {.delay = Seconds(7 * 3600)};
       w.app->dictation().begin();
       w.later(1);
       w.app->dictation().finish();
     },
     [](World& w) { EXPECT_TRUE(w.isIn<phase::Failed>()); }},
    {"the clipboard is the user's again",
     [](World& w) {
       w.desk.pasteboard.otherPutsText("the user's own");
       w.app->injector().deliver("dictated", InjectionMode::paste);
       EXPECT_EQ(w.desk.pasteboard.string(), "dictated");
     },
     [](World& w) { EXPECT_EQ(w.desk.pasteboard.string(), "the user's own"); }},
    {"the access token has run out, and one refresh is enough", [](World&) {},
     [](World& w) {
       w.asked.clear();
       w.begin(w.model().usage().reloadUsage());
       w.begin(w.model().usage().reloadAchievements());
       w.later(1);
       EXPECT_THAT(w.asked, ElementsAre("POST /api/v1/auth/refresh", "GET /api/v1/me/usage",
                                        "GET /api/v1/me/achievements"));
     }},
    {"the keychain's answer comes too late, and is asked for again",
     [](World& w) {
       w.later(4000);
       w.desk.secureItems.blocked = true;
       w.begin(w.model().usage().reloadUsage());
       w.later(1);
     },
     [](World& w) {
       EXPECT_EQ(w.state().screen.get(), Screen::signedOut);
       w.desk.secureItems.unblock();
       w.run(w.model().session().start());
       EXPECT_EQ(w.state().screen.get(), Screen::ready);
     }},
};

TEST(LateTimersTest, WhatFellDueWhileTheMachineSleptIsMadeUpForOnce) {
  for (const Case& each : cases) {
    SCOPED_TRACE(each.name);
    World world(each.newcomer);
    each.before(world);
    world.sleep();
    each.after(world);
  }
}

}  // namespace
}  // namespace pell::testing
