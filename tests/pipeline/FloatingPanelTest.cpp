#include <array>
#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include "pipeline/FloatingPanelController.h"
#include "pipeline/HudContent.h"
#include "stores/Log.h"
#include "support/MemoryLog.h"
#include "support/MemoryPlatform.h"

namespace pell {
namespace {

using enum PanelPresentation;
using ::testing::ElementsAre;
using ::testing::IsEmpty;
using testing::MemoryLog;

TEST(PanelPolicyTest, EveryCombinationIsDecided) {
  // One row of the decision: '1' and '0' must hold, '.' may be anything. The first that fits counts.
  struct Row {
    const char* pattern;  // enabled, bar, idle, coaching, active, ready, notes
    PanelPresentation result;
  };
  constexpr std::array rows{Row{"0......", hidden},   Row{"1.0.111", hidden},    Row{"1.0....", expanded},
                            Row{"1.11...", expanded}, Row{"111001.", collapsed}, Row{"1......", hidden}};
  for (unsigned bits = 0; bits < 128; ++bits) {
    std::string facts;
    for (int fact = 0; fact < 7; ++fact) facts += (bits >> fact & 1) != 0 ? '1' : '0';
    const PanelContext context{.floatingPanelEnabled = facts[0] == '1',
                               .dictationBarEnabled = facts[1] == '1',
                               .isIdle = facts[2] == '1',
                               .hasCoaching = facts[3] == '1',
                               .pellIsActive = facts[4] == '1',
                               .screenIsReady = facts[5] == '1',
                               .sectionIsNotes = facts[6] == '1'};
    const auto fits = [&](const Row& row) {
      for (std::size_t at = 0; at < facts.size(); ++at) {
        if (row.pattern[at] != '.' && row.pattern[at] != facts[at]) return false;
      }
      return true;
    };
    EXPECT_EQ(PanelPolicy::presentation(context), std::ranges::find_if(rows, fits)->result) << facts;
  }
}

/// A window that keeps the story of what was done to it.
struct RecordedWindow final : PanelWindow {
  RecordedWindow(PanelSize size, std::vector<std::string>& story_) : story(story_) { rect.size = size; }

  std::vector<std::string>& story;
  PanelRect rect;
  bool visible = false;

  PanelRect frame() const override { return rect; }
  bool isVisible() const override { return visible; }
  void setContentSize(PanelSize size) override {
    rect.size = size;
    story.emplace_back("size");
  }
  void setHasShadow(bool hasShadow) override { story.emplace_back(hasShadow ? "shadow" : "no shadow"); }
  void setFrameOrigin(PanelPoint origin) override {
    rect.origin = origin;
    story.emplace_back("place");
  }
  void invalidateShadow() override {}
  void orderFront() override {
    visible = true;
    story.emplace_back("front");
  }
  void orderOut() override {
    visible = false;
    story.emplace_back("out");
  }
};

struct TwoScreens final : PanelScreens {
  PanelPoint mouse{100, 100};
  std::vector<Screen> all{{.frame = {{0, 0}, {1001, 800}}, .visibleFrame = {{0, 40}, {1001, 730}}},
                          {.frame = {{1001, -200}, {600, 1000}}, .visibleFrame = {{1001, -200}, {600, 970}}}};

  PanelPoint mouseLocation() const override { return mouse; }
  std::vector<Screen> screens() const override { return all; }
  std::optional<Screen> mainScreen() const override {
    return all.empty() ? std::nullopt : std::optional(all.front());
  }
};

class FloatingPanelTest : public ::testing::Test {
 protected:
  MemoryLog sink;
  Log log{sink};
  TwoScreens screens;
  std::vector<std::string> story;
  RecordedWindow* window = nullptr;
  int windows = 0;
  FloatingPanelController panel{{.makeWindow =
                                     [this](PanelSize size, PanelState&) {
                                       auto made = std::make_unique<RecordedWindow>(size, story);
                                       window = made.get();
                                       ++windows;
                                       return made;
                                     },
                                 .screens = screens,
                                 .log = log}};

