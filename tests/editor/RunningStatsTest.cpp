#include <gtest/gtest.h>

#include "editor/RandomText.h"
#include "editor/RunningStats.h"

namespace pell::testing {
namespace {

/// A note that is typed into, cut and pasted, in scripts whose characters join over white space.
TEST(RunningStatsTest, CountsWhatIsCountedFromScratch) {
  for (unsigned seed = 0; seed < 60; ++seed) {
    RandomText random(seed);
    RunningStats running(1 + random.below(40));
    std::string text;
    for (int edit = 0; edit < 60; ++edit) {
      if (random.below(25) == 0) text.clear();
      const auto size = static_cast<unsigned>(text.size());
      const unsigned at = random.below(size + 1);
      const unsigned removed = random.below(3) == 0 ? random.below(size - at + 1) : 0;
      std::string added = random.text(static_cast<int>(random.below(random.below(4) == 0 ? 80 : 3)));
      if (random.below(3) == 0) added += random.below(2) == 0 ? " word " : "\nशब्द\n";
      text.replace(at, removed, added);
      ASSERT_EQ(running.update(text), TextCounting::stats(text)) << "seed " << seed << ", edit " << edit;
    }
  }
}

}  // namespace
}  // namespace pell::testing
