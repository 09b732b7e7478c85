#include "platform/linux/LogindActivity.h"

#include <gio/gio.h>
#include <gio/gunixfdlist.h>
#include <string>
#include <unistd.h>
#include <utility>

namespace pell {
namespace {

constexpr int callLimit = 2000;  // milliseconds

/// The open descriptor is the inhibition. -1 when the login manager did not give one.
int inhibit(const std::string& reason) {
  GLibPtr<GDBusConnection> bus(g_bus_get_sync(G_BUS_TYPE_SYSTEM, nullptr, nullptr));
  if (!bus) return -1;
  GUnixFDList* descriptors = nullptr;
  GLibPtr<GVariant> reply(g_dbus_connection_call_with_unix_fd_list_sync(
      bus.get(), "org.freedesktop.login1", "/org/freedesktop/login1", "org.freedesktop.login1.Manager",
      "Inhibit", g_variant_new("(ssss)", "idle", "Pell", reason.c_str(), "block"), G_VARIANT_TYPE("(h)"),
      G_DBUS_CALL_FLAGS_NO_AUTO_START, callLimit, nullptr, &descriptors, nullptr, nullptr));
  if (!reply || !descriptors) return -1;
  gint32 index = 0;
  g_variant_get(reply.get(), "(h)", &index);
  const int descriptor = g_unix_fd_list_get(descriptors, index, nullptr);
  g_object_unref(descriptors);
  return descriptor;
}

/// The descriptor is touched on the thread only.
class InhibitToken final : public ActivityToken {
 public:
  InhibitToken(GLibThread& thread, std::string reason) : thread_(thread) {
    thread_.post([held = held_, reason = std::move(reason)] { *held = inhibit(reason); });
  }
  ~InhibitToken() override {
    thread_.post([held = held_] {
      if (*held >= 0) ::close(*held);
    });
  }

 private:
  GLibThread& thread_;
  std::shared_ptr<int> held_ = std::make_shared<int>(-1);
};

}  // namespace

std::unique_ptr<ActivityToken> LogindActivity::begin(std::string_view reason) {
  return std::make_unique<InhibitToken>(thread_, std::string(reason));
}

}  // namespace pell
