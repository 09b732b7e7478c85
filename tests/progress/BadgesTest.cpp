#include <gtest/gtest.h>

#include "progress/Badges.h"

namespace pell {
namespace {

TEST(BadgesTest, WordsFindTheirRungs) {
  struct Case {
    std::int64_t words;
    const char* reached;
    const char* next;
    double progress;
  };
  for (const Case& c :
       {Case{-5, "", "words.1", 0}, Case{0, "", "words.1", 0}, Case{1, "words.1", "words.100", 0.01},
        Case{99, "words.1", "words.100", 0.99}, Case{100, "words.100", "words.1000", 0.1},
        Case{500, "words.100", "words.1000", 0.5}, Case{10'000'000, "words.10000000", "", 1}}) {
    const auto id = [](const auto& badge) { return badge ? badge->id : ""; };
    EXPECT_EQ(id(Badges::badge(c.words)), c.reached) << c.words;
    EXPECT_EQ(id(Badges::nextBadge(c.words)), c.next) << c.words;
    EXPECT_DOUBLE_EQ(Badges::progress(c.words), c.progress) << c.words;
  }
}

TEST(BadgesTest, TheCatalogueIsWhole) {
  EXPECT_EQ(Badges::all().size(), 30u);
  for (std::size_t at = 1; at < Badges::badges().size(); ++at) {
    EXPECT_GT(Badges::badges()[at].threshold, Badges::badges()[at - 1].threshold);  // the look-ups rely on it
  }
  for (const auto& milestone : Badges::all()) {
    const auto number =
        milestone.kind == Badges::Milestone::Kind::action ? "" : std::to_string(milestone.threshold);
    EXPECT_TRUE(milestone.id.starts_with(std::string(rawValue(milestone.kind)) + "." + number))
        << milestone.id;
    EXPECT_EQ(Badges::milestone(milestone.id), milestone);
  }
  EXPECT_FALSE(Badges::milestone("seconds.61"));
  EXPECT_EQ(Badges::milestone("seconds.3600")->title, "1 hour spoken");
  EXPECT_EQ(Badges::durationLabel(3599), "60 minutes");
  EXPECT_EQ(Badges::durationLabel(5400), "2 hours");
  EXPECT_EQ(Badges::fingerprint().substr(0, 41), "words.1:1:First Word|words.100:100:Talker");
}

}  // namespace
}  // namespace pell
