#pragma once

#include <functional>
#include <memory>

#include "async/Executor.h"
#include "platform/linux/GLibThread.h"

namespace pell {

/// Notices that the machine moved to another time zone, and makes the C library and ICU count in it: SQLite
/// uses the one, our calendars the other.
class TimeZoneWatch {
 public:
  /// `onChange` runs on `executor`, after both have been told.
  TimeZoneWatch(Executor& executor, std::function<void()> onChange);
  ~TimeZoneWatch();
  TimeZoneWatch(const TimeZoneWatch&) = delete;
  TimeZoneWatch& operator=(const TimeZoneWatch&) = delete;

 private:
  struct Listener;
  std::unique_ptr<Listener> listener_;
  GLibThread thread_;
};

}  // namespace pell
