#include "stores/IsoDate.h"

#include <chrono>

namespace pell {
namespace {

bool isDigit(char character) { return character >= '0' && character <= '9'; }

/// Takes a text apart from its beginning; once something did not fit, nothing does.
class Fields {
 public:
  explicit Fields(std::string_view text) : rest_(text) {}

  int number(std::size_t digits, int least, int most) {
    if (rest_.size() < digits) return fail();
    int value = 0;
    for (const char character : rest_.substr(0, digits)) {
      if (!isDigit(character)) return fail();
      value = value * 10 + (character - '0');
    }
    rest_.remove_prefix(digits);
    return value < least || value > most ? fail() : value;
  }

  void literal(char expected) {
    if (!take(expected)) fail();
  }

  bool take(char expected) {
    if (rest_.empty() || rest_.front() != expected) return false;
    rest_.remove_prefix(1);
    return true;
  }

  /// Any number of digits after a point; 0 if there is no point.
  double fraction(IsoFraction presence) {
    if (!take('.')) return presence == IsoFraction::required ? fail() : 0;
    if (rest_.empty() || !isDigit(rest_.front())) return fail();
    // One division, so that the value is the nearest that there is; what is beyond has no weight.
    constexpr double enough = 1e15;
    double digits = 0;
    double unit = 1;
    for (; !rest_.empty() && isDigit(rest_.front()); rest_.remove_prefix(1)) {
      if (unit >= enough) continue;
      digits = digits * 10 + (rest_.front() - '0');
      unit *= 10;
    }
    return digits / unit;
  }

  /// Seconds to the east of Greenwich.
  int zone() {
    if (take('Z')) return 0;
    const bool east = take('+');
    if (!east) literal('-');
    const int hours = number(2, 0, 23);
    literal(':');
    const int minutes = number(2, 0, 59);
    return (east ? 1 : -1) * (hours * 3600 + minutes * 60);
  }

  bool fitted() const { return fits_ && rest_.empty(); }

 private:
  int fail() {
    fits_ = false;
    rest_ = {};
    return 0;
  }

  std::string_view rest_;
  bool fits_ = true;
};

}  // namespace

std::optional<Date> parseIsoDate(std::string_view text, IsoFraction presence) {
  Fields fields(text);
  const int year = fields.number(4, 0, 9999);
  fields.literal('-');
  const int month = fields.number(2, 1, 12);
  fields.literal('-');
  const int day = fields.number(2, 1, 31);
  fields.literal('T');
  const int hour = fields.number(2, 0, 23);
  fields.literal(':');
  const int minute = fields.number(2, 0, 59);
  fields.literal(':');
  const int second = fields.number(2, 0, 59);
  const double fraction = fields.fraction(presence);
  const int zone = fields.zone();

  const std::chrono::year_month_day date{std::chrono::year(year),
                                         std::chrono::month(static_cast<unsigned>(month)),
                                         std::chrono::day(static_cast<unsigned>(day))};
  if (!fields.fitted() || !date.ok()) return std::nullopt;
  const auto midnight = std::chrono::sys_days(date).time_since_epoch();
  const auto seconds = std::chrono::duration_cast<std::chrono::seconds>(midnight).count();
  return dateFromSeconds(static_cast<double>(seconds + hour * 3600 + minute * 60 + second - zone) + fraction);
}

}  // namespace pell
