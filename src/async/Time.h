// The units of time used everywhere: one span, one monotonic instant, one wall-clock date.
#pragma once

#include <chrono>

namespace pell {

/// A span of time in seconds, fractions included.
using Seconds = std::chrono::duration<double>;

/// A reading of the monotonic clock; only differences mean anything.
using Instant = std::chrono::time_point<std::chrono::steady_clock, std::chrono::nanoseconds>;

/// A moment on the calendar, in seconds since 1970-01-01T00:00Z as a 64-bit float.
using Date = std::chrono::time_point<std::chrono::system_clock, Seconds>;

inline double secondsSince1970(Date date) { return date.time_since_epoch().count(); }
inline Date dateFromSeconds(double seconds) { return Date(Seconds(seconds)); }

inline std::chrono::nanoseconds toNanoseconds(Seconds span) {
  return std::chrono::duration_cast<std::chrono::nanoseconds>(span);
}

}  // namespace pell
