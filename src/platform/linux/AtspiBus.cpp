#include "platform/linux/AtspiBus.h"

#include <algorithm>
#include <utility>

namespace pell {
namespace {

constexpr const char* statusBus = "org.a11y.Bus";
constexpr const char* statusPath = "/org/a11y/bus";
constexpr const char* statusInterface = "org.a11y.Status";
constexpr const char* propertiesInterface = "org.freedesktop.DBus.Properties";
constexpr int housekeepingTimeout = 2000;  // milliseconds, on the bus's own thread
constexpr Seconds firstRetry{0.25};
constexpr Seconds longestRetry{5};

AccessibilityError errorOf(const GError& error) {
  if (g_error_matches(&error, G_IO_ERROR, G_IO_ERROR_TIMED_OUT) ||
      g_error_matches(&error, G_IO_ERROR, G_IO_ERROR_CANCELLED) ||
      g_error_matches(&error, G_DBUS_ERROR, G_DBUS_ERROR_NO_REPLY) ||
      g_error_matches(&error, G_DBUS_ERROR, G_DBUS_ERROR_TIMEOUT))
    return AccessibilityError::cannotComplete;
  if (g_error_matches(&error, G_IO_ERROR, G_IO_ERROR_CLOSED)) return AccessibilityError::apiDisabled;
  if (g_error_matches(&error, G_DBUS_ERROR, G_DBUS_ERROR_UNKNOWN_OBJECT) ||
      g_error_matches(&error, G_DBUS_ERROR, G_DBUS_ERROR_SERVICE_UNKNOWN) ||
      g_error_matches(&error, G_DBUS_ERROR, G_DBUS_ERROR_NAME_HAS_NO_OWNER) ||
      g_error_matches(&error, G_DBUS_ERROR, G_DBUS_ERROR_DISCONNECTED))
    return AccessibilityError::invalidElement;
  if (g_error_matches(&error, G_DBUS_ERROR, G_DBUS_ERROR_UNKNOWN_METHOD) ||
      g_error_matches(&error, G_DBUS_ERROR, G_DBUS_ERROR_UNKNOWN_INTERFACE) ||
      g_error_matches(&error, G_DBUS_ERROR, G_DBUS_ERROR_UNKNOWN_PROPERTY) ||
      g_error_matches(&error, G_DBUS_ERROR, G_DBUS_ERROR_NOT_SUPPORTED))
    return AccessibilityError::attributeUnsupported;
  return AccessibilityError::failure;
}

AtspiReply replyOf(GVariant* value, GError* failure) {
  GLibPtr<GError> error(failure);
  if (value) return {AccessibilityError::success, GLibPtr<GVariant>(value)};
  return {error ? errorOf(*error) : AccessibilityError::failure, nullptr};
}

GLibPtr<GDBusConnection> openBus(const char* address, GCancellable* cancellable) {
  const auto flags = static_cast<GDBusConnectionFlags>(G_DBUS_CONNECTION_FLAGS_AUTHENTICATION_CLIENT |
                                                       G_DBUS_CONNECTION_FLAGS_MESSAGE_BUS_CONNECTION);
  return GLibPtr<GDBusConnection>(
      g_dbus_connection_new_for_address_sync(address, flags, nullptr, cancellable, nullptr));
}

}  // namespace

AtspiDeadline::AtspiDeadline(Seconds limit)
    : end_(std::chrono::steady_clock::now() + toNanoseconds(std::clamp(limit, Seconds(0), Seconds(60)))) {}

int AtspiDeadline::remaining() const {
  const auto left = std::chrono::ceil<std::chrono::milliseconds>(end_ - std::chrono::steady_clock::now());
  return std::max<int>(0, static_cast<int>(left.count()));
}

AtspiBus::AtspiBus() : stopping_(g_cancellable_new()), thread_("atspi") {
  thread_.post([this] { connect(); });
}

AtspiBus::~AtspiBus() {
  g_cancellable_cancel(stopping_.get());
  thread_.post([this] { dropConnections(); });
  thread_.stop();
}

void AtspiBus::connect() {
  if (g_cancellable_is_cancelled(stopping_.get())) return;
  if (connectSession() && connectAccessibility()) {
    retryDelay_ = Seconds(0);
    return;
  }
  lost();
}

bool AtspiBus::connectSession() {
  GLibPtr<char> address(g_dbus_address_get_for_bus_sync(G_BUS_TYPE_SESSION, stopping_.get(), nullptr));
  if (!address) return false;
  session_ = openBus(address.get(), stopping_.get());
  if (!session_) return false;
  g_signal_connect(session_.get(), "closed", G_CALLBACK(&AtspiBus::onClosed), this);
  g_dbus_connection_signal_subscribe(session_.get(), statusBus, propertiesInterface, "PropertiesChanged",
                                     statusPath, statusInterface, G_DBUS_SIGNAL_FLAGS_NONE,
                                     &AtspiBus::onStatus, this, nullptr);
  return true;
}

bool AtspiBus::connectAccessibility() {
  GLibPtr<GVariant> reply(g_dbus_connection_call_sync(
      session_.get(), statusBus, statusPath, "org.a11y.Bus", "GetAddress", nullptr, G_VARIANT_TYPE("(s)"),
      G_DBUS_CALL_FLAGS_NONE, housekeepingTimeout, stopping_.get(), nullptr));
  if (!reply) return false;
  const char* address = nullptr;
  g_variant_get(reply.get(), "(&s)", &address);
  auto opened = openBus(address, stopping_.get());
  if (!opened) return false;
  g_signal_connect(opened.get(), "closed", G_CALLBACK(&AtspiBus::onClosed), this);
  {
    std::lock_guard lock(mutex_);
    accessibility_ = std::move(opened);
  }
  subscribeFocus();
  subscribeWindows();
  readEnabled();
  connected_ = true;
  return true;
}

void AtspiBus::subscribeFocus() {
  g_dbus_connection_signal_subscribe(accessibility_.get(), nullptr, "org.a11y.atspi.Event.Object",
                                     "StateChanged", nullptr, "focused", G_DBUS_SIGNAL_FLAGS_NONE,
                                     &AtspiBus::onFocus, this, nullptr);
  registerFor("object:state-changed:focused");
}

void AtspiBus::subscribeWindows() {
  g_dbus_connection_signal_subscribe(accessibility_.get(), nullptr, "org.a11y.atspi.Event.Window", "Activate",
                                     nullptr, nullptr, G_DBUS_SIGNAL_FLAGS_NONE, &AtspiBus::onWindow, this,
                                     nullptr);
  registerFor("window:activate");
}

void AtspiBus::registerFor(const char* event) {
  // Applications send events only while somebody is registered for them.
  g_dbus_connection_call(accessibility_.get(), "org.a11y.atspi.Registry", "/org/a11y/atspi/registry",
                         "org.a11y.atspi.Registry", "RegisterEvent",
                         g_variant_new("(s@ass)", event, g_variant_new_strv(nullptr, 0), ""), nullptr,
                         G_DBUS_CALL_FLAGS_NONE, housekeepingTimeout, stopping_.get(), nullptr, nullptr);
}

void AtspiBus::readEnabled() {
  GLibPtr<GVariant> reply(
      g_dbus_connection_call_sync(session_.get(), statusBus, statusPath, propertiesInterface, "Get",
                                  g_variant_new("(ss)", statusInterface, "IsEnabled"), G_VARIANT_TYPE("(v)"),
                                  G_DBUS_CALL_FLAGS_NONE, housekeepingTimeout, stopping_.get(), nullptr));
  if (!reply) {
    enabled_ = false;
    return;
  }
  GVariant* inner = nullptr;
  g_variant_get(reply.get(), "(v)", &inner);
  GLibPtr<GVariant> value(inner);
  enabled_ = g_variant_is_of_type(inner, G_VARIANT_TYPE_BOOLEAN) && g_variant_get_boolean(inner);
}

void AtspiBus::lost() {
  dropConnections();
  if (retryPending_ || g_cancellable_is_cancelled(stopping_.get())) return;
  retryPending_ = true;
  retryDelay_ = std::clamp(retryDelay_ * 2, firstRetry, longestRetry);
  thread_.postAfter(retryDelay_, [this] {
    retryPending_ = false;
    connect();
  });
}

void AtspiBus::dropConnections() {
  connected_ = false;
  enabled_ = false;
  GLibPtr<GDBusConnection> old;
  {
    std::lock_guard lock(mutex_);
    old = std::exchange(accessibility_, nullptr);
    focused_.reset();
    processes_.clear();
    toolkits_.clear();
    liars_.clear();
  }
  for (auto* connection : {old.get(), session_.get()}) {
    if (!connection) continue;
    g_signal_handlers_disconnect_by_data(connection, this);
    g_dbus_connection_close_sync(connection, nullptr, nullptr);
  }
  session_.reset();
}

void AtspiBus::switchOn() {
  thread_.post([this] {
    rememberForNextLogin();
    if (!session_) return;
    g_dbus_connection_call(session_.get(), statusBus, statusPath, propertiesInterface, "Set",
                           g_variant_new("(ssv)", statusInterface, "IsEnabled", g_variant_new_boolean(TRUE)),
                           nullptr, G_DBUS_CALL_FLAGS_NONE, housekeepingTimeout, stopping_.get(), nullptr,
                           nullptr);
  });
}

void AtspiBus::rememberForNextLogin() {
  constexpr const char* schemaName = "org.gnome.desktop.interface";
  // Asking for settings whose schema is not installed would end the process.
  GSettingsSchemaSource* source = g_settings_schema_source_get_default();
  GSettingsSchema* schema = source ? g_settings_schema_source_lookup(source, schemaName, TRUE) : nullptr;
  if (!schema) return;
  if (g_settings_schema_has_key(schema, "toolkit-accessibility")) {
    GSettings* settings = g_settings_new(schemaName);
    g_settings_set_boolean(settings, "toolkit-accessibility", TRUE);
    g_settings_sync();
    g_object_unref(settings);
  }
  g_settings_schema_unref(schema);
}

GLibPtr<GDBusConnection> AtspiBus::connection() const {
  std::lock_guard lock(mutex_);
  return shareGObject(accessibility_.get());
}

AtspiReply AtspiBus::call(AtspiCall call, AtspiDeadline deadline) const {
  auto bus = connection();
  if (!bus) return {AccessibilityError::apiDisabled, nullptr};
  const int remaining = deadline.remaining();
  if (remaining == 0) return {AccessibilityError::cannotComplete, nullptr};
  GError* error = nullptr;
  GVariant* value = g_dbus_connection_call_sync(bus.get(), call.target.bus.c_str(), call.target.path.c_str(),
                                                call.interface, call.method, call.arguments.get(),
                                                call.replyType ? G_VARIANT_TYPE(call.replyType) : nullptr,
                                                G_DBUS_CALL_FLAGS_NO_AUTO_START, remaining, nullptr, &error);
  return replyOf(value, error);
}

std::vector<AtspiReply> AtspiBus::callAll(std::vector<AtspiCall> calls, AtspiDeadline deadline) const {
  std::vector<AtspiReply> replies(calls.size());
  auto bus = connection();
  const int remaining = deadline.remaining();
  if (!bus || remaining == 0) {
    const auto error = bus ? AccessibilityError::cannotComplete : AccessibilityError::apiDisabled;
    for (auto& reply : replies) reply.error = error;
    return replies;
  }
  struct Slot {
    AtspiReply* reply;
    std::size_t* waiting;
  };
  std::size_t waiting = calls.size();
  std::vector<Slot> slots(calls.size());
  GLibPtr<GMainContext> context(g_main_context_new());
  g_main_context_push_thread_default(context.get());
  for (std::size_t i = 0; i < calls.size(); ++i) {
    slots[i] = {&replies[i], &waiting};
    const auto& call = calls[i];
    g_dbus_connection_call(
        bus.get(), call.target.bus.c_str(), call.target.path.c_str(), call.interface, call.method,
        call.arguments.get(), call.replyType ? G_VARIANT_TYPE(call.replyType) : nullptr,
        G_DBUS_CALL_FLAGS_NO_AUTO_START, remaining, nullptr,
        [](GObject* source, GAsyncResult* result, gpointer data) {
          auto* slot = static_cast<Slot*>(data);
          GError* error = nullptr;
          GVariant* value = g_dbus_connection_call_finish(G_DBUS_CONNECTION(source), result, &error);
          *slot->reply = replyOf(value, error);
          --*slot->waiting;
        },
        &slots[i]);
  }
  // Every call ends by itself within its own time limit.
  while (waiting > 0) g_main_context_iteration(context.get(), TRUE);
  g_main_context_pop_thread_default(context.get());
  return replies;
}

int AtspiBus::processOf(const std::string& busName, AtspiDeadline deadline) const {
  {
    std::lock_guard lock(mutex_);
    if (auto found = processes_.find(busName); found != processes_.end()) return found->second;
  }
  auto reply = call({.target = {"org.freedesktop.DBus", "/org/freedesktop/DBus"},
                     .interface = "org.freedesktop.DBus",
                     .method = "GetConnectionUnixProcessID",
                     .arguments = sinkVariant(g_variant_new("(s)", busName.c_str())),
                     .replyType = "(u)"},
                    deadline);
  if (!reply.value) return 0;
  guint32 process = 0;
  g_variant_get(reply.value.get(), "(u)", &process);
  std::lock_guard lock(mutex_);
  processes_[busName] = static_cast<int>(process);
  return static_cast<int>(process);
}

std::optional<AtspiAddress> AtspiBus::lastFocused() const {
  std::lock_guard lock(mutex_);
  return focused_;
}

void AtspiBus::noteFocused(const AtspiAddress& address) {
  std::lock_guard lock(mutex_);
  focused_ = address;
}

void AtspiBus::forgetFocused(const AtspiAddress& address) {
  std::lock_guard lock(mutex_);
  if (focused_ == address) focused_.reset();
}

std::optional<std::string> AtspiBus::knownToolkit(const std::string& busName) const {
  std::lock_guard lock(mutex_);
  auto found = toolkits_.find(busName);
  return found == toolkits_.end() ? std::nullopt : std::optional(found->second);
}

void AtspiBus::noteToolkit(const std::string& busName, const std::string& toolkit) const {
  std::lock_guard lock(mutex_);
  toolkits_[busName] = toolkit;
}

void AtspiBus::noteLiar(const std::string& busName) {
  std::lock_guard lock(mutex_);
  liars_.insert(busName);
}

bool AtspiBus::isLiar(const std::string& busName) const {
  std::lock_guard lock(mutex_);
  return liars_.contains(busName);
}

void AtspiBus::onClosed(GDBusConnection*, gboolean, GError*, gpointer self) {
  auto* bus = static_cast<AtspiBus*>(self);
  bus->connected_ = false;
  // The connection is still inside its own signal; it is let go afterwards.
  bus->thread_.post([bus] { bus->lost(); });
}

void AtspiBus::onStatus(GDBusConnection*, const char*, const char*, const char*, const char*,
                        GVariant* arguments, gpointer self) {
  if (!g_variant_is_of_type(arguments, G_VARIANT_TYPE("(sa{sv}as)"))) return;
  GLibPtr<GVariant> changed(g_variant_get_child_value(arguments, 1));
  gboolean enabled = FALSE;
  if (g_variant_lookup(changed.get(), "IsEnabled", "b", &enabled))
    static_cast<AtspiBus*>(self)->enabled_ = enabled;
}

void AtspiBus::onFocus(GDBusConnection*, const char* sender, const char* path, const char*, const char*,
                       GVariant* arguments, gpointer self) {
  if (!sender || g_variant_n_children(arguments) < 2) return;
  GLibPtr<GVariant> gained(g_variant_get_child_value(arguments, 1));
  if (!g_variant_is_of_type(gained.get(), G_VARIANT_TYPE_INT32) || g_variant_get_int32(gained.get()) != 1)
    return;
  static_cast<AtspiBus*>(self)->noteFocused({sender, path});
}

void AtspiBus::onWindow(GDBusConnection* connection, const char* sender, const char* path, const char*,
                        const char*, GVariant*, gpointer self) {
  if (!sender) return;
  // Chromium builds the tree of its pages, password fields among them, only from this question on. What it
  // answers is of no interest.
  g_dbus_connection_call(connection, sender, path, "org.a11y.atspi.Accessible", "GetAttributes", nullptr,
                         nullptr, G_DBUS_CALL_FLAGS_NO_AUTO_START, housekeepingTimeout,
                         static_cast<AtspiBus*>(self)->stopping_.get(), nullptr, nullptr);
}

}  // namespace pell