  std::vector<std::string> apply(PanelPresentation presentation) {
    story.clear();
    panel.apply(presentation, "poll");
    return story;
  }
};

TEST_F(FloatingPanelTest, ShowsPlacesAndHidesTheOneWindow) {
  EXPECT_THAT(apply(hidden), IsEmpty());
  EXPECT_EQ(windows, 0);

  EXPECT_THAT(apply(collapsed), ElementsAre("size", "no shadow", "place", "front"));
  EXPECT_EQ(window->rect, (PanelRect{{381, 48}, {240, 88}}));  // 380.5, rounded
  panel.state().hovering = true;

  EXPECT_THAT(apply(expanded), ElementsAre("size", "shadow", "place", "front"));
  EXPECT_EQ(window->rect, (PanelRect{{331, 130}, {340, 74}}));
  EXPECT_EQ(panel.state().presentation, expanded);
  EXPECT_FALSE(panel.state().hovering);

  EXPECT_THAT(apply(hidden), ElementsAre("out"));
  EXPECT_THAT(apply(hidden), IsEmpty());
  EXPECT_THAT(apply(expanded), ElementsAre("size", "shadow", "place", "front"));
  EXPECT_EQ(windows, 1);
  EXPECT_THAT(sink.events(), ElementsAre("INFO bar_shown", "INFO hud_shown", "INFO hud_hidden",  //
                                         "INFO hud_shown"));
  const auto shown = sink.lines("bar_shown").at(0);
  EXPECT_EQ(shown["frame"], "{{381, 48}, {240, 88}}");
  EXPECT_EQ(shown["visible"], true);
  EXPECT_EQ(shown["trigger"], "poll");
}

TEST_F(FloatingPanelTest, FollowsTheMouseInSilence) {
  apply(expanded);
  const std::size_t lines = sink.lines().size();
  EXPECT_THAT(apply(expanded), IsEmpty());
  screens.mouse = {1001, 0};
  EXPECT_THAT(apply(expanded), ElementsAre("place", "front"));
  EXPECT_EQ(window->rect.origin, (PanelPoint{1131, -110}));
  screens.mouse = {5000, 5000};  // between the screens: the main one
  EXPECT_THAT(apply(expanded), ElementsAre("place", "front"));
  EXPECT_EQ(window->rect.origin, (PanelPoint{331, 130}));
  screens.all.clear();
  EXPECT_THAT(apply(expanded), IsEmpty());
  EXPECT_EQ(sink.lines().size(), lines);
  EXPECT_THAT(apply(collapsed), ElementsAre("size", "no shadow", "front"));
}

TEST_F(FloatingPanelTest, HoveringEndsWithTheBar) {
  for (const auto next : {hidden, expanded}) {
    apply(collapsed);
    panel.state().hovering = true;
    apply(collapsed);
    EXPECT_TRUE(panel.state().hovering);
    apply(next);
    EXPECT_FALSE(panel.state().hovering);
  }
}

TEST(HudContentTest, EveryStateSaysWhatItIs) {
  const auto words = testing::MemoryPlatform::words();
  const std::string key = glyph(HotKeyTrigger::holdOption, words);
  const OnboardingModel::HUDCoaching hint{.title = "Try it", .subtitle = "Hold.", .dismissible = true};
  const OnboardingModel::HUDCoaching praise{
      .title = "Well done", .subtitle = "It went in.", .delivered = true};
  const DictationStyle style{.id = "s", .title = "Slack", .description = ""};
  using Click = HudContent::Click;
  using Icon = HudContent::Icon;
  using Tint = HudContent::Tint;
  struct Case {
    HudInput input;
    HudContent expected;
  };
  const std::vector<Case> cases{
      {{}, {.symbol = "mic", .title = "Pell", .secondLine = key}},
      {{.coaching = hint},
       {.symbol = "mic.fill",
        .tint = Tint::accent,
        .title = "Try it",
        .secondLine = "Hold.",
        .offersDismissal = true}},
      {{.coaching = praise},
       {.symbol = "checkmark.circle.fill",
        .tint = Tint::accent,
        .title = "Well done",
        .secondLine = "It went in.",
        .click = Click::completeDictateElsewhere}},
      {{.phase = phase::Recording{},
        .elapsedSeconds = 65,
        .coaching = praise,
        .activeStyle = style,
        .activeStyleSource = StyleResolver::Source::app},
       {.icon = Icon::recordingDot,
        .title = "Listening…",
        .secondLine = "Release " + key + " to finish · esc cancels",
        .showsLevel = true,
        .elapsed = "01:05",
        .style = HudContent::StyleBadge{"Slack", std::string(*label(StyleResolver::Source::app))}}},
      {{.phase = phase::Recording{},
        .trigger = HotKeyTrigger::toggleControlOptionSpace,
        .activeStyle = style},
       {.icon = Icon::recordingDot,
        .title = "Listening…",
        .secondLine = "Press ⌃⌥Space to finish · esc cancels",
        .showsLevel = true,
        .elapsed = "00:00",
        .style = HudContent::StyleBadge{"Slack", std::nullopt}}},
      {{.phase = phase::Transcribing{}, .coaching = praise, .activeStyle = style},
       {.icon = Icon::spinner, .title = "Transcribing…", .secondLine = key}},
      {{.phase = phase::Transcribing{}, .isPolishing = true},
       {.icon = Icon::spinner, .title = "Polishing…", .secondLine = key}},
      {{.phase = phase::Finished{"3 words"}},
       {.symbol = "checkmark.circle.fill", .tint = Tint::accent, .title = "3 words", .secondLine = key}},
      {{.phase = phase::Failed{"No network."}, .coaching = praise},
       {.symbol = "exclamationmark.triangle.fill",
        .tint = Tint::danger,
        .title = "Dictation failed",
        .secondLine = "No network.",
        .click = Click::clearMessage,
        .tooltip = "Click to dismiss"}},
  };
  for (std::size_t at = 0; at < cases.size(); ++at) {
    EXPECT_TRUE(HudContent::of(cases[at].input, words) == cases[at].expected) << "case " << at;
  }
  EXPECT_EQ(BarContent::hint(HotKeyTrigger::holdOption, words), "or hold " + key);
  EXPECT_EQ(BarContent::hint(HotKeyTrigger::toggleControlOptionSpace, words), "or press ⌃⌥Space");
}

}  // namespace
}  // namespace pell
