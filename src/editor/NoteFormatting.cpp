#include "editor/NoteFormatting.h"

#include <algorithm>
#include <cmath>
#include <cstddef>
#include <fmt/core.h>
#include <map>
#include <unicode/locid.h>
#include <unicode/numberformatter.h>
#include <utility>

#include "editor/GraphemeClusters.h"
#include "stores/Text.h"

namespace pell {
namespace {

/// The next line of `rest` that is not empty once trimmed, taken off it; empty if there is none.
std::string_view takeLine(std::string_view& rest) {
  while (!rest.empty()) {
    const std::size_t end = std::min(rest.find('\n'), rest.size());
    const std::string_view line = trimmedLine(rest.substr(0, end));
    rest.remove_prefix(std::min(end + 1, rest.size()));
    if (!line.empty()) return line;
  }
  return {};
}

/// A text of which only `beginning` is shown.
std::string cutAfter(std::string_view beginning) {
  return std::string(trimmedLine(beginning)).append(NoteFormatting::ellipsis);
}

const icu::number::LocalizedNumberFormatter& countFormatter() {
  static const icu::number::LocalizedNumberFormatter formatter =
      icu::number::NumberFormatter::withLocale(icu::Locale(NoteFormatting::displayLocale));
  return formatter;
}

}  // namespace

std::string NoteFormatting::title(std::string_view text) {
  const std::string_view line = takeLine(text);
  if (line.empty()) return std::string(defaultTitle);
  const std::string_view beginning = GraphemeClusters::prefix(line, titleLimit);
  return beginning.size() < line.size() ? cutAfter(beginning) : std::string(line);
}

std::string NoteFormatting::preview(std::string_view text) {
  if (takeLine(text).empty()) return std::string(noPreview);
  // One character more than is shown tells that there is more; of a long note no more is looked at.
  constexpr std::int64_t enough = previewLimit + 1;
  std::string joined;
  for (auto line = takeLine(text); !line.empty(); line = takeLine(text)) {
    if (!joined.empty()) joined += ' ';
    joined += GraphemeClusters::prefix(line, enough);
    const std::string_view beginning = GraphemeClusters::prefix(joined, previewLimit);
    if (beginning.size() < joined.size()) return cutAfter(beginning);
  }
  return joined.empty() ? std::string(noPreview) : joined;
}

int NoteFormatting::daysBetween(Date later, Date earlier, const Calendar& calendar) {
  const auto last = calendar.dayNumber(later);
  const auto first = calendar.dayNumber(earlier);
  return last && first ? *last - *first : 0;
}

std::string NoteFormatting::rowTimestamp(Date date, Date now, const Region& region) {
  return DateLabels(region, now).rowTimestamp(date);
}

std::string NoteFormatting::editedTimestamp(Date date, const Region& region) {
  return DateLabels(region, date).editedTimestamp(date);
}

std::string NoteFormatting::dayLabel(Date date, Date now, const Region& region) {
  return DateLabels(region, now).dayLabel(date);
}

std::vector<NoteFormatting::Group> NoteFormatting::groupByCreationDate(std::vector<NoteSummary> notes,
                                                                       Date now, const Region& region) {
  std::ranges::stable_sort(notes, std::ranges::greater(), &NoteSummary::createdAt);
  DateLabels labels(region, now);
  std::vector<Group> groups;
  std::map<std::string, std::size_t> positions;
  for (NoteSummary& note : notes) {
    const std::string label = labels.groupLabel(note.createdAt);
    const auto [found, isNew] = positions.emplace(label, groups.size());
    if (isNew) groups.push_back({.label = label, .notes = {}});
    groups[found->second].notes.push_back(std::move(note));
  }
  return groups;
}

std::string NoteFormatting::duration(double seconds) {
  if (!std::isfinite(seconds) || seconds <= 0) return "0s";
  constexpr double most = 9.0e18;  // what an integer can hold
  const auto total = static_cast<std::int64_t>(std::round(std::min(seconds, most)));
  if (total >= 3600) return fmt::format("{}h {:02}m", total / 3600, total % 3600 / 60);
  if (total < 60) return fmt::format("{}s", total);
  return fmt::format("{}m {:02}s", total / 60, total % 60);
}

std::string NoteFormatting::stopwatch(std::int64_t seconds) {
  const std::int64_t total = std::max(seconds, std::int64_t{0});
  return fmt::format("{:02}:{:02}", total / 60, total % 60);
}

std::string NoteFormatting::count(std::int64_t number) {
  UErrorCode status = U_ZERO_ERROR;
  std::string text;
  countFormatter().formatInt(number, status).toString(status).toUTF8String(text);
  return U_SUCCESS(status) ? text : std::to_string(number);
}

}  // namespace pell
