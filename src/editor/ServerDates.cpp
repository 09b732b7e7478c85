#include "editor/ServerDates.h"

#include <fmt/core.h>

#include "editor/NoteFormatting.h"
#include "stores/IsoDate.h"

namespace pell {
std::optional<Date> pellParseDate(const std::optional<std::string>& text) {
  return text ? parseIsoDate(*text, IsoFraction::optional) : std::nullopt;
}

std::optional<std::string> pellDate(const std::optional<std::string>& text, const Region& region) {
  const auto date = pellParseDate(text);
  if (!date) return std::nullopt;
  return DateLabels(region, *date).inPattern("d MMMM yyyy", *date);
}

std::optional<std::string> pellDaysUntil(const std::optional<std::string>& text, Date now,
                                         const Calendar& calendar) {
  const auto date = pellParseDate(text);
  const int days = date ? NoteFormatting::daysBetween(*date, now, calendar) : 0;
  if (days <= 0) return std::nullopt;
  return days == 1 ? "1 day" : fmt::format("{} days", days);
}

}  // namespace pell
