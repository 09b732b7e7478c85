#include <gtest/gtest.h>

#include "shell/Mark.h"

namespace pell::mark {
namespace {

TEST(MarkTest, BarsStayInsideTheirImage) {
  for (const Bar& bar : fullCut()) {
    EXPECT_GE(bar.y, -1e-9);
    EXPECT_LE(bar.y + bar.h, 1 + 1e-9);
    EXPECT_GT(bar.h, 0);
  }
  constexpr double height = 18;
  for (const Bar& bar : menuBarBars(height)) {
    EXPECT_GE(bar.x, 0);
    EXPECT_LE(bar.x + bar.w, height);
  }
}

TEST(MarkTest, MessagesOnShowLeaveTheMarkIdle) {
  EXPECT_EQ(menuBarPhase(phase::Recording{}), MenuBarPhase::recording);
  EXPECT_EQ(menuBarPhase(phase::Transcribing{}), MenuBarPhase::transcribing);
  EXPECT_EQ(menuBarPhase(phase::Finished{"3 words"}), MenuBarPhase::idle);
  EXPECT_EQ(menuBarPhase(phase::Failed{"no"}), MenuBarPhase::idle);
}

}  // namespace
}  // namespace pell::mark
