#include "linux/BusName.h"

#include <future>
#include <stdexcept>
#include <utility>

namespace pell::testing {

BusName::BusName(const std::string& name)
    : bus_(g_bus_get_sync(G_BUS_TYPE_SESSION, nullptr, nullptr)), name_(name) {
  constexpr guint doNotQueue = 4;
  if (!bus_ || !callBus("org.freedesktop.DBus", "/org/freedesktop/DBus", "org.freedesktop.DBus.RequestName",
                        g_variant_new("(su)", name.c_str(), doNotQueue))) {
    throw std::runtime_error("the bus does not give the name " + name);
  }
}

BusName::~BusName() {
  if (object_ > 0) g_dbus_connection_unregister_object(bus_.get(), object_);
  callBus("org.freedesktop.DBus", "/org/freedesktop/DBus", "org.freedesktop.DBus.ReleaseName",
          g_variant_new("(s)", name_.c_str()));
  thread_.stop();
}

void BusName::serve(const std::string& path, const std::string& description, Handler handler) {
  handler_ = std::move(handler);
  std::promise<guint> registered;
  thread_.post([&] {
    GDBusNodeInfo* node = g_dbus_node_info_new_for_xml(description.c_str(), nullptr);
    static constexpr GDBusInterfaceVTable table{
        [](GDBusConnection*, const char*, const char*, const char*, const char* method, GVariant*,
           GDBusMethodInvocation* invocation,
           gpointer self) { static_cast<BusName*>(self)->handler_(method, invocation); },
        nullptr,
        nullptr,
        {}};
    registered.set_value(g_dbus_connection_register_object(bus_.get(), path.c_str(), node->interfaces[0],
                                                           &table, this, nullptr, nullptr));
    g_dbus_node_info_unref(node);
  });
  object_ = registered.get_future().get();
  if (object_ == 0) throw std::runtime_error("the object cannot be served");
}

void BusName::emit(const std::string& path, const std::string& interface, const std::string& signal,
                   GVariant* arguments) {
  g_dbus_connection_emit_signal(bus_.get(), nullptr, path.c_str(), interface.c_str(), signal.c_str(),
                                arguments, nullptr);
  g_dbus_connection_flush_sync(bus_.get(), nullptr, nullptr);
}

GLibPtr<GVariant> callBus(const std::string& name, const std::string& path, const std::string& method,
                          GVariant* arguments) {
  GLibPtr<GVariant> held = sinkVariant(arguments);
  GLibPtr<GDBusConnection> bus(g_bus_get_sync(G_BUS_TYPE_SESSION, nullptr, nullptr));
  if (!bus) return nullptr;
  const auto dot = method.rfind('.');
  return GLibPtr<GVariant>(g_dbus_connection_call_sync(
      bus.get(), name.c_str(), path.c_str(), method.substr(0, dot).c_str(), method.substr(dot + 1).c_str(),
      held.get(), nullptr, G_DBUS_CALL_FLAGS_NONE, 5000, nullptr, nullptr));
}

}  // namespace pell::testing
