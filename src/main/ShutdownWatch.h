#pragma once

#include <functional>
#include <gio/gio.h>

#include "platform/linux/GLibPtr.h"

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
  static void onConnected(GObject*, GAsyncResult* result, gpointer self);
  void subscribe(GDBusConnection* bus);

  std::function<void()> onShutdown_;
  GLibPtr<GCancellable> connecting_;
  GLibPtr<GDBusConnection> bus_;
  guint subscription_ = 0;
};

}  // namespace pell
