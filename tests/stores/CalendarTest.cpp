#include <gtest/gtest.h>
#include <limits>
#include <vector>

#include "stores/Calendar.h"

namespace pell {
namespace {

TEST(CalendarTest, DaysBeginWhereTheZoneBeginsThem) {
  struct {
    const char* zone;
    double moment, start;
  } const cases[] = {
      {"UTC", 1'700'000'000, 1'699'920'000},
      {"Europe/Berlin", 1'711'843'200 + 3600 * 12, 1'711'839'600},  // the day of 23 hours
      {"Asia/Kolkata", 1'711'843'200, 1'711'823'400},               // half an hour off the hour
      {"America/Sao_Paulo", 1'541'340'000, 1'541'300'400},          // no midnight: 01:00
      {"America/Havana", 1'541'340'000, 1'541'304'000},             // midnight twice: the first
      {"UTC", -1, -86400},                                          // before 1970
  };
  for (const auto& [zone, moment, start] : cases) {
    const auto calendar = *Calendar::inTimeZone(zone);
    EXPECT_EQ(secondsSince1970(calendar.startOfDay(dateFromSeconds(moment))), start) << zone;
  }
  EXPECT_FALSE(Calendar::inTimeZone("Middle-earth/Shire"));
  const Date never = dateFromSeconds(std::numeric_limits<double>::quiet_NaN());
  EXPECT_FALSE(Calendar::inTimeZone("UTC")->addingDays(never, 1));
}

}  // namespace
}  // namespace pell
