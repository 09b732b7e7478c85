#pragma once

#include <functional>
#include <string>

#include "platform/linux/GLibThread.h"

namespace pell::testing {

/// A service of the test's own on the private desktop's session bus, under a name that real ones have
/// elsewhere.
class BusName {
 public:
  /// Takes a method call with its arguments and answers the invocation.
  using Handler = std::function<void(const std::string& method, GDBusMethodInvocation* invocation)>;

  explicit BusName(const std::string& name);
  ~BusName();
  BusName(const BusName&) = delete;
  BusName& operator=(const BusName&) = delete;

  /// Serves an object, described by its XML. The handler runs on a thread of this service.
  void serve(const std::string& path, const std::string& description, Handler handler);

  void emit(const std::string& path, const std::string& interface, const std::string& signal,
            GVariant* arguments);

 private:
  GLibPtr<GDBusConnection> bus_;
  std::string name_;
  Handler handler_;
  guint object_ = 0;
  GLibThread thread_{"bus-name"};
};

/// Calls a method on the session bus and waits; null on failure.
GLibPtr<GVariant> callBus(const std::string& name, const std::string& path, const std::string& method,
                          GVariant* arguments);

}  // namespace pell::testing
