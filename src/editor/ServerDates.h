// Dates that come from the server as ISO 8601 texts.
#pragma once

#include <optional>
#include <string>

#include "async/Time.h"
#include "editor/DateLabels.h"
#include "stores/Calendar.h"

namespace pell {

/// Date and time with seconds and zone ("2026-03-01T09:30:00Z", "2026-03-01T15:00:00.250+05:30"); absent
/// for anything else.
std::optional<Date> pellParseDate(const std::optional<std::string>& text);

/// The day, as "1 March 2026" with the month in the user's language; absent for what is no date.
std::optional<std::string> pellDate(const std::optional<std::string>& text, const Region& region);

/// "1 day", "12 days"; absent once the day has come.
std::optional<std::string> pellDaysUntil(const std::optional<std::string>& text, Date now,
                                         const Calendar& calendar);

}  // namespace pell
