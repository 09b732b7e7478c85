#include "linux/X11Worlds.h"
#include "platform/linux/X11SecureEntry.h"

namespace pell::testing {
namespace {

class Plain : public World {};

TEST(X11SecureEntryTest, IsOnWhileAnotherProgramHasTheKeyboard) {
  X11World<Plain> world;
  auto secureEntry = mustOpen<X11SecureEntry>();
  auto window = world.user.openWindow({.instance = "front", .className = "Front"});
  XClient prompt;
  for (int round = 0; round < 3; ++round) {
    EXPECT_FALSE(secureEntry->isEnabled());
    ASSERT_TRUE(prompt.grabKeyboard()) << "the probe left a grab behind";
    EXPECT_TRUE(secureEntry->isEnabled());
    prompt.ungrabKeyboard();
  }
  EXPECT_FALSE(secureEntry->isEnabled());
  EXPECT_TRUE(world.user.isActive(window)) << "the probe moved the focus";
}

}  // namespace
}  // namespace pell::testing
