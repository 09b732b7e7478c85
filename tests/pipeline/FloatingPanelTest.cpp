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

/// The desktop that the panel stands on, with the story of what was done to its window.
struct Desk final : PanelScreens {
  PanelPoint mouse{100, 100};
  std::vector<Screen> all{{.frame = {{0, 0}, {1001, 800}}, .visibleFrame = {{0, 40}, {1001, 730}}},
                          {.frame = {{1001, -200}, {600, 1000}}, .visibleFrame = {{1001, -200}, {600, 970}}}};
  PanelRect rect;
  std::string story;

  PanelPoint mouseLocation() const override { return mouse; }
  std::vector<Screen> screens() const override { return all; }
  std::optional<Screen> mainScreen() const override {
    return all.empty() ? std::nullopt : std::optional(all.front());
  }
};

struct Window final : PanelWindow {
  explicit Window(Desk& its) : desk(its) {}
  Desk& desk;
  PanelRect frame() const override { return desk.rect; }
  bool isVisible() const override { return true; }
  void setContentSize(PanelSize size) override { desk.rect.size = size; }
  void setHasShadow(bool hasShadow) override { desk.story += hasShadow ? "shadow " : "flat "; }
  void setFrameOrigin(PanelPoint origin) override {
    desk.rect.origin = origin;
    desk.story += "place ";
  }
  void invalidateShadow() override {}
  void orderFront() override { desk.story += "front"; }
  void orderOut() override { desk.story += "out"; }
};

TEST(FloatingPanelTest, ShowsPlacesAndHidesTheOneWindow) {
  MemoryLog sink;
  const Log log(sink);
  Desk desk;
  int windows = 0;
  const auto make = [&](PanelSize, PanelState&) { return ++windows, std::make_unique<Window>(desk); };
  FloatingPanelController panel({.makeWindow = make, .screens = desk, .log = log});
  struct Step {
    PanelPresentation presentation;
    PanelPoint mouse;
    std::string story;  // what it takes
    PanelPoint origin;
  };
  const std::vector<Step> steps{
      {hidden, {100, 100}, "", {}},
      {collapsed, {100, 100}, "flat place front", {381, 48}},  // half a point, rounded
      {collapsed, {900, 700}, "", {381, 48}},
      {expanded, {900, 700}, "shadow place front", {331, 130}},
      {expanded, {1001, 0}, "place front", {1131, -110}},   // to the other screen, in silence
      {expanded, {5000, 5000}, "place front", {331, 130}},  // between the screens: the main one
      {hidden, {100, 100}, "out", {331, 130}},
      {hidden, {100, 100}, "", {331, 130}},
      {collapsed, {100, 100}, "flat place front", {381, 48}},
      {hidden, {100, 100}, "out", {381, 48}}};
  for (const Step& step : steps) {
    desk.mouse = step.mouse;
    desk.story.clear();
    panel.apply(step.presentation, "poll");
    EXPECT_EQ(desk.story, step.story);
    EXPECT_EQ(desk.rect.origin, step.origin);
    if (step.presentation != collapsed) {
      EXPECT_FALSE(panel.state().hovering) << "the card would be open the next time";
    }
    panel.state().hovering = step.presentation == collapsed;
  }
  EXPECT_EQ(windows, 1);
  EXPECT_THAT(sink.events(), ElementsAre("INFO bar_shown", "INFO hud_shown", "INFO hud_hidden",
                                         "INFO bar_shown", "INFO hud_hidden"));
  EXPECT_EQ(sink.lines()[0]["frame"], "{{381, 48}, {240, 88}}");
  desk.all.clear();  // no screen: shown where it stands
  desk.story.clear();
  panel.apply(expanded, "poll");
  panel.apply(expanded, "poll");
  EXPECT_EQ(desk.story, "shadow front");
}

TEST(HudContentTest, EveryStateSaysWhatItIs) {
  const OnboardingModel::HUDCoaching hint{.title = "Try it", .subtitle = "Hold.", .dismissible = true};
  const OnboardingModel::HUDCoaching praise{.title = "Done", .subtitle = "It went in.", .delivered = true};
  const DictationStyle style{.id = "s", .title = "Slack", .description = ""};
  struct Case {
    HudInput input;
    std::string icon;
    std::string texts;  // the two lines, and what is shown beside them
    HudContent::Click click = HudContent::Click::nothing;
  };
  const std::vector<Case> cases{
      {{}, "mic", "Pell|⌥"},
      {{.coaching = hint}, "mic.fill", "Try it|Hold.|dismissible"},
      {{.coaching = praise},
       "checkmark.circle.fill",
       "Done|It went in.",
       HudContent::Click::completeDictateElsewhere},
      {{.phase = phase::Recording{},
        .elapsedSeconds = 65,
        .coaching = hint,
        .activeStyle = style,
        .activeStyleSource = StyleResolver::Source::app},
       "",
       "Listening…|Release ⌥ to finish · esc cancels|01:05|Slack this app"},
      {{.phase = phase::Recording{}, .trigger = HotKeyTrigger::toggleControlOptionSpace},
       "",
       "Listening…|Press ⌃⌥Space to finish · esc cancels|00:00"},
      {{.phase = phase::Transcribing{}, .coaching = praise, .activeStyle = style}, "", "Transcribing…|⌥"},
      {{.phase = phase::Transcribing{}, .isPolishing = true}, "", "Polishing…|⌥"},
      {{.phase = phase::Finished{"3 words"}}, "checkmark.circle.fill", "3 words|⌥"},
      {{.phase = phase::Failed{"No network."}, .coaching = praise},
       "exclamationmark.triangle.fill",
       "Dictation failed|No network.",
       HudContent::Click::clearMessage}};
  for (const Case& c : cases) {
    const auto content = HudContent::of(c.input, testing::MemoryPlatform::words());
    std::string texts = content.title + "|" + content.secondLine;
    if (content.elapsed) texts += "|" + *content.elapsed;
    if (content.style) texts += "|" + content.style->title + " " + content.style->reason.value_or("");
    if (content.offersDismissal) texts += "|dismissible";
    EXPECT_EQ(texts, c.texts);
    EXPECT_EQ(content.symbol, c.icon) << c.texts;
    EXPECT_EQ(content.click, c.click) << c.texts;
  }
}

}  // namespace
}  // namespace pell
