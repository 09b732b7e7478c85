// Days as the user counts them.
#pragma once

#include <memory>
#include <optional>
#include <string>
#include <unicode/uversion.h>

#include "async/Time.h"

U_NAMESPACE_BEGIN
class TimeZone;
U_NAMESPACE_END

namespace pell {

/// The Gregorian calendar in one time zone. Immutable; any thread.
class Calendar {
 public:
  /// In the user's present time zone.
  static Calendar current();

  /// In a named zone ("Europe/Berlin"); absent if there is no such zone.
  static std::optional<Calendar> inTimeZone(const std::string& identifier);

  /// The first moment of the day that holds `date`. Where summer time skips midnight, that is the first
  /// moment after the gap.
  Date startOfDay(Date date) const;

  /// The same time of day `days` days later (earlier if negative); absent when out of range.
  std::optional<Date> addingDays(Date date, int days) const;

  /// The days of the calendar, numbered in sequence; absent when out of range.
  std::optional<int> dayNumber(Date date) const;

  /// Absent when out of range.
  std::optional<int> year(Date date) const;

  const icu::TimeZone& timeZone() const;

  /// Equal where the zones are.
  bool operator==(const Calendar& other) const;

 private:
  struct Zone;
  explicit Calendar(std::shared_ptr<const Zone> zone);
  std::shared_ptr<const Zone> zone_;
};

}  // namespace pell
