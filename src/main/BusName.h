#pragma once

#include <gio/gio.h>

namespace pell {

/// Owns the application's well-known name on the session bus, by which desktops match windows, notices and
/// services to it. Without a bus it owns nothing.
class BusName {
 public:
  explicit BusName(const char* name)
      : owner_(g_bus_own_name(G_BUS_TYPE_SESSION, name, G_BUS_NAME_OWNER_FLAGS_NONE, nullptr, nullptr,
                              nullptr, nullptr, nullptr)) {}
  ~BusName() { g_bus_unown_name(owner_); }
  BusName(const BusName&) = delete;
  BusName& operator=(const BusName&) = delete;

 private:
  guint owner_;
};

}  // namespace pell
