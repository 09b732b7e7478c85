#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <sstream>

#include "pipeline/HotKeyMonitor.h"
#include "support/MemoryPlatform.h"

namespace pell {
namespace {

using ::testing::ElementsAre;
using ::testing::IsEmpty;
using testing::MemoryEventTaps;
using testing::MemoryPlatform;

class HotKeyMonitorTest : public ::testing::Test {
 protected:
  HotKeyMonitorTest() {
    monitor.onShortTap = [this] { events += " tap"; };
  }

  /// What came out since the last call, each with a blank before it.
  std::string heard() {
    desk.time.runReady();
    return std::exchange(events, "");
  }

  /// Plays a scene in words: "opt+" and "opt-" press and release the left Option key, "ropt" the right one,
  /// "cmd" right Command, "fn" Fn, "ctrl", "shift"; "key", "esc", "space", "click", "rclick"; a number lets
  /// seconds pass. Gives what was delivered.
  std::string play(const std::string& scene) {
    std::istringstream words(scene);
    for (std::string word; words >> word;) act(word);
    return heard();
  }

  void act(const std::string& word) {
    static const std::map<std::string, int> modifiers{
        {"opt", keycode::leftOption},          {"ropt", keycode::rightOption},
        {"cmd", keycode::rightCommand},        {"fn", MemoryEventTaps::functionKey},
        {"ctrl", MemoryEventTaps::controlKey}, {"shift", MemoryEventTaps::shiftKey}};
    static const std::map<std::string, int> keys{
        {"key", keycode::other}, {"esc", keycode::escape}, {"space", keycode::space}};
    if (auto key = keys.find(word); key != keys.end()) {
      if (!desk.taps.press(key->second)) ++swallowed;
    } else if (word == "click") {
      desk.taps.feed({.type = TapEventType::leftMouseDown});
    } else if (word == "rclick") {
      desk.taps.feed({.type = TapEventType::rightMouseDown});
    } else if (word.back() == '+') {
      desk.taps.press(modifiers.at(word.substr(0, word.size() - 1)));
    } else if (word.back() == '-') {
      desk.taps.release(modifiers.at(word.substr(0, word.size() - 1)));
    } else {
      desk.time.advance(Seconds(std::stod(word)));
    }
  }

