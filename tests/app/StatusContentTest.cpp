#include <gtest/gtest.h>

#include "app/StatusContent.h"

namespace pell {
namespace {

StatusContent content(StatusInput input) {
  return statusContent(input, [](std::string_view text) { return std::string(text); });
}

TEST(StatusContentTest, EachPhaseSaysWhatHappensAndHowToGoOn) {
  auto recording = content({.phase = phase::Recording{}});
  EXPECT_EQ(recording.title, "Listening…");
  EXPECT_EQ(recording.detail, "Release ⌥ to finish · esc cancels");
  EXPECT_EQ(recording.toggleTitle, "End Dictation");
  EXPECT_TRUE(recording.canCancel);
  auto toggled = content({.phase = phase::Recording{}, .trigger = HotKeyTrigger::toggleControlOptionSpace});
  EXPECT_EQ(toggled.detail, "Press ⌃⌥Space to finish · esc cancels");
  EXPECT_EQ(content({.phase = phase::Transcribing{}, .isPolishing = true}).title, "Polishing…");
  auto failed = content({.phase = phase::Failed{"The server is away."}});
  EXPECT_EQ(failed.tooltip, "Dictation failed\nThe server is away.");
  EXPECT_FALSE(failed.canCancel);
  EXPECT_EQ(failed.toggleTitle, "Start Dictation");
}

TEST(StatusContentTest, IdleTellsWhenTheKeyCannotBeWatched) {
  EXPECT_EQ(content({.phase = phase::Idle{}}).detail, "Hold ⌥ · double-tap for hands-free");
  EXPECT_FALSE(content({.phase = phase::Idle{}}).offersAccessibility);
  auto off = content({.phase = phase::Idle{}, .hasAccessibility = false});
  EXPECT_NE(off.detail.find("accessibility"), std::string::npos);
  EXPECT_TRUE(off.offersAccessibility);
}

}  // namespace
}  // namespace pell
