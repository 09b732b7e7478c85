#include "editor/DateLabels.h"

#include <unicode/datefmt.h>
#include <unicode/dtptngen.h>
#include <unicode/locid.h>
#include <unicode/smpdtfmt.h>
#include <unicode/timezone.h>
#include <utility>

#include "editor/NoteFormatting.h"

namespace pell {
namespace {

icu::UnicodeString unicode(std::string_view text) {
  return icu::UnicodeString::fromUTF8(icu::StringPiece(text.data(), static_cast<int32_t>(text.size())));
}

std::unique_ptr<icu::DateFormat> byPattern(const icu::UnicodeString& pattern, const icu::Locale& locale) {
  UErrorCode status = U_ZERO_ERROR;
  auto format = std::make_unique<icu::SimpleDateFormat>(pattern, locale, status);
  return U_SUCCESS(status) ? std::move(format) : nullptr;
}

}  // namespace

DateLabels::DateLabels(Region region, Date now)
    : region_(std::move(region)), now_(now), year_(region_.calendar.year(now)) {}

DateLabels::~DateLabels() = default;

int DateLabels::daysAgo(Date date) const { return NoteFormatting::daysBetween(now_, date, region_.calendar); }

bool DateLabels::isThisYear(Date date) const { return region_.calendar.year(date) == year_; }

template <class Make>
std::string DateLabels::formatted(std::string_view kind, Date date, Make make) {
  auto found = formats_.find(kind);
  if (found == formats_.end()) {
    std::unique_ptr<icu::DateFormat> format = make(icu::Locale(region_.locale.c_str()));
    if (format) format->setTimeZone(region_.calendar.timeZone());
    found = formats_.emplace(kind, std::move(format)).first;
  }
  std::string text;
  if (!found->second) return text;
  icu::UnicodeString label;
  found->second->format(secondsSince1970(date) * 1000.0, label);
  label.toUTF8String(text);
  return text;
}

std::string DateLabels::inPattern(std::string_view pattern, Date date) {
  return formatted(pattern, date,
                   [&](const icu::Locale& locale) { return byPattern(unicode(pattern), locale); });
}

std::string DateLabels::bySkeleton(std::string_view skeleton, Date date) {
  return formatted("skeleton " + std::string(skeleton), date,
                   [&](const icu::Locale& locale) -> std::unique_ptr<icu::DateFormat> {
                     UErrorCode status = U_ZERO_ERROR;
                     std::unique_ptr<icu::DateTimePatternGenerator> patterns(
                         icu::DateTimePatternGenerator::createInstance(locale, status));
                     if (U_FAILURE(status)) return nullptr;
                     const auto pattern = patterns->getBestPattern(unicode(skeleton), status);
                     return U_SUCCESS(status) ? byPattern(pattern, locale) : nullptr;
                   });
}

std::string DateLabels::shortTime(Date date) {
  return formatted("short time", date, [](const icu::Locale& locale) {
    return std::unique_ptr<icu::DateFormat>(
        icu::DateFormat::createTimeInstance(icu::DateFormat::kShort, locale));
  });
}

std::string DateLabels::rowTimestamp(Date date) {
  const int days = daysAgo(date);
  if (days < 1) return shortTime(date);
  if (days == 1) return "Yesterday";
  if (days < 7) return inPattern("EEEE", date);
  return bySkeleton(isThisYear(date) ? "d MMM" : "d MMM yy", date);
}

std::string DateLabels::dayLabel(Date date) {
  const int days = daysAgo(date);
  if (days < 1) return "Today";
  if (days == 1) return "Yesterday";
  return bySkeleton(isThisYear(date) ? "EEEE d MMMM" : "d MMMM yyyy", date);
}

std::string DateLabels::groupLabel(Date date) {
  const int days = daysAgo(date);
  if (days < 1) return "Today";
  if (days == 1) return "Yesterday";
  if (days < 7) return "Previous 7 Days";
  if (days < 30) return "Previous 30 Days";
  return bySkeleton(isThisYear(date) ? "MMMM" : "MMMM yyyy", date);
}

std::string DateLabels::editedTimestamp(Date date) {
  return bySkeleton("d MMM yy", date) + " at " + shortTime(date);
}

}  // namespace pell