  MemoryPlatform desk;
  Log log{desk.log};
  std::string events;
  int swallowed = 0;
  HotKeyMonitor monitor{desk.taps, desk.time.main(), log, [this](HotKeyMonitor::Event event) {
                          using Event = HotKeyMonitor::Event;
                          events += event == Event::begin    ? " begin"
                                    : event == Event::end    ? " end"
                                    : event == Event::toggle ? " toggle"
                                                             : " cancel";
                        }};
};

TEST_F(HotKeyMonitorTest, TellsHoldsTapsAndShortcutsOfOptionApart) {
  struct Case {
    const char* what;
    const char* scene;
    const char* expected;
  };
  const Case cases[] = {
      {"a short tap", "opt+ 0.29 opt-", " tap"},
      {"a hold", "opt+ 0.3 0.5 opt-", " begin end"},
      {"a hold is no tap", "opt+ 0.3 opt- 0.05 opt+ 0.05 opt-", " begin end tap"},
      {"a double tap", "opt+ 0.1 opt- 0.3 opt+ 0.1 opt-", " tap begin"},
      {"two taps too far apart", "opt+ 0.1 opt- 0.31 opt+ 0.1 opt-", " tap tap"},
      {"the third tap ends it", "opt+ opt- 0.1 opt+ opt- 5 opt+ 0.1 opt-", " tap begin end"},
      {"a long press ends it too", "opt+ opt- 0.1 opt+ opt- 5 opt+ 2 opt-", " tap begin end"},
      {"the tap that ends it is no first tap", "opt+ opt- 0.1 opt+ opt- 1 opt+ opt- 0.1 opt+ opt-",
       " tap begin end tap"},
      {"a second press that stays down is a hold", "opt+ opt- 0.1 opt+ 0.5 opt-", " tap begin end"},
      {"a shortcut", "opt+ 0.1 key 1 opt-", ""},
      {"a shortcut by the mouse", "opt+ 0.1 click opt- 1 opt+ 0.1 rclick 0.4 opt-", ""},
      {"a shortcut forgets the tap before it", "opt+ opt- 0.1 opt+ key opt- 0.1 opt+ opt-", " tap tap"},
      {"a shortcut during a hold", "opt+ 0.5 key key 0.5 opt-", " begin cancel"},
      {"a click during a hold", "opt+ 0.5 click 0.5 opt-", " begin cancel"},
      {"another modifier changes nothing", "opt+ 0.1 shift+ 0.1 shift- 0.2 opt-", " begin end"},
      {"typing while hands-free", "opt+ opt- 0.1 opt+ opt- key click 1 opt+ key opt-", " tap begin end"},
      {"escape while idle", "esc", " cancel"},
      {"escape while armed", "opt+ 0.1 esc 1 opt-", " cancel tap"},
      {"escape during a hold", "opt+ 0.5 esc 0.5 opt-", " begin cancel tap"},
      {"escape while hands-free", "opt+ opt- 0.1 opt+ opt- 1 esc 0.1 opt+ opt-", " tap begin cancel tap"},
      {"escape with the hands-free key down", "opt+ opt- 0.1 opt+ opt- 1 opt+ esc opt-",
       " tap begin cancel tap"},
      {"escape forgets the tap before it", "opt+ opt- esc opt+ opt-", " tap cancel tap"},
      {"the other Option key", "ropt+ 0.5 ropt-", " begin end"},
      {"swapping the keys", "opt+ 0.2 ropt+ opt- 0.2 ropt-", " begin end"},
      {"the second key alone ends nothing", "opt+ 0.5 ropt+ ropt- 0.5 opt-", " begin end"},
  };
  for (const auto& test : cases) {
    ASSERT_TRUE(monitor.start(HotKeyTrigger::holdOption));
    EXPECT_EQ(play(test.scene), test.expected) << test.what;
    desk.time.advance(Seconds(1));
    EXPECT_EQ(heard(), "") << test.what;
  }
  EXPECT_EQ(swallowed, 0);
}

TEST_F(HotKeyMonitorTest, TheOtherHoldKeysWorkAtOnce) {
  struct Case {
    HotKeyTrigger trigger;
    const char* scene;
    const char* expected;
  };
  const Case cases[] = {
      {HotKeyTrigger::holdFn, "fn+ fn-", " begin end"},
      {HotKeyTrigger::holdFn, "fn+ shift+ key click shift- fn-", " begin end"},
      {HotKeyTrigger::holdFn, "fn+ esc fn-", " begin cancel end"},
      {HotKeyTrigger::holdFn, "opt+ 0.5 opt- cmd+ cmd-", ""},
      {HotKeyTrigger::holdRightCommand, "cmd+ 2 cmd-", " begin end"},
      {HotKeyTrigger::holdRightCommand, "cmd+ key cmd-", " begin end"},
      {HotKeyTrigger::holdRightCommand, "fn+ fn- opt+ opt-", ""},
  };
  for (const auto& test : cases) {
    ASSERT_TRUE(monitor.start(test.trigger));
    EXPECT_EQ(play(test.scene), test.expected) << rawValue(test.trigger) << ": " << test.scene;
  }
}

TEST_F(HotKeyMonitorTest, TheChordTogglesAndIsSwallowed) {
  ASSERT_TRUE(monitor.start(HotKeyTrigger::toggleControlOptionSpace));
  EXPECT_EQ(desk.taps.lastMode, TapMode::active);
  EXPECT_EQ(play("ctrl+ opt+ space shift+ space shift-"), " toggle toggle");
  EXPECT_EQ(swallowed, 2);
  EXPECT_EQ(play("cmd+ space cmd- key opt- space ctrl- space"), "");
  EXPECT_EQ(play("esc opt+ 1 opt-"), " cancel");
  EXPECT_EQ(swallowed, 2);
}

TEST_F(HotKeyMonitorTest, MasksTheReleasesThatWereATrigger) {
  struct Case {
    HotKeyTrigger trigger;
    const char* scene;
    int masks;
  };
  const Case cases[] = {
      {HotKeyTrigger::holdOption, "opt+ 0.1 opt-", 0},
      {HotKeyTrigger::holdOption, "opt+ 0.5 opt-", 1},
      {HotKeyTrigger::holdOption, "opt+ 0.1 key opt-", 0},
      {HotKeyTrigger::holdOption, "opt+ opt- 0.1 opt+ opt-", 1},
      {HotKeyTrigger::holdOption, "opt+ opt- 0.1 opt+ opt- 1 opt+ opt-", 2},
      {HotKeyTrigger::holdOption, "opt+ opt- 1 opt+ opt-", 0},
      {HotKeyTrigger::holdRightCommand, "cmd+ cmd-", 1},
      {HotKeyTrigger::holdFn, "fn+ fn-", 0},
  };
  for (const auto& test : cases) {
    ASSERT_TRUE(monitor.start(test.trigger));
    desk.taps.maskedReleases = 0;
    play(test.scene);
    EXPECT_EQ(desk.taps.maskedReleases, test.masks) << test.scene;
  }
}

TEST_F(HotKeyMonitorTest, EventsReachTheHandlerLaterAndNeverAfterTheMonitor) {
  events.clear();
  auto shortLived = std::make_unique<HotKeyMonitor>(desk.taps, desk.time.main(), log,
                                                    [this](HotKeyMonitor::Event) { events += " late"; });
  ASSERT_TRUE(shortLived->start(HotKeyTrigger::holdFn));
  desk.taps.press(MemoryEventTaps::functionKey);
  EXPECT_EQ(events, "");
  EXPECT_EQ(heard(), " late");
  desk.taps.release(MemoryEventTaps::functionKey);
  desk.taps.press(keycode::escape);
  shortLived.reset();
  EXPECT_EQ(heard(), "");
  EXPECT_EQ(desk.taps.liveTaps(), 0u);
}

TEST_F(HotKeyMonitorTest, EnsureRunningKeepsARunningTapAndItsHold) {
  ASSERT_TRUE(monitor.ensureRunning(HotKeyTrigger::holdOption));
  EXPECT_EQ(play("opt+ 0.5"), " begin");
  EXPECT_TRUE(monitor.ensureRunning(HotKeyTrigger::holdOption));
  EXPECT_EQ(desk.taps.created, 1);
  EXPECT_EQ(play("opt-"), " end");

  EXPECT_TRUE(monitor.ensureRunning(HotKeyTrigger::holdFn));
  EXPECT_EQ(desk.taps.created, 2);
  EXPECT_EQ(desk.taps.liveTaps(), 1u);
  EXPECT_EQ(play("opt+ 0.5 opt- fn+ fn-"), " begin end");
}

TEST_F(HotKeyMonitorTest, StoppingDuringAHoldDeliversNothing) {
  ASSERT_TRUE(monitor.start(HotKeyTrigger::holdOption));
  EXPECT_EQ(play("opt+ 0.5"), " begin");
  monitor.stop();
  EXPECT_FALSE(monitor.isActive());
  EXPECT_EQ(play("opt- 1"), "");
  ASSERT_TRUE(monitor.start(HotKeyTrigger::holdOption));
  EXPECT_EQ(play("opt+ 0.1"), "");
  monitor.stop();
  EXPECT_EQ(play("1"), "");
}

TEST_F(HotKeyMonitorTest, ReenablesThreeTimesAMinuteAndThenGivesUpForOne) {
  ASSERT_TRUE(monitor.start(HotKeyTrigger::holdFn));
  for (int count = 1; count <= 3; ++count) {
    desk.taps.disableBySystem(TapEventType::tapDisabledByUserInput);
    EXPECT_EQ(play("fn+ fn-"), " begin end") << count;
    EXPECT_EQ(desk.log.lines("hotkey_tap_reenabled").back()["count_in_window"], count);
    desk.time.advance(Seconds(1));
  }
  // The first one is 60 s old, which still counts; a moment later it would not.
  desk.time.advance(Seconds(57));
  desk.taps.disableBySystem();
  EXPECT_FALSE(monitor.isActive());
  auto abandoned = desk.log.lines("hotkey_tap_abandoned");
  ASSERT_EQ(abandoned.size(), 1u);
  EXPECT_EQ(abandoned[0], nlohmann::json::parse(R"({"level":"ERROR","event":"hotkey_tap_abandoned",
                            "reenables":4,"window_seconds":60,"suspended_seconds":60})"));

  desk.log.clear();
  desk.time.advance(Seconds(59));
  EXPECT_FALSE(monitor.start(HotKeyTrigger::holdFn));
  EXPECT_THAT(desk.log.events(), IsEmpty());
  desk.time.advance(Seconds(1));
  EXPECT_TRUE(monitor.ensureRunning(HotKeyTrigger::holdFn));
  EXPECT_THAT(desk.log.events(), ElementsAre("INFO hotkey_started", "WARN hotkey_tap_resumed"));
  EXPECT_EQ(play("fn+ fn-"), " begin end");
}

TEST_F(HotKeyMonitorTest, OldReenablesAreForgotten) {
  ASSERT_TRUE(monitor.start(HotKeyTrigger::holdFn));
  for (int count = 0; count < 12; ++count) {
    desk.taps.disableBySystem();
    desk.time.advance(Seconds(20.1));
    EXPECT_TRUE(monitor.isActive()) << count;
  }
}

}  // namespace
}  // namespace pell
