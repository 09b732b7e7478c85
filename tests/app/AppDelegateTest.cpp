#include <fstream>
#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include "app/AppDelegate.h"
#include "editor/Face.h"
#include "support/MemoryPlatform.h"

namespace pell::testing {
namespace {

using ::testing::ElementsAre;
using ::testing::IsEmpty;

/// A launched application on a desktop with an editor in front.
class AppDelegateTest : public ::testing::Test {
 protected:
  void SetUp() override { desk.desktop.launchEditor(); }

  AppDelegate& launch() {
    delegate = std::make_unique<AppDelegate>(desk.platform());
    delegate->applicationDidFinishLaunching();
    desk.time.runReady();
    return *delegate;
  }

  void poll(int times = 1) { desk.time.advance(Seconds(0.1) * times); }

  /// Holds the trigger for a second, during which the user speaks.
  void hold(Seconds span = Seconds(1)) {
    desk.taps.press(keycode::leftOption);
    desk.time.advance(span);
    desk.taps.release(keycode::leftOption);
    desk.time.runReady();
  }

  template <class P>
  bool phaseIs() {
    return std::holds_alternative<P>(delegate->dictation().phase());
  }

  MemoryPlatform desk;
  std::unique_ptr<AppDelegate> delegate;
};

TEST_F(AppDelegateTest, ArmsTheKeyAtLaunchAndSaysSo) {
  desk.fonts = {"IBM Plex Sans", "Fraunces 9pt"};
  delegate = std::make_unique<AppDelegate>(desk.platform());
  desk.log.clear();
  delegate->applicationDidFinishLaunching();
  desk.time.runReady();
  EXPECT_THAT(desk.log.events(),
              ElementsAre("INFO accessibility_changed", "INFO hotkey_started", "INFO app_launched",
                          "INFO updater_absent", "INFO app_config_inert"));
  EXPECT_EQ(desk.log.lines("accessibility_changed")[0]["granted"], true);
  EXPECT_EQ(desk.log.lines("app_launched")[0]["version"], "1.0.0");
  EXPECT_EQ(desk.log.lines("app_launched")[0]["placement"], "applications");
  EXPECT_EQ(desk.log.lines("app_launched")[0]["fonts_loaded"], true);
  desk.fonts.erase("Fraunces 9pt");
  EXPECT_FALSE(Face::fontsAreLoaded(desk.platform().hasFontFamily));
  poll(30);
  EXPECT_EQ(desk.taps.created, 1);
  EXPECT_EQ(desk.log.lines().size(), 5u) << "a poll that finds no change is silent";
}

TEST_F(AppDelegateTest, TheSiteOnShowPicksTheStyle) {
  launch();
  auto& browser = desk.desktop.launch({.bundleIdentifier = "org.example.Navigator"});
  browser.window->attributes.emplace(accessibility::document, std::string("https://mail.example.com/1"));
  delegate->dictation().styleRules = [] {
    return StyleResolver::Rules{.contextAware = true,
                                .useBrowserHost = true,
                                .hostRules = {{"mail.example.com", "email"}},
                                .knownStyleIDs = {"email"}};
  };
  delegate->dictation().begin();
  EXPECT_EQ(delegate->dictation().activeStyleID(), "email");
}

TEST_F(AppDelegateTest, FollowsTheAccessibilityGrant) {
  desk.desktop.trusted = false;
  launch();
  poll(5);
  EXPECT_EQ(desk.log.count("accessibility_changed"), 1u);
  EXPECT_EQ(desk.log.lines("accessibility_changed")[0]["granted"], false);
  EXPECT_EQ(desk.log.count("hotkey_stopped"), 0u) << "it never ran";

  desk.desktop.trusted = true;
  poll();
  EXPECT_TRUE(delegate->hotKeys().isActive());
  desk.desktop.trusted = false;
  poll(3);
  EXPECT_FALSE(delegate->hotKeys().isActive());
  EXPECT_EQ(desk.taps.liveTaps(), 0u);
  auto stopped = desk.log.lines("hotkey_stopped");
  ASSERT_EQ(stopped.size(), 1u);
  EXPECT_EQ(stopped[0]["reason"], "accessibility_revoked");
  desk.desktop.trusted = true;
  poll();
  EXPECT_TRUE(delegate->hotKeys().isActive());
  EXPECT_EQ(desk.log.count("accessibility_changed"), 4u);
}

TEST_F(AppDelegateTest, SaysOncePerRunOfFailuresThatTheKeyCannotBeWatched) {
  desk.taps.available = false;
  launch();
  poll(3);
  desk.taps.available = true;
  poll();
  EXPECT_TRUE(delegate->hotKeys().isActive());
  desk.taps.available = false;
  delegate->settings().trigger = HotKeyTrigger::holdFn;
  poll(3);
  EXPECT_FALSE(delegate->hotKeys().isActive());
  EXPECT_EQ(desk.log.count("hotkey_arm_failed"), 2u);
  EXPECT_EQ(desk.log.count("hotkey_tap_unavailable"), 2u);
}

TEST_F(AppDelegateTest, AChangedTriggerReachesTheMonitorByThePoll) {
  launch();
  delegate->settings().trigger = HotKeyTrigger::toggleControlOptionSpace;
  poll();
  desk.taps.press(MemoryEventTaps::controlKey);
  desk.taps.press(keycode::leftOption);
  EXPECT_FALSE(desk.taps.press(keycode::space)) << "swallowed";
  desk.time.runReady();
  EXPECT_TRUE(phaseIs<phase::Recording>());
  desk.taps.press(keycode::space);
  desk.time.runReady();
  EXPECT_FALSE(phaseIs<phase::Recording>());
}

TEST_F(AppDelegateTest, EscapeGoesToTheCoachingThenToTheMessageThenToTheRecording) {
  launch();
  auto& onboarding = delegate->model().onboarding();
  auto escape = [&] {
    desk.taps.press(keycode::escape);
    desk.time.runReady();
  };
  desk.taps.press(keycode::leftOption);
  desk.time.advance(Seconds(1));
  for (const bool dismissible : {false, true}) {
    onboarding.setHUDCoaching(OnboardingModel::HUDCoaching{.dismissible = dismissible});
    delegate->route(HotKeyMonitor::Event::cancel);
    EXPECT_EQ(onboarding.hudCoaching().has_value(), !dismissible);
    EXPECT_TRUE(phaseIs<phase::Recording>()) << "the key belongs to the coaching";
  }
  escape();
  EXPECT_TRUE(phaseIs<phase::Idle>());
  EXPECT_EQ(desk.audio.liveStreams(), 0u);
  desk.taps.release(keycode::leftOption);

  desk.secureEntry.enabled = true;
  hold();
  EXPECT_TRUE(phaseIs<phase::Failed>());
  escape();
  EXPECT_TRUE(phaseIs<phase::Idle>());
}

TEST_F(AppDelegateTest, PollsPermissionsAndThePanel) {
  launch();
  std::vector<std::string> seen;
  std::vector<PanelContext> contexts;
  delegate->applyPanel = [&](const PanelContext& context, std::string_view trigger) {
    seen.emplace_back(trigger);
    contexts.push_back(context);
  };
  auto& model = delegate->model();
  poll();
  EXPECT_EQ(model.state().lastKnownMicrophone, true);
  desk.audio.status = MicrophoneAuthorization::denied;
  desk.desktop.trusted = false;
  poll();
  EXPECT_EQ(model.state().lastKnownMicrophone, false);
  EXPECT_EQ(model.state().lastKnownAccessibility, false);
  model.select(AppSection::notes);
  model.onboardingFlow().completeOnboarding();
  model.select(AppSection::notes);
  delegate->dictation().begin();
  model.onboarding().setHUDCoaching(OnboardingModel::HUDCoaching{});
  EXPECT_THAT(seen, ElementsAre("poll", "poll", "phase", "coaching"));
  EXPECT_EQ(contexts.back(), (PanelContext{.floatingPanelEnabled = true,
                                           .dictationBarEnabled = true,
                                           .isIdle = false,
                                           .hasCoaching = true,
                                           .screenIsReady = true,
                                           .sectionIsNotes = true}));
}

TEST_F(AppDelegateTest, TerminationGivesTheClipboardBack) {
  launch();
  delegate->settings().injectionMode = InjectionMode::paste;
  desk.pasteboard.otherPutsText("the user's own");
  delegate->injector().deliver("dictated", InjectionMode::paste);
  EXPECT_EQ(desk.pasteboard.string(), "dictated");
  EXPECT_EQ(delegate->applicationShouldTerminate(), AppDelegate::TerminateReply::terminateNow);
  EXPECT_EQ(desk.pasteboard.string(), "the user's own");
  EXPECT_FALSE(delegate->applicationShouldTerminateAfterLastWindowClosed());
}

TEST_F(AppDelegateTest, TerminationLeavesNoRecordingBehind) {
  auto nothingLeft = [&] {
    return desk.audio.liveStreams() == 0 && std::filesystem::is_empty(desk.scratch());
  };
  launch();
  desk.taps.press(keycode::leftOption);
  desk.time.advance(Seconds(1));
  ASSERT_FALSE(nothingLeft());
  delegate->applicationShouldTerminate();
  EXPECT_TRUE(nothingLeft());
  EXPECT_TRUE(phaseIs<phase::Idle>());
  desk.taps.release(keycode::leftOption);

  // The key is up before the user allows the microphone: that recording belongs to no dictation.
  desk.audio.status = MicrophoneAuthorization::notDetermined;
  hold();
  desk.audio.answerAccess(true);
  desk.time.runReady();
  ASSERT_FALSE(nothingLeft());
  delegate->applicationShouldTerminate();
  EXPECT_TRUE(nothingLeft());
}

TEST_F(AppDelegateTest, ADictationNeedsNoStoreAndSaysThatThereIsNone) {
  std::filesystem::create_directories(desk.support() / "Pell" / "pell.db");  // a folder where the file goes
  launch();
  EXPECT_EQ(delegate->model().store().dictations(), nullptr);
  const auto banner = delegate->model().state().banner.get().value_or("");
  EXPECT_THAT(banner, ::testing::StartsWith("Could not open the notes database: "));
  auto logged = desk.log.lines("store_unavailable");
  ASSERT_EQ(logged.size(), 1u);
  EXPECT_EQ(logged[0]["level"], "ERROR");
  EXPECT_EQ(logged[0]["reason"], banner);
  delegate->dictation().begin();
  EXPECT_TRUE(phaseIs<phase::Recording>());
}

TEST_F(AppDelegateTest, SweepsWhatACrashLeft) {
  auto orphan = desk.scratch() / "pell-00000000-0000-4000-8000-000000000000.m4a";
  std::ofstream(orphan) << "speech";
  desk.time.setDate(Date(std::chrono::system_clock::now().time_since_epoch()) + Seconds(901));
  launch();
  EXPECT_FALSE(std::filesystem::exists(orphan));
}

TEST_F(AppDelegateTest, MayBeDestroyedAtEveryStep) {
  // Steps over a whole dictation, ended after one more piece of work in each round.
  for (int steps = 0;; ++steps) {
    MemoryPlatform fresh;
    fresh.desktop.launchEditor();
    auto app = std::make_unique<AppDelegate>(fresh.platform());
    fresh.secureItems.put(app->config().keychainService(), std::string(Keychain::refreshTokenAccount), "r");
    fresh.http.responder = [](const HttpRequest&) -> std::optional<MemoryHttpSession::Reply> {
      return MemoryHttpSession::Reply{.outcome = HttpResponse{.status = 401, .headers = {}, .body = "{}"},
                                      .delay = Seconds(0.05)};
    };
    app->applicationDidFinishLaunching();
    fresh.taps.press(keycode::leftOption);
    auto release =
        fresh.time.main().postAfter(Seconds(0.5), [&] { fresh.taps.release(keycode::leftOption); });
    for (int step = 0; step < steps; ++step) fresh.time.step();
    const bool over = fresh.time.main().now() > Instant(std::chrono::seconds(2));
    app.reset();
    EXPECT_EQ(fresh.audio.liveStreams(), 0u);
    EXPECT_EQ(fresh.taps.liveTaps(), 0u);
    EXPECT_EQ(fresh.activity.held(), 0);
    fresh.time.advance(Seconds(10));
    if (over) break;
  }
}

}  // namespace
}  // namespace pell::testing
