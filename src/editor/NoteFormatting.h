// What the user keeps, as lists and labels show it.
#pragma once

#include <cstdint>
#include <string>
#include <string_view>
#include <vector>

#include "editor/DateLabels.h"
#include "stores/Note.h"

namespace pell {

/// Pure but for ICU's data; any thread. Texts are UTF-8 and are cut between characters as their reader sees
/// them. Nothing here fails. For the labels of a whole list take one `DateLabels`.
struct NoteFormatting {
  static constexpr std::string_view defaultTitle = "New Note";
  static constexpr std::string_view noPreview = "No additional text";
  static constexpr std::string_view ellipsis = "…";
  static constexpr std::int64_t titleLimit = 60;    // characters, ellipsis not counted
  static constexpr std::int64_t previewLimit = 90;  // likewise

  /// Of every number shown through `count`, wherever the user is.
  static constexpr const char* displayLocale = "en_US";

  /// The first line with anything on it.
  static std::string title(std::string_view text);

  /// What follows the title's line, on one line.
  static std::string preview(std::string_view text);

  /// Days on the calendar, positive when `earlier` lies in the past, whatever the hours; 0 when out of
  /// range.
  static int daysBetween(Date later, Date earlier, const Calendar& calendar);

  static std::string rowTimestamp(Date date, Date now, const Region& region);
  static std::string editedTimestamp(Date date, const Region& region);
  static std::string dayLabel(Date date, Date now, const Region& region);

  /// One section of a list of notes. Identified by `label`.
  struct Group {
    std::string label;
    std::vector<NoteSummary> notes;  // newest created first
    bool operator==(const Group&) const = default;
  };

  /// The sections from today back; none is empty. Notes of one instant keep their order.
  static std::vector<Group> groupByCreationDate(std::vector<NoteSummary> notes, Date now,
                                                const Region& region);

  /// "42s", "1m 05s", "1h 00m".
  static std::string duration(double seconds);

  /// "62:05": minutes never roll over into hours.
  static std::string stopwatch(std::int64_t seconds);

  /// "12,345".
  static std::string count(std::int64_t number);
};

}  // namespace pell
