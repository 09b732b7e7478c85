#include <cmath>
#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <limits>

#include "editor/NoteFormatting.h"
#include "editor/ServerDates.h"

namespace pell {
namespace {

using ::testing::ElementsAre;

std::string repeated(const std::string& piece, int times) {
  std::string text;
  while (times-- > 0) text += piece;
  return text;
}

Date at(const char* iso) {
  const auto date = pellParseDate(iso);
  EXPECT_TRUE(date) << iso;
  return date.value_or(Date());
}

Region region(const char* zone, const char* locale) {
  return {.calendar = *Calendar::inTimeZone(zone), .locale = locale};
}

TEST(NoteFormattingTest, TitlesAndPreviews) {
  struct Case {
    std::string text;
    std::string title;
    std::string preview;
  };
  const std::string none = "No additional text";
  const std::string sixty = repeated("अक्षि ", 20);  // sixty characters, the last of them a blank
  const std::vector<Case> cases{
      {"", "New Note", none},
      {" \t\n\u00A0\n", "New Note", none},
      {"one line", "one line", none},
      {"\n \n\t title \u3000\n\n  first \n\n\tsecond\n", "title", "first second"},
      {repeated("x", 60) + "\n" + repeated("y", 90), repeated("x", 60), repeated("y", 90)},
      {repeated("x", 61) + "\n" + repeated("y", 91), repeated("x", 60) + "…", repeated("y", 90) + "…"},
      // A cut at a blank loses it; a cut never parts a consonant from its signs.
      {repeated("x", 59) + " yz\n" + repeated("y", 89) + "\nz", repeated("x", 59) + "…",
       repeated("y", 89) + "…"},
      {sixty + "क", sixty.substr(0, sixty.size() - 1) + "…", none},
      {repeated("👩‍👩‍👧", 61) + "\n" + repeated("é", 50) + "\n" + repeated("स्त्री", 40),
       repeated("👩‍👩‍👧", 60) + "…", repeated("é", 50) + " " + repeated("स्त्री", 39) + "…"},
      // A mark that begins a line joins the blank before it.
      {"t\n" + repeated("a", 88) + "\n\u0301b", "t", repeated("a", 88) + " \u0301b"},
      {"t\n" + repeated("a", 100'000) + "\nmore", "t", repeated("a", 90) + "…"},
  };
  for (const Case& c : cases) {
    EXPECT_EQ(NoteFormatting::title(c.text), c.title) << c.text.substr(0, 100);
    EXPECT_EQ(NoteFormatting::preview(c.text), c.preview) << c.text.substr(0, 100);
  }
}

TEST(NoteFormattingTest, LabelsInTheUsersLanguage) {
  // Rows of today, 4 days ago, this year, last year; days of 4 days ago and last year; the group of last
  // year; an edit; a date of the server.
  const std::vector<std::pair<const char*, std::vector<std::string>>> cases{
      {"en_US",
       {"6:05\u202FAM", "Wednesday", "Jan 5", "Dec 5, 25", "Wednesday, March 25", "December 5, 2025",
        "December 2025", "Jan 5, 26 at 4:05\u202FPM", "2 March 2026"}},
      {"en_GB",
       {"06:05", "Wednesday", "5 Jan", "5 Dec 25", "Wednesday, 25 March", "5 December 2025", "December 2025",
        "5 Jan 26 at 16:05", "2 March 2026"}},
      {"de_DE",
       {"06:05", "Mittwoch", "5. Jan.", "5. Dez. 25", "Mittwoch, 25. März", "5. Dezember 2025",
        "Dezember 2025", "5. Jan. 26 at 16:05", "2 März 2026"}},
      {"hi_IN",
       {"6:05 am", "बुधवार", "5 जन॰", "5 दिस॰ 25", "बुधवार, 25 मार्च", "5 दिसंबर 2025", "दिसंबर 2025",
        "5 जन॰ 26 at 4:05 pm", "2 मार्च 2026"}},
      {"ja_JP",
       {"6:05", "水曜日", "1月5日", "25年12月5日", "3月25日水曜日", "2025年12月5日", "2025年12月",
        "26年1月5日 at 16:05", "2 3月 2026"}},
  };
  const Date now = at("2026-03-29T12:00:00Z");  // the day of 23 hours
  const Date today = at("2026-03-29T04:05:00Z");
  const Date weekday = at("2026-03-25T04:05:00Z");
  const Date thisYear = at("2026-01-05T15:05:00Z");
  const Date lastYear = at("2025-12-05T15:05:00Z");
  for (const auto& [locale, expected] : cases) {
    const Region here = region("Europe/Berlin", locale);
    std::vector<std::string> shown;
    for (const Date date : {today, weekday, thisYear, lastYear}) {
      shown.push_back(NoteFormatting::rowTimestamp(date, now, here));
    }
    for (const Date date : {weekday, lastYear}) shown.push_back(NoteFormatting::dayLabel(date, now, here));
    shown.push_back(DateLabels(here, now).groupLabel(lastYear));
    shown.push_back(NoteFormatting::editedTimestamp(thisYear, here));
    shown.push_back(pellDate("2026-03-01T23:30:00Z", here).value_or("none"));
    EXPECT_EQ(shown, expected) << locale;
  }
}

TEST(NoteFormattingTest, DaysAreThoseOfTheCalendar) {
  struct Case {
    const char *now, *date;
    int days;
    const char *row = "Yesterday", *day = "Yesterday", *group = "Yesterday";
    const char* zone = "UTC";
  };
  const char* berlin = "Europe/Berlin";
  const char* yesterday = "Yesterday";
  const std::vector<Case> cases{
      // Minutes apart over midnight, and nearly two days apart within one.
      {"2026-06-10T00:01:00Z", "2026-06-09T23:59:00Z", 1},
      {"2026-06-10T23:59:00Z", "2026-06-09T00:01:00Z", 1},
      {"2026-06-10T00:01:00Z", "2026-06-10T23:59:00Z", 0, "23:59", "Today", "Today"},
      {"2026-06-10T12:00:00Z", "2027-06-10T09:00:00Z", -365, "09:00", "Today", "Today"},
      // The first moments, elsewhere.
      {"2026-06-10T00:01:00Z", "2026-06-09T23:59:00Z", 0, "19:59", "Today", "Today", "America/New_York"},
      // The days on which clocks change have 23 and 25 hours; one day begins at one o'clock.
      {"2026-03-30T00:30:00+02:00", "2026-03-29T00:30:00+01:00", 1, yesterday, yesterday, yesterday, berlin},
      {"2026-03-29T23:30:00+02:00", "2026-03-28T23:30:00+01:00", 1, yesterday, yesterday, yesterday, berlin},
      {"2026-10-25T23:30:00+01:00", "2026-10-25T00:30:00+02:00", 0, "00:30", "Today", "Today", berlin},
      {"2026-10-26T00:15:00+01:00", "2026-10-25T00:15:00+02:00", 1, yesterday, yesterday, yesterday, berlin},
      {"2018-11-05T12:00:00-02:00", "2018-11-04T23:00:00-02:00", 1, yesterday, yesterday, yesterday,
       "America/Sao_Paulo"},
      // Spans end on calendar days, over the turn of a year as well.
      {"2026-01-02T08:00:00Z", "2025-12-31T20:00:00Z", 2, "Wednesday", "31 December 2025", "Previous 7 Days"},
      {"2026-06-30T01:00:00Z", "2026-06-24T23:00:00Z", 6, "Wednesday", "Wednesday, 24 June",
       "Previous 7 Days"},
      {"2026-06-30T01:00:00Z", "2026-06-23T23:00:00Z", 7, "23 Jun", "Tuesday, 23 June", "Previous 30 Days"},
      {"2026-06-30T01:00:00Z", "2026-06-01T00:00:00Z", 29, "1 Jun", "Monday, 1 June", "Previous 30 Days"},
      {"2026-06-30T01:00:00Z", "2026-05-31T23:00:00Z", 30, "31 May", "Sunday, 31 May", "May"},
      {"2026-01-15T01:00:00Z", "2025-12-20T00:00:00Z", 26, "20 Dec 25", "20 December 2025",
       "Previous 30 Days"},
  };
  for (const Case& c : cases) {
    SCOPED_TRACE(std::string(c.date) + ' ' + c.zone);
    const Region here = region(c.zone, "en_GB");
    const Date now = at(c.now);
    const Date date = at(c.date);
    EXPECT_EQ(NoteFormatting::daysBetween(now, date, here.calendar), c.days);
    EXPECT_EQ(NoteFormatting::daysBetween(date, now, here.calendar), -c.days);
    EXPECT_EQ(NoteFormatting::rowTimestamp(date, now, here), c.row);
    EXPECT_EQ(NoteFormatting::dayLabel(date, now, here), c.day);
    EXPECT_EQ(DateLabels(here, now).groupLabel(date), c.group);
  }
  const Date never = dateFromSeconds(std::numeric_limits<double>::infinity());
  EXPECT_EQ(NoteFormatting::daysBetween(never, Date(), *Calendar::inTimeZone("UTC")), 0);
}

TEST(NoteFormattingTest, NotesByTheDayOfTheirCreation) {
  const Region here = region("Europe/Berlin", "en_GB");
  const std::vector<std::pair<const char*, const char*>> notes{
      {"a", "2026-01-03T10:00:00Z"}, {"b", "2026-06-10T08:00:00Z"}, {"c", "2026-06-10T08:00:00Z"},
      {"d", "2026-06-11T08:00:00Z"},  // the clock was set back since
      {"e", "2026-06-04T10:00:00Z"}, {"f", "2025-01-03T10:00:00Z"}, {"g", "2026-01-30T10:00:00Z"},
  };
  std::vector<NoteSummary> summaries;
  for (const auto& [id, date] : notes) summaries.push_back({.id = id, .createdAt = at(date)});
  std::vector<std::string> shown;
  for (const auto& group : NoteFormatting::groupByCreationDate(summaries, at("2026-06-10T12:00:00Z"), here)) {
    std::string line = group.label + ":";
    for (const auto& note : group.notes) line += " " + note.id;
    shown.push_back(line);
  }
  EXPECT_THAT(shown, ElementsAre("Today: d b c", "Previous 7 Days: e", "January: g a", "January 2025: f"));
  EXPECT_TRUE(NoteFormatting::groupByCreationDate({}, Date(), here).empty());
}

TEST(NoteFormattingTest, DurationsAndCounts) {
  const double infinite = std::numeric_limits<double>::infinity();
  const std::vector<std::pair<double, const char*>> durations{
      {-5, "0s"},           {0.4, "0s"},
      {0.5, "1s"},          {59.4, "59s"},
      {59.6, "1m 00s"},     {65, "1m 05s"},
      {3599.4, "59m 59s"},  {3599.6, "1h 00m"},
      {25'559, "7h 05m"},   {360'000, "100h 00m"},
      {infinite, "0s"},     {-infinite, "0s"},
      {std::nan(""), "0s"}, {1e300, "2500000000000000h 00m"},
  };
  for (const auto& [seconds, shown] : durations) EXPECT_EQ(NoteFormatting::duration(seconds), shown);

  const std::vector<std::pair<std::int64_t, const char*>> stopwatch{
      {-1, "00:00"}, {0, "00:00"}, {59, "00:59"}, {60, "01:00"}, {3725, "62:05"}, {6000, "100:00"}};
  for (const auto& [seconds, shown] : stopwatch) EXPECT_EQ(NoteFormatting::stopwatch(seconds), shown);

  const std::vector<std::pair<std::int64_t, const char*>> counts{
      {0, "0"}, {999, "999"}, {1000, "1,000"}, {12345, "12,345"}, {1234567, "1,234,567"}, {-1000, "-1,000"}};
  for (const auto& [number, shown] : counts) EXPECT_EQ(NoteFormatting::count(number), shown);
}

TEST(NoteFormattingTest, DatesOfTheServer) {
  const std::vector<std::pair<const char*, double>> dates{
      {"1970-01-01T00:00:00Z", 0},
      {"2024-02-29T23:59:59Z", 1'709'251'199},
      {"2024-02-29T23:59:59.5Z", 1'709'251'199.5},
      {"2024-02-29T23:59:59.250+05:30", 1'709'231'399.25},
      {"2024-02-29T23:59:59-01:00", 1'709'254'799},
      {"1969-12-31T23:59:59Z", -1},
  };
  for (const auto& [text, seconds] : dates) EXPECT_DOUBLE_EQ(secondsSince1970(at(text)), seconds) << text;
  for (const char* text :
       {"2023-02-29T00:00:00Z", "2024-13-01T00:00:00Z", "2024-01-01T24:00:00Z", "2024-01-01T00:00:00",
        "2024-01-01T00:00:00.Z", "2024-01-01 00:00:00Z", "2024-01-01T00:00Z", "2024-01-01T00:00:00Z ",
        "2024-01-01T00:00:00+0530", "2024-01-01", "+024-01-01T00:00:00Z", "soon", ""}) {
    EXPECT_FALSE(pellParseDate(text)) << text;
  }
  const Region here = region("Europe/Berlin", "en_GB");
  EXPECT_EQ(pellParseDate(std::nullopt), std::nullopt);
  EXPECT_EQ(pellDate(std::nullopt, here), std::nullopt);
  EXPECT_EQ(pellDate("soon", here), std::nullopt);

  const Date now = at("2026-03-28T22:30:00Z");  // half an hour before the day of 23 hours
  const std::vector<std::pair<const char*, std::optional<std::string>>> ahead{
      {"2026-03-28T22:59:00Z", std::nullopt}, {"2026-03-28T23:00:00Z", "1 day"},
      {"2026-03-29T22:00:00Z", "2 days"},     {"2027-03-28T12:00:00Z", "365 days"},
      {"2026-03-01T00:00:00Z", std::nullopt}, {"soon", std::nullopt},
  };
  for (const auto& [text, shown] : ahead) EXPECT_EQ(pellDaysUntil(text, now, here.calendar), shown) << text;
}

}  // namespace
}  // namespace pell
