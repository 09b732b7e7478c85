#include "platform/linux/TimeZoneWatch.h"

#include <ctime>
#include <future>
#include <gio/gio.h>
#include <unicode/timezone.h>
#include <utility>

namespace pell {

/// Lives on the watch's thread, but for its construction.
struct TimeZoneWatch::Listener {
  Executor& executor;
  std::function<void()> onChange;
  GFileMonitor* monitor = nullptr;

  /// The zone is the file that this name points to; whoever changes the zone replaces it.
  void start() {
    GFile* zone = g_file_new_for_path("/etc/localtime");
    monitor = g_file_monitor_file(zone, G_FILE_MONITOR_NONE, nullptr, nullptr);
    g_object_unref(zone);
    if (monitor) g_signal_connect(monitor, "changed", G_CALLBACK(&Listener::onChanged), this);
  }

  void stop() { g_clear_object(&monitor); }

  static void onChanged(GFileMonitor*, GFile*, GFile*, GFileMonitorEvent, gpointer target) {
    auto* self = static_cast<Listener*>(target);
    self->executor.post([onChange = self->onChange] {
      ::tzset();
      icu::TimeZone::adoptDefault(icu::TimeZone::detectHostTimeZone());
      onChange();
    });
  }
};

TimeZoneWatch::TimeZoneWatch(Executor& executor, std::function<void()> onChange)
    : listener_(new Listener{executor, std::move(onChange)}), thread_("time-zone") {
  thread_.post([listener = listener_.get()] { listener->start(); });
}

TimeZoneWatch::~TimeZoneWatch() {
  auto stopped = std::make_shared<std::promise<void>>();
  thread_.post([listener = listener_.get(), stopped] {
    listener->stop();
    stopped->set_value();
  });
  stopped->get_future().wait();
}

}  // namespace pell
