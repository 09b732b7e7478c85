#include "main/ShutdownWatch.h"

#include <utility>

namespace pell {
namespace {

constexpr const char* loginManager = "org.freedesktop.login1";

void onPrepareForShutdown(GDBusConnection*, const gchar*, const gchar*, const gchar*, const gchar*,
                          GVariant* parameters, gpointer target) {
  gboolean begins = FALSE;
  g_variant_get(parameters, "(b)", &begins);
  if (begins) (*static_cast<std::function<void()>*>(target))();
}

}  // namespace

ShutdownWatch::ShutdownWatch(std::function<void()> onShutdown) : onShutdown_(std::move(onShutdown)) {
  bus_ = g_bus_get_sync(G_BUS_TYPE_SYSTEM, nullptr, nullptr);
  if (!bus_) return;
  g_dbus_connection_set_exit_on_close(bus_, FALSE);
  subscription_ = g_dbus_connection_signal_subscribe(
      bus_, loginManager, "org.freedesktop.login1.Manager", "PrepareForShutdown", "/org/freedesktop/login1",
      nullptr, G_DBUS_SIGNAL_FLAGS_NONE, onPrepareForShutdown, &onShutdown_, nullptr);
}

ShutdownWatch::~ShutdownWatch() {
  if (!bus_) return;
  g_dbus_connection_signal_unsubscribe(bus_, subscription_);
  g_object_unref(bus_);
}

}  // namespace pell
