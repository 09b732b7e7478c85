#pragma once

#include <functional>
#include <gio/gio.h>

namespace pell {

/// Hears when the login manager is about to shut the machine down. Needs a main loop that serves GLib's
/// default context, as Qt's does on Linux; without a system bus it never calls.
class ShutdownWatch {
 public:
  explicit ShutdownWatch(std::function<void()> onShutdown);
  ~ShutdownWatch();
  ShutdownWatch(const ShutdownWatch&) = delete;
  ShutdownWatch& operator=(const ShutdownWatch&) = delete;

 private:
  std::function<void()> onShutdown_;
  GDBusConnection* bus_ = nullptr;
  guint subscription_ = 0;
};

}  // namespace pell
