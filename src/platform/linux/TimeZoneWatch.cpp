#include "platform/linux/TimeZoneWatch.h"

#include <ctime>
#include <unicode/timezone.h>
#include <utility>

namespace pell {

// The file is replaced in several steps, and the bus tells of it before or after.
constexpr Seconds quiet{0.2};

TimeZoneWatch::TimeZoneWatch(Executor& executor, std::function<void()> changed)
    : TimeZoneWatch(executor, std::move(changed), Sources{}) {}

TimeZoneWatch::TimeZoneWatch(Executor& executor, std::function<void()> changed, Sources sources)
    : executor_(executor), changed_(std::make_shared<std::function<void()>>(std::move(changed))) {
  thread_.post([this, sources = std::move(sources)] {
    watchFile(sources.localTime);
    watchBus(sources.bus);
  });
}

TimeZoneWatch::~TimeZoneWatch() {
  thread_.stop();
  if (subscription_ > 0) g_dbus_connection_signal_unsubscribe(connection_.get(), subscription_);
  if (monitor_) g_object_unref(monitor_);
}

void TimeZoneWatch::watchFile(const std::filesystem::path& file) {
  GFile* place = g_file_new_for_path(file.c_str());
  monitor_ = g_file_monitor_file(place, G_FILE_MONITOR_WATCH_MOVES, nullptr, nullptr);
  g_object_unref(place);
  if (!monitor_) return;
  const auto event = +[](GFileMonitor*, GFile*, GFile*, GFileMonitorEvent, gpointer self) {
    static_cast<TimeZoneWatch*>(self)->noticed();
  };
  g_signal_connect(monitor_, "changed", G_CALLBACK(event), this);
}

void TimeZoneWatch::watchBus(GBusType bus) {
  connection_.reset(g_bus_get_sync(bus, nullptr, nullptr));
  if (!connection_) return;
  g_dbus_connection_set_exit_on_close(connection_.get(), FALSE);
  subscription_ = g_dbus_connection_signal_subscribe(
      connection_.get(), "org.freedesktop.timedate1", "org.freedesktop.DBus.Properties", "PropertiesChanged",
      "/org/freedesktop/timedate1", nullptr, G_DBUS_SIGNAL_FLAGS_NONE,
      [](GDBusConnection*, const char*, const char*, const char*, const char*, GVariant*, gpointer self) {
        static_cast<TimeZoneWatch*>(self)->noticed();
      },
      this, nullptr);
}

void TimeZoneWatch::noticed() {
  if (std::exchange(refreshing_, true)) return;
  thread_.postAfter(quiet, [this] { refresh(); });
}

void TimeZoneWatch::refresh() {
  refreshing_ = false;
  tzset();
  icu::TimeZone::adoptDefault(icu::TimeZone::detectHostTimeZone());
  executor_.post([weak = std::weak_ptr(changed_)] {
    if (auto changed = weak.lock()) (*changed)();
  });
}

}  // namespace pell
