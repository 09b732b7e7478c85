#include <cstdlib>
#include <ctime>
#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include "stores/DictationsRepository.h"
#include "support/TemporaryDirectory.h"
#include "support/VirtualTime.h"

namespace pell {
namespace {

using ::testing::ElementsAre;
using ::testing::IsEmpty;
using Delivery = DictationRecord::Delivery;
using AppRow = DictationsRepository::AppRow;
using DayRow = DictationsRepository::DayRow;

/// Sets the C library's time zone, by which SQLite counts days.
class ZoneOfProcess {
 public:
  explicit ZoneOfProcess(const std::string& zone) {
    if (const char* before = std::getenv("TZ")) before_ = before;
    setenv("TZ", zone.c_str(), 1);
    tzset();
  }
  ~ZoneOfProcess() {
    before_ ? setenv("TZ", before_->c_str(), 1) : unsetenv("TZ");
    tzset();
  }

 private:
  std::optional<std::string> before_;
};

class DictationsRepositoryTest : public ::testing::Test {
 protected:
  testing::TemporaryDirectory directory;
  testing::VirtualTime time;
  Database database{directory.path() / "pell.db"};
  DictationsRepository history{database, time};

  void SetUp() override { database.execute("PRAGMA synchronous = OFF"); }

  DictationRecord say(std::string text) {
    time.advance(Seconds(1));
    return history.record({.text = std::move(text)});
  }

