#pragma once

#include <filesystem>
#include <functional>
#include <gio/gio.h>

#include "async/Executor.h"
#include "platform/linux/GLibThread.h"

namespace pell {

/// Notices that the machine's time zone was changed while the program runs, and brings libc's and ICU's
/// notion of the local zone up to date, which both otherwise keep from their first use.
class TimeZoneWatch {
 public:
  struct Sources {
    std::filesystem::path localTime = "/etc/localtime";
    GBusType bus = G_BUS_TYPE_SYSTEM;
  };

  /// `changed` runs on `executor` after each refresh; several signs of one change come as one. Both must
  /// outlive the watch, and nothing that was posted runs after it.
  TimeZoneWatch(Executor& executor, std::function<void()> changed);
  TimeZoneWatch(Executor& executor, std::function<void()> changed, Sources sources);
  ~TimeZoneWatch();
  TimeZoneWatch(const TimeZoneWatch&) = delete;
  TimeZoneWatch& operator=(const TimeZoneWatch&) = delete;

 private:
  void watchFile(const std::filesystem::path& file);
  void watchBus(GBusType bus);
  void noticed();
  void refresh();

  Executor& executor_;
  std::shared_ptr<std::function<void()>> changed_;
  bool refreshing_ = false;
  guint subscription_ = 0;
  GLibPtr<GDBusConnection> connection_;
  GFileMonitor* monitor_ = nullptr;
  GLibThread thread_{"time-zone"};
};

}  // namespace pell
