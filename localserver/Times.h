// Moments and months as the API writes them, all in UTC.
#pragma once

#include <string>

#include "localserver/Storage.h"

namespace pell::localserver {

/// "2025-01-31T09:30:00Z".
std::string isoTime(UnixSeconds moment);

/// A calendar month.
struct Month {
  /// "2025-01".
  std::string name;
  UnixSeconds start = 0;
  /// The first moment of the next month.
  UnixSeconds end = 0;
};

Month monthOf(UnixSeconds moment);

}  // namespace pell::localserver