  static std::vector<std::string> texts(const std::vector<DictationRecord>& records) {
    std::vector<std::string> texts;
    for (const auto& record : records) texts.push_back(record.text);
    return texts;
  }
};

TEST_F(DictationsRepositoryTest, WhatWasRecordedIsReadBack) {
  time.setDate(dateFromSeconds(1'700'000'000.25));
  const auto bare = history.record({.text = "Plain."});
  time.advance(Seconds(1));
  const auto full = history.record({.text = "नमस्ते 👋🏽\nzwei",
                                    .words = 3,
                                    .characters = 14,
                                    .duration = 2.75,
                                    .targetBundleID = "org.example.Editor",
                                    .targetApp = "Editor",
                                    .rawText = "",
                                    .promptVersionTitle = "v3"});
  EXPECT_EQ(bare.createdAt, dateFromSeconds(1'700'000'000.25));
  EXPECT_EQ(full.delivery, Delivery::none);
  EXPECT_NE(bare.id, full.id);
  EXPECT_THAT(history.recent(), ElementsAre(full, bare));
  EXPECT_THAT(history.recent(1), ElementsAre(full));
}

TEST_F(DictationsRepositoryTest, OutcomesAreKept) {
  auto record = say("words");
  for (Delivery delivery : DictationRecord::allDeliveries) {
    history.setDelivery(record.id, delivery);
    record.delivery = delivery;
    EXPECT_THAT(history.recent(), ElementsAre(record)) << label(delivery);
  }
  EXPECT_NO_THROW(history.setDelivery("unknown", Delivery::pasted));

  database.execute("UPDATE dictations SET delivery = 'teleported'");
  EXPECT_EQ(history.recent()[0].delivery, Delivery::none);
  EXPECT_EQ(history.stats().recovered, 0);  // the table's word counts, not how it reads today

  EXPECT_TRUE(history.remove(record.id));
  EXPECT_FALSE(history.remove(record.id));
  say("more");
  history.deleteAll();
  EXPECT_THAT(history.recent(), IsEmpty());
}

TEST_F(DictationsRepositoryTest, SearchTakesEveryCharacterLiterally) {
  for (const char* text : {"100% sure", "100 sure", "snake_case", "snakecase", R"(C:\temp)", "C:temp",
                           "Ärger", "it's \"quoted\""}) {
    say(text);
  }
  const std::vector<std::pair<std::string, std::vector<std::string>>> cases{
      {"%", {"100% sure"}},
      {"_", {"snake_case"}},
      {"\\", {R"(C:\temp)"}},
      {" 100% \n", {"100% sure"}},
      {"SNAKE", {"snakecase", "snake_case"}},
      {"ärger", {}},
      {"'", {"it's \"quoted\""}},
      {"\"q", {"it's \"quoted\""}},
      {"% sure", {"100% sure"}},
      {R"(\%)", {}},
  };
  for (const auto& [query, expected] : cases) EXPECT_EQ(texts(history.search(query)), expected) << query;
  EXPECT_EQ(history.search(" \n\u2003\t"), history.recent());
  EXPECT_EQ(history.search("", 2), history.recent(2));
  EXPECT_THAT(texts(history.search("sure", 1)), ElementsAre("100 sure"));
}

TEST_F(DictationsRepositoryTest, StatisticsByApplicationAndInTotal) {
  const auto into = [this](std::optional<std::string> bundle, std::optional<std::string> app, int words) {
    return history.record({.text = "x",
                           .words = words,
                           .duration = 1.5,
                           .targetBundleID = std::move(bundle),
                           .targetApp = std::move(app)});
  };
  history.setDelivery(into("b.mail", "Mail", 10).id, Delivery::inserted);
  history.setDelivery(into("b.mail", "Mail", 5).id, Delivery::failed);
  history.setDelivery(into("b.chat", "Chat", 1).id, Delivery::pasted);
  history.setDelivery(into("b.mail", "Post", 2).id, Delivery::copied);
  history.setDelivery(into("b.odd", std::nullopt, 3).id, Delivery::note);
  into(std::nullopt, "Nameless", 100);

  auto stats = history.stats(0);
  EXPECT_THAT(stats.byApp, ElementsAre(AppRow{"Mail", "b.mail", 2, 15}, AppRow{"Chat", "b.chat", 1, 1},
                                       AppRow{"Post", "b.mail", 1, 2}, AppRow{"Unknown", "b.odd", 1, 3}));
  EXPECT_THAT(stats.daily, IsEmpty());
  EXPECT_EQ(stats.totalDictations, 6);
  EXPECT_EQ(stats.totalWords, 121);
  EXPECT_EQ(stats.totalSeconds, 9.0);
  EXPECT_EQ(stats.recovered, 2);
  EXPECT_EQ(history.stats(3).byApp, stats.byApp);
}

TEST_F(DictationsRepositoryTest, DaysAreThoseOfTheTimeZone) {
  // 2024-03-31 is the day of 23 hours in Berlin. Each text is dictated at this hour of UTC.
  const Date midnight = dateFromSeconds(1'711'843'200);  // 2024-03-31T00:00Z
  struct Case {
    std::string zone;
    // Words of the dictations at -26 h, -1.5 h, +1 h and +23 h, filed under the last three days.
    std::vector<std::int64_t> words;
  };
  const std::vector<Case> cases{
      {"UTC", {1, 2, 12}},
      {"Europe/Berlin", {2, 4, 8}},  // the last one falls on 1 April there: today
      {"Asia/Kolkata", {1, 6, 8}},
      {"America/New_York", {6, 8, 0}},  // filed a day early, west of UTC
  };
  for (const Case& c : cases) {
    const ZoneOfProcess zone(c.zone);
    const auto calendar = *Calendar::inTimeZone(c.zone);
    history.deleteAll();
    const auto at = [&](double hours, int words) {
      time.setDate(midnight + Seconds(hours * 3600));
      history.record({.text = "x", .words = words});
    };
    at(-26, 1);
    at(-1.5, 2);
    at(1, 4);
    at(23, 8);
    const auto daily = history.stats(3, calendar).daily;
    std::vector<std::int64_t> words;
    for (const DayRow& row : daily) words.push_back(row.words);
    EXPECT_EQ(words, c.words) << c.zone;
    EXPECT_EQ(daily.back().day, calendar.startOfDay(time.now())) << c.zone;
  }
}

TEST_F(DictationsRepositoryTest, GapsAreFilledAcrossSummerTime) {
  const auto calendar = *Calendar::inTimeZone("America/Sao_Paulo");
  // On 2018-11-04 this zone had no midnight; the day began at one o'clock.
  const Date noonOfTheShortDay = dateFromSeconds(1'541'340'000);
  const Date yesterday = dateFromSeconds(1'541'214'000);  // 2018-11-03T00:00-03:00
  const auto filled = DictationsRepository::fillDailyGaps(
      {{.day = yesterday, .words = 1, .dictations = 1},
       {.day = yesterday + Seconds(60), .words = 5, .dictations = 2},
       {.day = yesterday - Seconds(86400.0 * 40), .words = 9, .dictations = 9}},
      {.days = 3, .now = noonOfTheShortDay, .calendar = calendar});
  ASSERT_EQ(filled.size(), 3u);
  EXPECT_EQ(filled[0].words, 0);
  EXPECT_EQ(filled[1].words, 5);
  EXPECT_EQ(filled[1].dictations, 2);
  EXPECT_EQ(filled[2].day, dateFromSeconds(1'541'300'400));  // 2018-11-04T01:00-02:00
  for (int days : {0, -3}) {
    EXPECT_THAT(DictationsRepository::fillDailyGaps({}, {.days = days, .now = {}, .calendar = calendar}),
                IsEmpty());
  }
}

}  // namespace
}  // namespace pell
