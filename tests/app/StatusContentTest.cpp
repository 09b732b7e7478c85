#include <gtest/gtest.h>

#include "app/StatusContent.h"

namespace pell {
namespace {

TEST(StatusContentTest, EachPhaseSaysWhatHappensAndHowToGoOn) {
  struct {
    StatusInput input;
    const char* tooltip;
    bool ends, offers;
  } const cases[] = {
      {{.phase = phase::Idle{}}, "Pell\nHold ⌥ · double-tap for hands-free", false, false},
      {{.phase = phase::Idle{}, .hasAccessibility = false},
       "Pell\nThe desktop's accessibility service is off, so Pell cannot watch the key.",
       false,
       true},
      {{.phase = phase::Recording{}}, "Listening…\nRelease ⌥ to finish · esc cancels", true, false},
      {{.phase = phase::Recording{}, .trigger = HotKeyTrigger::toggleControlOptionSpace},
       "Listening…\nPress ⌃⌥Space to finish · esc cancels",
       true,
       false},
      {{.phase = phase::Transcribing{}, .isPolishing = true}, "Polishing…", false, false},
      {{.phase = phase::Failed{"The server is away."}},
       "Dictation failed\nThe server is away.",
       false,
       false},
  };
  for (const auto& [input, tooltip, ends, offers] : cases) {
    const auto content = statusContent(input, [](std::string_view text) { return std::string(text); });
    EXPECT_EQ(content.tooltip, tooltip);
    EXPECT_EQ(content.toggleTitle, ends ? "End Dictation" : "Start Dictation") << tooltip;
    EXPECT_EQ(content.canCancel, ends) << tooltip;
    EXPECT_EQ(content.offersAccessibility, offers) << tooltip;
  }
}

}  // namespace
}  // namespace pell
