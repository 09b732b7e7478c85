#include <cstdlib>
#include <ctime>
#include <fmt/core.h>
#include <gtest/gtest.h>

#include "editor/NoteFormatting.h"
#include "editor/ServerDates.h"
#include "stores/Database.h"

namespace pell {
namespace {

/// Looks at each half hour from a day before `change` to a day behind it, in a process whose time zone this
/// is. Labels, the C library and SQL must name the same days and hours; what does not ends the process badly.
[[noreturn]] void liveThrough(const char* zone, const char* change) {
  setenv("TZ", zone, 1);
  tzset();
  const Region here{.calendar = Calendar::current(), .locale = "en_GB"};
  Database database(":memory:");
  const auto fieldsOf = [](Date date) {
    const auto seconds = static_cast<std::time_t>(secondsSince1970(date));
    std::tm fields{};
    localtime_r(&seconds, &fields);
    return fields;
  };
  const Date last = *pellParseDate(change) + std::chrono::hours(24);
  for (Date date = last - std::chrono::hours(48); date <= last; date += std::chrono::minutes(30)) {
    const std::tm fields = fieldsOf(date);
    const int days = fieldsOf(last).tm_yday - fields.tm_yday;
    const auto day = database.query("SELECT date(?, 'unixepoch', 'localtime')", {secondsSince1970(date)},
                                    [](const Database::Row& row) { return std::optional(row.text(0)); });
    const std::string time = fmt::format("{:02}:{:02}", fields.tm_hour, fields.tm_min);
    const bool agree =
        day.at(0) ==
            fmt::format("{}-{:02}-{:02}", fields.tm_year + 1900, fields.tm_mon + 1, fields.tm_mday) &&
        NoteFormatting::daysBetween(last, date, here.calendar) == days &&
        (days > 1 || NoteFormatting::rowTimestamp(date, last, here) == (days == 1 ? "Yesterday" : time));
    if (!agree) std::exit(1);
  }
  std::exit(0);
}

// ICU, the C library and SQLite each have their own notion of the local zone, which they keep from their
// first use: hence one process for each.
TEST(TimeZonesDeathTest, AllAgreeAboutTheDaysAroundAClockChange) {
  GTEST_FLAG_SET(death_test_style, "threadsafe");
  struct Case {
    const char* zone;
    const char* change;
  };
  for (const Case& c : std::vector<Case>{{"UTC", "2026-03-29T01:00:00Z"},
                                         {"Europe/Berlin", "2026-03-29T01:00:00Z"},
                                         {"Europe/Berlin", "2026-10-25T01:00:00Z"},
                                         {"America/New_York", "2026-03-08T07:00:00Z"},
                                         {"America/New_York", "2026-11-01T06:00:00Z"},
                                         {"Australia/Lord_Howe", "2026-04-04T15:00:00Z"},  // half an hour
                                         {"Asia/Kolkata", "2026-03-29T01:00:00Z"},
                                         {"Pacific/Chatham", "2026-09-26T14:00:00Z"},
                                         {"America/Sao_Paulo", "2018-11-04T03:00:00Z"}}) {  // at midnight
    EXPECT_EXIT(liveThrough(c.zone, c.change), ::testing::ExitedWithCode(0), "") << c.zone;
  }
}

}  // namespace
}  // namespace pell
