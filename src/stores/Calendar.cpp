#include "stores/Calendar.h"

#include <cmath>
#include <unicode/gregocal.h>
#include <unicode/timezone.h>
#include <utility>

namespace pell {

struct Calendar::Zone {
  std::unique_ptr<icu::TimeZone> zone;

  /// The calendar's fields at `date`; null when out of range.
  std::unique_ptr<icu::GregorianCalendar> fieldsAt(Date date) const {
    UErrorCode status = U_ZERO_ERROR;
    auto fields = std::make_unique<icu::GregorianCalendar>(*zone, icu::Locale::getRoot(), status);
    fields->setSkippedWallTimeOption(UCAL_WALLTIME_NEXT_VALID);
    fields->setRepeatedWallTimeOption(UCAL_WALLTIME_FIRST);
    fields->setTime(secondsSince1970(date) * 1000.0, status);
    return U_SUCCESS(status) ? std::move(fields) : nullptr;
  }
};

namespace {

std::optional<int> fieldOf(icu::GregorianCalendar* fields, Date date, UCalendarDateFields field) {
  if (!fields || !std::isfinite(secondsSince1970(date))) return std::nullopt;
  UErrorCode status = U_ZERO_ERROR;
  const int value = fields->get(field, status);
  return U_SUCCESS(status) ? std::optional(value) : std::nullopt;
}

std::optional<Date> dateOf(icu::GregorianCalendar& fields, UErrorCode status) {
  const UDate milliseconds = fields.getTime(status);
  if (U_FAILURE(status) || !std::isfinite(milliseconds)) return std::nullopt;
  return dateFromSeconds(milliseconds / 1000.0);
}

}  // namespace

Calendar::Calendar(std::shared_ptr<const Zone> zone) : zone_(std::move(zone)) {}

Calendar Calendar::current() {
  return Calendar(
      std::make_shared<Zone>(Zone{std::unique_ptr<icu::TimeZone>(icu::TimeZone::createDefault())}));
}

std::optional<Calendar> Calendar::inTimeZone(const std::string& identifier) {
  std::unique_ptr<icu::TimeZone> zone(
      icu::TimeZone::createTimeZone(icu::UnicodeString::fromUTF8(identifier)));
  if (*zone == icu::TimeZone::getUnknown()) return std::nullopt;
  return Calendar(std::make_shared<Zone>(Zone{std::move(zone)}));
}

Date Calendar::startOfDay(Date date) const {
  auto fields = zone_->fieldsAt(date);
  if (!fields) return date;
  for (auto field : {UCAL_HOUR_OF_DAY, UCAL_MINUTE, UCAL_SECOND, UCAL_MILLISECOND}) fields->set(field, 0);
  return dateOf(*fields, U_ZERO_ERROR).value_or(date);
}

std::optional<Date> Calendar::addingDays(Date date, int days) const {
  auto fields = zone_->fieldsAt(date);
  if (!fields) return std::nullopt;
  UErrorCode status = U_ZERO_ERROR;
  fields->add(UCAL_DATE, days, status);
  return dateOf(*fields, status);
}

std::optional<int> Calendar::dayNumber(Date date) const {
  return fieldOf(zone_->fieldsAt(date).get(), date, UCAL_JULIAN_DAY);
}

std::optional<int> Calendar::year(Date date) const {
  return fieldOf(zone_->fieldsAt(date).get(), date, UCAL_YEAR);
}

const icu::TimeZone& Calendar::timeZone() const { return *zone_->zone; }

bool Calendar::operator==(const Calendar& other) const { return timeZone() == other.timeZone(); }

}  // namespace pell
