#include "linux/DesktopHelpers.h"

#include <X11/Xatom.h>
#include <X11/Xlib.h>

#include "platform/linux/GLibPtr.h"

namespace pell::testing {
namespace {

unsigned long cardinal(X11Connection& connection, unsigned long window, const char* property) {
  Atom type = 0;
  int format = 0;
  unsigned long count = 0;
  unsigned long rest = 0;
  unsigned char* data = nullptr;
  XGetWindowProperty(connection.display(), window, connection.atom(property), 0, 1, False, AnyPropertyType,
                     &type, &format, &count, &rest, &data);
  const unsigned long value = data && count > 0 ? *reinterpret_cast<unsigned long*>(data) : 0;
  if (data) XFree(data);
  return value;
}

}  // namespace

std::unique_ptr<X11Connection> openDisplay() {
  auto opening = X11Connection::open();
  return std::move(std::get<std::unique_ptr<X11Connection>>(opening));
}

unsigned long activeWindow(X11Connection& connection) {
  return cardinal(connection, connection.root(), "_NET_ACTIVE_WINDOW");
}

int activeProcess(X11Connection& connection) {
  const auto window = activeWindow(connection);
  return window ? static_cast<int>(cardinal(connection, window, "_NET_WM_PID")) : 0;
}

void setAccessibilityEnabled(bool enabled) {
  GLibPtr<GDBusConnection> session(g_bus_get_sync(G_BUS_TYPE_SESSION, nullptr, nullptr));
  GLibPtr<GVariant> reply(g_dbus_connection_call_sync(
      session.get(), "org.a11y.Bus", "/org/a11y/bus", "org.freedesktop.DBus.Properties", "Set",
      g_variant_new("(ssv)", "org.a11y.Status", "IsEnabled", g_variant_new_boolean(enabled)), nullptr,
      G_DBUS_CALL_FLAGS_NONE, 2000, nullptr, nullptr));
}

}  // namespace pell::testing
