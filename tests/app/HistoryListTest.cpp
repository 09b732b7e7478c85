#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include "app/ModelWorld.h"
#include "editor/RichText.h"

namespace pell::testing {
namespace {

using ::testing::ElementsAre;
using ::testing::IsEmpty;

class HistoryListTest : public ::testing::Test {
 protected:
  void SetUp() override {
    world.open();
    world.model().store().notes()->connection().execute("PRAGMA synchronous = OFF");
  }

  DictationRecord say(const std::string& text) {
    world.desk.time.advance(Seconds(1));
    return world.model().store().dictations()->record({.text = text, .words = 2});
  }
  HistoryList& history() { return world.model().history(); }
  std::vector<std::string> shown() {
    std::vector<std::string> texts;
    for (const auto& record : history().records().get()) texts.push_back(record.text);
    return texts;
  }

  ModelWorld world;
};

TEST_F(HistoryListTest, CountsEverythingAndAgainOnlyWhenARowChangedOrTheDayTurned) {
  auto& dictations = *world.model().store().dictations();
  const auto record = say("one");
  say("else");
  history().setQuery("ONE");
  EXPECT_THAT(shown(), ElementsAre("one"));
  EXPECT_EQ(history().stats().get()->totalDictations, 2) << "whatever the query";
  int changes = 0;
  auto subscription = history().stats().subscribe([&] { ++changes; });
  const std::vector<std::pair<std::function<void()>, int>> cases{
      {[] {}, 0},
      {[&] { say("two"); }, 1},
      {[&] { dictations.setDelivery(record.id, DictationRecord::Delivery::pasted); }, 1},
      {[&] { dictations.setSavedNote(record.id, "n"); }, 1},
      {[&] { dictations.remove(record.id); }, 1},
      {[&] { world.desk.time.advance(Seconds(86400)); }, 1},
      {[&] { dictations.deleteAll(); }, 1},
  };
  for (const auto& [change, expected] : cases) {
    changes = 0;
    // Behind the repository's back: seen only if the statistics are really read again.
    world.model().store().notes()->connection().execute("UPDATE dictations SET words = words + 1");
    change();
    history().reload();
    EXPECT_EQ(changes, expected);
  }
}

TEST_F(HistoryListTest, FilesTheListUnderDaysThatTurnOverByThemselves) {
  world.desk.time.setDate(Calendar::current().startOfDay(world.desk.time.now()) + Seconds(3600));
  for (const bool nextDay : {false, true, false}) {
    if (nextDay) world.desk.time.advance(Seconds(86400));
    say("text");
  }
  history().reload();
  const auto days = [&] {
    std::string found;
    for (const auto& day : history().days()) found += day.title + std::to_string(day.records.size()) + " ";
    return found;
  };
  EXPECT_EQ(days(), "Today2 Yesterday1 ");
  world.desk.time.advance(Seconds(86400));
  EXPECT_THAT(days(), ::testing::StartsWith("Yesterday2 "));
}

TEST_F(HistoryListTest, CarriesOutWhatTheUserDoesWithARecord) {
  const auto record = say("Naïve {draft}\n🎙 \\ two\tend");
  history().copy(record);
  EXPECT_EQ(world.desk.pasteboard.string(), record.text);
  EXPECT_EQ(world.state().banner.get(), "Copied to the clipboard.");

  history().saveAsNote(record);
  EXPECT_EQ(world.state().banner.get(), "Saved as a note.");
  auto& notes = *world.model().store().notes();
  const auto summary = notes.list().at(0);
  EXPECT_EQ(summary.text, record.text);
  EXPECT_EQ(history().records().get().front().savedNoteID, summary.id);
  EXPECT_TRUE(RichText::attributed(notes.note(summary.id)->rtf) == RichText::bodyParagraph(record.text));
  history().remove(record);
  EXPECT_THAT(shown(), IsEmpty());
  history().clear();
  EXPECT_EQ(world.state().banner.get(), "Dictation history cleared.") << "also where there was none";

  say("kept");
  history().reload();
  notes.connection().execute("DROP TABLE dictations");
  world.model().banners().dismiss();
  history().reload();
  EXPECT_THAT(shown(), ElementsAre("kept"));
  EXPECT_EQ(world.desk.log.count("history_read_failed"), 1u);
  EXPECT_EQ(world.state().banner.get(), std::nullopt) << "a failed read is no news";
  history().clear();
  EXPECT_THAT(world.state().banner.get().value_or(""), ::testing::HasSubstr("no such table"));
}

}  // namespace
}  // namespace pell::testing
