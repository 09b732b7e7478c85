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

ShutdownWatch::ShutdownWatch(std::function<void()> onShutdown)
    : onShutdown_(std::move(onShutdown)), connecting_(g_cancellable_new()) {
  // Not waited for: a bus that hangs is not to hold up the start.
  g_bus_get(G_BUS_TYPE_SYSTEM, connecting_.get(), onConnected, this);
}

void ShutdownWatch::onConnected(GObject*, GAsyncResult* result, gpointer self) {
  // Without a bus there is nothing to hear; cancelled, the watch itself is gone.
  if (auto* bus = g_bus_get_finish(result, nullptr)) static_cast<ShutdownWatch*>(self)->subscribe(bus);
}

void ShutdownWatch::subscribe(GDBusConnection* bus) {
  bus_.reset(bus);
  g_dbus_connection_set_exit_on_close(bus, FALSE);
  subscription_ = g_dbus_connection_signal_subscribe(
      bus, loginManager, "org.freedesktop.login1.Manager", "PrepareForShutdown", "/org/freedesktop/login1",
      nullptr, G_DBUS_SIGNAL_FLAGS_NONE, onPrepareForShutdown, &onShutdown_, nullptr);
}

ShutdownWatch::~ShutdownWatch() {
  g_cancellable_cancel(connecting_.get());
  if (bus_) g_dbus_connection_signal_unsubscribe(bus_.get(), subscription_);
}

}  // namespace pell
