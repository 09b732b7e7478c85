#include <gtest/gtest.h>
#include <set>

#include "progress/Badges.h"

namespace pell {
namespace {

TEST(BadgesTest, WordsFindTheirRungs) {
  struct Case {
    std::int64_t words;
    std::string reached;
    std::string next;
    double progress;
  };
  for (const Case& c : std::vector<Case>{{-5, "none", "words.1", 0},
                                         {0, "none", "words.1", 0},
                                         {1, "words.1", "words.100", 0.01},
                                         {99, "words.1", "words.100", 0.99},
                                         {100, "words.100", "words.1000", 0.1},
                                         {500, "words.100", "words.1000", 0.5},
                                         {74999, "words.50000", "words.75000", 74999 / 75000.0},
                                         {9999999, "words.5000000", "words.10000000", 0.9999999},
                                         {10000000, "words.10000000", "none", 1},
                                         {INT64_MAX, "words.10000000", "none", 1}}) {
    const auto id = [](const auto& badge) { return badge ? badge->id : "none"; };
    EXPECT_EQ(id(Badges::badge(c.words)), c.reached) << c.words;
    EXPECT_EQ(id(Badges::nextBadge(c.words)), c.next) << c.words;
    EXPECT_DOUBLE_EQ(Badges::progress(c.words), c.progress) << c.words;
  }
}

TEST(BadgesTest, DurationsAreRoundedToTheirUnit) {
  struct Case {
    std::int64_t seconds;
    std::string label;
  };
  for (const Case& c : std::vector<Case>{{0, "0 minutes"},
                                         {29, "0 minutes"},
                                         {30, "1 minute"},
                                         {89, "1 minute"},
                                         {90, "2 minutes"},
                                         {3599, "60 minutes"},
                                         {3600, "1 hour"},
                                         {5399, "1 hour"},
                                         {5400, "2 hours"},
                                         {7200000, "2000 hours"}}) {
    EXPECT_EQ(Badges::durationLabel(c.seconds), c.label);
  }
  EXPECT_EQ(Badges::milestone("seconds.3600")->title, "1 hour spoken");
  EXPECT_EQ(Badges::milestone("seconds.600")->blurb, "You have dictated for 10 minutes in total.");
  EXPECT_FALSE(Badges::milestone("seconds.61"));
  EXPECT_FALSE(Badges::milestone("Words.1"));
}

// What the look-ups rely on, whoever adds a row.
TEST(BadgesTest, TheCatalogueIsInOrder) {
  std::set<std::string> ids;
  for (const auto& milestone : Badges::all()) {
    EXPECT_TRUE(ids.insert(milestone.id).second) << milestone.id;
    const std::string kind(rawValue(milestone.kind));
    EXPECT_TRUE(milestone.id.starts_with(kind + ".")) << milestone.id;
    if (kind != "action") {
      EXPECT_EQ(milestone.id, kind + "." + std::to_string(milestone.threshold));
    }
    EXPECT_EQ(milestone.rank > 0, kind == "words") << milestone.id;
    EXPECT_FALSE(milestone.title.empty() || milestone.blurb.empty() || milestone.icon.empty());
  }
  EXPECT_EQ(ids.size(), 30u);
  for (std::size_t at = 1; at < Badges::badges().size(); ++at) {
    EXPECT_GT(Badges::badges()[at].threshold, Badges::badges()[at - 1].threshold);
    EXPECT_EQ(Badges::badges()[at].rank, static_cast<int>(at) + 1);
  }
  const std::string fingerprint = Badges::fingerprint();
  EXPECT_TRUE(fingerprint.starts_with("words.1:1:First Word|words.100:100:Talker|"));
  EXPECT_TRUE(fingerprint.ends_with("|words.10000000:10000000:Immortal Voice"));
}

}  // namespace
}  // namespace pell
