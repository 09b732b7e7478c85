// The desktop's accessibility bus: its connection, whether it is switched on, and who had the focus last.
#pragma once

#include <atomic>
#include <chrono>
#include <map>
#include <memory>
#include <mutex>
#include <optional>
#include <set>
#include <string>
#include <vector>

#include "platform/AccessibilityTree.h"
#include "platform/linux/GLibPtr.h"
#include "platform/linux/GLibThread.h"

namespace pell {

/// An accessible object: the bus name of its application and its path there.
struct AtspiAddress {
  std::string bus;
  std::string path;
  bool operator==(const AtspiAddress&) const = default;
};

/// The end of one bounded question, shared by every call that the question takes.
class AtspiDeadline {
 public:
  explicit AtspiDeadline(Seconds limit);
  /// Milliseconds left; 0 when it has passed.
  int remaining() const;

 private:
  std::chrono::steady_clock::time_point end_;
};

struct AtspiCall {
  AtspiAddress target;
  const char* interface = nullptr;
  const char* method = nullptr;
  GLibPtr<GVariant> arguments;
  const char* replyType = nullptr;
};

/// `value` is set if and only if `error` is `success`.
struct AtspiReply {
  AccessibilityError error = AccessibilityError::success;
  GLibPtr<GVariant> value;
};

/// Speaks to the bus through GDBus and not through libatspi, which ends the process when there is no bus,
/// cannot be brought back when the bus restarts, and serialises all applications behind a hung one.
///
/// A thread of its own keeps the connection, follows `IsEnabled` and the focus, has each window that comes to
/// the front show what is in it, and connects again after a loss. Calls are made from any thread and answer
/// within their deadline; a hung application costs only whoever asks it.
class AtspiBus {
 public:
  AtspiBus();
  ~AtspiBus();
  AtspiBus(const AtspiBus&) = delete;
  AtspiBus& operator=(const AtspiBus&) = delete;

  /// The bus is connected and accessibility is switched on. Cached.
  bool isReady() const { return connected_ && enabled_; }

  /// Switches accessibility on, now and for the next login. Returns at once.
  void switchOn();

  AtspiReply call(AtspiCall call, AtspiDeadline deadline) const;

  /// Sends all the calls at once and gathers their replies in the same order.
  std::vector<AtspiReply> callAll(std::vector<AtspiCall> calls, AtspiDeadline deadline) const;

  /// The process behind a bus name, 0 if it cannot be told. Asks the bus, never the application.
  int processOf(const std::string& busName, AtspiDeadline deadline) const;

  std::optional<AtspiAddress> lastFocused() const;
  void noteFocused(const AtspiAddress& address);
  void forgetFocused(const AtspiAddress& address);

  /// The toolkit of the application behind a bus name, once somebody has asked it.
  std::optional<std::string> knownToolkit(const std::string& busName) const;
  void noteToolkit(const std::string& busName, const std::string& toolkit) const;

  /// Applications that acknowledged an insertion and did not carry it out.
  void noteLiar(const std::string& busName);
  bool isLiar(const std::string& busName) const;

 private:
  void connect();
  bool connectSession();
  bool connectAccessibility();
  void subscribeFocus();
  void subscribeWindows();
  void registerFor(const char* event);
  void readEnabled();
  void rememberForNextLogin();
  void lost();
  void dropConnections();
  GLibPtr<GDBusConnection> connection() const;
  static void onClosed(GDBusConnection*, gboolean, GError*, gpointer self);
  static void onStatus(GDBusConnection*, const char*, const char*, const char*, const char*, GVariant*,
                       gpointer);
  static void onFocus(GDBusConnection*, const char*, const char*, const char*, const char*, GVariant*,
                      gpointer);
  static void onWindow(GDBusConnection*, const char*, const char*, const char*, const char*, GVariant*,
                       gpointer);

  std::atomic<bool> connected_ = false;
  std::atomic<bool> enabled_ = false;

  mutable std::mutex mutex_;
  GLibPtr<GDBusConnection> accessibility_;
  std::optional<AtspiAddress> focused_;
  mutable std::map<std::string, int> processes_;
  mutable std::map<std::string, std::string> toolkits_;
  std::set<std::string> liars_;

  // Of the thread alone.
  GLibPtr<GDBusConnection> session_;
  Seconds retryDelay_{};
  bool retryPending_ = false;
  GLibPtr<GCancellable> stopping_;
  GLibThread thread_;
};

}  // namespace pell
