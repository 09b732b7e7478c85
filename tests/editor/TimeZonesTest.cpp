#include <cstdlib>
#include <ctime>
#include <fmt/core.h>
#include <gtest/gtest.h>
#include <sqlite3.h>

#include "editor/NoteFormatting.h"
#include "editor/ServerDates.h"

namespace pell {
namespace {

constexpr double hour = 3600;

/// The local time that the C library reads at a moment.
std::tm localTime(Date date) {
  const auto seconds = static_cast<std::time_t>(secondsSince1970(date));
  std::tm fields{};
  localtime_r(&seconds, &fields);
  return fields;
}

/// The local day as the history's statements count it.
std::string dayInSql(sqlite3* database, Date date) {
  sqlite3_stmt* statement = nullptr;
  sqlite3_prepare_v2(database, "SELECT date(?, 'unixepoch', 'localtime')", -1, &statement, nullptr);
  sqlite3_bind_double(statement, 1, secondsSince1970(date));
  sqlite3_step(statement);
  const auto* text = reinterpret_cast<const char*>(sqlite3_column_text(statement, 0));
  std::string day = text ? text : "";
  sqlite3_finalize(statement);
  return day;
}

/// Looks at each hour from a day before `change` to a day behind it, in a process whose time zone this is.
/// Labels, the C library and SQL must name the same days and hours. Empty if they do.
std::string disagreement(const char* zone, Date change) {
  setenv("TZ", zone, 1);
  tzset();
  const Region here{.calendar = Calendar::current(), .locale = "en_GB"};
  sqlite3* database = nullptr;
  sqlite3_open(":memory:", &database);
  std::string found;
  const Date last = change + Seconds(24 * hour);
  for (Date date = change - Seconds(24 * hour); found.empty() && date <= last; date += Seconds(hour / 2)) {
    const std::tm fields = localTime(date);
    const std::tm lastFields = localTime(last);
    const std::string day =
        fmt::format("{}-{:02}-{:02}", fields.tm_year + 1900, fields.tm_mon + 1, fields.tm_mday);
    const int days = lastFields.tm_yday - fields.tm_yday;
    const std::string time = fmt::format("{:02}:{:02}", fields.tm_hour, fields.tm_min);
    const std::string row = days == 1 ? "Yesterday" : time;
    if (dayInSql(database, date) != day) found = "SQL has another day than " + day;
    if (NoteFormatting::daysBetween(last, date, here.calendar) != days) found = "another distance to " + day;
    if (days < 2 && NoteFormatting::rowTimestamp(date, last, here) != row)
      found = "another label than " + row;
    if (!found.empty()) found += " at " + time;
  }
  sqlite3_close(database);
  return found;
}

/// Ends the process: well, if there was nothing to complain about.
[[noreturn]] void liveThrough(const char* zone, const char* change) {
  const std::string found = disagreement(zone, *pellParseDate(change));
  fmt::print(stderr, "{}\n", found);
  std::exit(found.empty() ? 0 : 1);
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
