#include "localserver/Times.h"

#include <chrono>
#include <fmt/chrono.h>

namespace pell::localserver {

std::string isoTime(UnixSeconds moment) {
  return fmt::format("{:%Y-%m-%dT%H:%M:%SZ}", fmt::gmtime(static_cast<std::time_t>(moment)));
}

Month monthOf(UnixSeconds moment) {
  using namespace std::chrono;
  const year_month_day date = floor<days>(sys_seconds{seconds(moment)});
  const year_month month = date.year() / date.month();
  const auto startOf = [](year_month when) {
    return sys_seconds(sys_days(when / day(1))).time_since_epoch().count();
  };
  return {.name = fmt::format("{:04}-{:02}", static_cast<int>(month.year()),
                              static_cast<unsigned>(month.month())),
          .start = startOf(month),
          .end = startOf(month + months(1))};
}

}  // namespace pell::localserver
