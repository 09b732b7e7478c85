// Dates as the user reads them.
#pragma once

#include <map>
#include <memory>
#include <optional>
#include <string>
#include <string_view>
#include <unicode/uversion.h>

#include "async/Time.h"
#include "stores/Calendar.h"

U_NAMESPACE_BEGIN
class DateFormat;
U_NAMESPACE_END

namespace pell {

/// How a user counts days and writes dates.
struct Region {
  Calendar calendar = Calendar::current();
  std::string locale = "en_US";  // as ICU names it ("de_DE"); decides order, punctuation and names
};

/// The labels of many dates at one moment. What a locale needs for them is built once for each kind of
/// label, which takes far longer than a label: keep one object for a whole list, and no longer. One thread.
class DateLabels {
 public:
  DateLabels(Region region, Date now);
  DateLabels(const DateLabels&) = delete;
  DateLabels& operator=(const DateLabels&) = delete;
  ~DateLabels();

  /// The time of today, "Yesterday", the weekday within a week, else the date.
  std::string rowTimestamp(Date date);

  /// The day at full length.
  std::string dayLabel(Date date);

  /// The span of a list in which a date falls: days near to today, months further back.
  std::string groupLabel(Date date);

  /// Date and time, "... at ...".
  std::string editedTimestamp(Date date);

  /// By a pattern of Unicode date symbols, in that order whatever the locale.
  std::string inPattern(std::string_view pattern, Date date);

 private:
  int daysAgo(Date date) const;
  bool isThisYear(Date date) const;
  std::string shortTime(Date date);
  std::string bySkeleton(std::string_view skeleton, Date date);
  template <class Make>
  std::string formatted(std::string_view kind, Date date, Make make);

  Region region_;
  Date now_;
  std::optional<int> year_;
  std::map<std::string, std::unique_ptr<icu::DateFormat>, std::less<>> formats_;
};

}  // namespace pell
