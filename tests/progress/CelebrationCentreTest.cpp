#include <fmt/core.h>
#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include "progress/CelebrationCentre.h"
#include "support/VirtualTime.h"

namespace pell {
namespace {

using ::testing::ElementsAre;

/// Keeps what the user saw and heard, with the time.
class CelebrationCentreTest : public ::testing::Test {
 protected:
  testing::VirtualTime time;
  bool sounds = false;
  CelebrationCentre centre{time.main(), [this] { return sounds; }};
  std::vector<std::string> story;
  const Date beginning = time.now();
  Subscription watch = centre.showing.subscribe([this] {
    const auto& card = centre.showing.get();
    story.push_back(
        fmt::format("{:.2f} {}", Seconds(time.now() - beginning).count(), card ? card->id : "nothing"));
  });

  void SetUp() override {
    centre.onSound = [this](std::string_view name) { story.emplace_back(name); };
  }
};

TEST_F(CelebrationCentreTest, CardsComeOneAfterTheOther) {
  sounds = true;
  centre.celebrate({"words.newer"});
  centre.celebrate({"words.1", "words.newer", "action.microphone"});
  EXPECT_TRUE(story.empty());
  time.advance(Seconds(5));
  centre.celebrate(*Badges::milestone("words.1"));  // again, and waiting its turn
  time.advance(Seconds(55));
  EXPECT_THAT(story, ElementsAre("0.00 words.1", "Glass", "3.20 nothing", "3.55 action.microphone", "Tink",
                                 "6.75 nothing", "7.10 words.1", "Glass", "10.30 nothing"));
}

TEST_F(CelebrationCentreTest, DismissalBringsTheNextCardAtOnce) {
  centre.celebrate({"words.1", "words.100", "words.1000"});
  time.advance(Seconds(1));
  centre.dismiss();
  time.advance(Seconds(3.3));  // in the gap behind the second
  centre.dismiss();
  time.runReady();
  centre.dismiss();
  centre.dismiss();  // nothing left
  Subscription impatient = centre.showing.subscribe([this] {
    if (centre.showing.get()) centre.dismiss();
  });
  centre.celebrate({"words.1"});
  time.advance(Seconds(10));
  impatient.reset();
  centre.celebrate({"words.1"});
  time.advance(Seconds(10));
  EXPECT_THAT(story,
              ElementsAre("0.00 words.1", "1.00 nothing", "1.00 words.100", "4.20 nothing", "4.30 words.1000",
                          "4.30 nothing", "4.30 words.1", "4.30 nothing", "14.30 words.1", "17.50 nothing"));
}

}  // namespace
}  // namespace pell
