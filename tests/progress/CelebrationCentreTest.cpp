#include <fmt/core.h>
#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include "progress/CelebrationCentre.h"
#include "support/VirtualTime.h"

namespace pell {
namespace {

using ::testing::ElementsAre;
using ::testing::IsEmpty;

/// Keeps what the user saw and heard, with the time.
class CelebrationCentreTest : public ::testing::Test {
 protected:
  testing::VirtualTime time;
  bool sounds = true;
  std::optional<CelebrationCentre> centre{std::in_place, time.main(), [this] { return sounds; }};
  std::vector<std::string> story;
  Subscription watch = centre->showing.subscribe([this] { tell(card()); });
  const Date beginning = time.now();

  CelebrationCentreTest() {
    centre->onSound = [this](std::string_view name) { story.emplace_back(name); };
  }

  std::string card() const { return centre->showing.get() ? centre->showing.get()->id : "nothing"; }
  void tell(const std::string& what) {
    story.push_back(fmt::format("{:.2f} {}", Seconds(time.now() - beginning).count(), what));
  }
};

TEST_F(CelebrationCentreTest, CardsComeOneAfterTheOther) {
  centre->celebrate({"words.1", "words.newer", "action.microphone", "words.1"});
  EXPECT_THAT(story, IsEmpty());
  time.advance(Seconds(60));
  EXPECT_THAT(story, ElementsAre("0.00 words.1", "Glass", "3.20 nothing",           //
                                 "3.55 action.microphone", "Tink", "6.75 nothing",  //
                                 "7.10 words.1", "Glass", "10.30 nothing"));

  story.clear();
  sounds = false;
  centre->celebrate(*Badges::milestone("seconds.60"));
  time.advance(Seconds(1));
  centre->celebrate({"words.100"});  // waits its turn
  time.advance(Seconds(60));
  EXPECT_THAT(story, ElementsAre("60.00 seconds.60", "63.20 nothing", "63.55 words.100", "66.75 nothing"));
}

TEST_F(CelebrationCentreTest, NothingKnownStartsNothing) {
  centre->celebrate(std::vector<std::string>{});
  centre->celebrate({"words.newer", "action.newer"});
  time.advance(Seconds(60));
  EXPECT_THAT(story, IsEmpty());
}

TEST_F(CelebrationCentreTest, DismissalBringsTheNextCardAtOnce) {
  sounds = false;
  centre->celebrate({"words.1", "words.100", "words.1000"});
  time.advance(Seconds(1));
  centre->dismiss();
  time.advance(Seconds(3.3));  // in the gap behind the second
  EXPECT_EQ(card(), "nothing");
  centre->dismiss();
  time.runReady();
  EXPECT_EQ(card(), "words.1000");
  centre->dismiss();
  centre->dismiss();  // nothing left
  time.advance(Seconds(10));
  centre->celebrate({"action.microphone"});
  time.advance(Seconds(10));
  EXPECT_THAT(story,
              ElementsAre("0.00 words.1", "1.00 nothing", "1.00 words.100", "4.20 nothing", "4.30 words.1000",
                          "4.30 nothing", "14.30 action.microphone", "17.50 nothing"));
}

TEST_F(CelebrationCentreTest, ScreensMayDismissAsTheyHear) {
  sounds = false;
  Subscription impatient = centre->showing.subscribe([this] {
    if (centre->showing.get()) centre->dismiss();
  });
  centre->celebrate({"words.1", "words.100"});
  time.advance(Seconds(20));
  EXPECT_EQ(card(), "nothing");
  impatient.reset();
  story.clear();
  centre->celebrate({"words.1"});
  time.advance(Seconds(20));
  EXPECT_THAT(story, ElementsAre("20.00 words.1", "23.20 nothing"));
}

TEST_F(CelebrationCentreTest, MayGoAtAnyTime) {
  centre->celebrate({"words.1", "words.100"});
  time.advance(Seconds(3.3));
  centre.reset();
  time.advance(Seconds(20));
}

}  // namespace
}  // namespace pell
