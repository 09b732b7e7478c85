#include "platform/linux/LogindActivity.h"

#include <gio/gunixfdlist.h>
#include <mutex>
#include <string>
#include <unistd.h>
#include <utility>

namespace pell {
namespace {

/// The login manager's lock is a file descriptor: it holds as long as that is open. The request may still be
/// on its way when the activity is over.
class Inhibitor {
 public:
  ~Inhibitor() { end(); }

  void take(int descriptor) {
    std::lock_guard lock(mutex_);
    if (ended_) {
      close(descriptor);
    } else {
      descriptor_ = descriptor;
    }
  }

  void end() {
    std::lock_guard lock(mutex_);
    ended_ = true;
    if (descriptor_ >= 0) close(std::exchange(descriptor_, -1));
  }

 private:
  std::mutex mutex_;
  int descriptor_ = -1;
  bool ended_ = false;
};

class Token final : public ActivityToken {
 public:
  explicit Token(std::shared_ptr<Inhibitor> inhibitor) : inhibitor_(std::move(inhibitor)) {}
  ~Token() override { inhibitor_->end(); }

 private:
  std::shared_ptr<Inhibitor> inhibitor_;
};

struct Request {
  std::shared_ptr<Inhibitor> inhibitor;
  std::string reason;
};

void takeReply(GObject* connection, GAsyncResult* result, gpointer data) {
  std::unique_ptr<Request> request(static_cast<Request*>(data));
  GUnixFDList* descriptors = nullptr;
  GLibPtr<GVariant> reply(g_dbus_connection_call_with_unix_fd_list_finish(G_DBUS_CONNECTION(connection),
                                                                          &descriptors, result, nullptr));
  if (!descriptors) return;
  if (g_unix_fd_list_get_length(descriptors) > 0) {
    if (int descriptor = g_unix_fd_list_get(descriptors, 0, nullptr); descriptor >= 0) {
      request->inhibitor->take(descriptor);
    }
  }
  g_object_unref(descriptors);
}

void takeBus(GObject*, GAsyncResult* result, gpointer data) {
  std::unique_ptr<Request> request(static_cast<Request*>(data));
  GLibPtr<GDBusConnection> bus(g_bus_get_finish(result, nullptr));
  if (!bus) return;
  g_dbus_connection_set_exit_on_close(bus.get(), FALSE);
  auto* arguments = g_variant_new("(ssss)", "idle", "Pell", request->reason.c_str(), "block");
  g_dbus_connection_call_with_unix_fd_list(bus.get(), "org.freedesktop.login1", "/org/freedesktop/login1",
                                           "org.freedesktop.login1.Manager", "Inhibit", arguments,
                                           G_VARIANT_TYPE("(h)"), G_DBUS_CALL_FLAGS_NONE, -1, nullptr,
                                           nullptr, takeReply, request.release());
}

}  // namespace

std::unique_ptr<ActivityToken> LogindActivity::begin(std::string_view reason) {
  auto inhibitor = std::make_shared<Inhibitor>();
  thread_.post([bus = bus_, inhibitor, reason = std::string(reason)] {
    auto request = std::make_unique<Request>(Request{inhibitor, reason});
    g_bus_get(bus, nullptr, takeBus, request.release());
  });
  return std::make_unique<Token>(inhibitor);
}

}  // namespace pell
