// The product from the key to the field, on this machine's real platform, with the server scripted.
#pragma once

#include <functional>
#include <memory>
#include <optional>
#include <string>

#include "app/AppDelegate.h"
#include "app/view/TrayItem.h"
#include "bench/support/ScriptedServer.h"
#include "main/Essentials.h"
#include "main/LinuxPlatform.h"

namespace pell::bench {

/// One dictation at a time, on the main thread, with the tray item that goes with it.
class Road {
 public:
  explicit Road(std::unique_ptr<LinuxPlatform> platform, Essentials& essentials);

  /// Ready to dictate: signed in, the permissions there. False if that does not come about.
  bool open();

  void setMode(InjectionMode mode) { delegate_.settings().injectionMode = mode; }

  /// When the phase last became what it is.
  Instant phaseSince() const { return phaseSince_; }

  /// When the row of the present dictation was written; absent until then.
  std::optional<Instant> written() const { return written_; }

  template <class Phase>
  bool isIn() {
    return std::holds_alternative<Phase>(delegate_.dictation().phase());
  }

  void begin() {
    written_.reset();
    delegate_.route(HotKeyMonitor::Event::begin);
  }
  void end() { delegate_.route(HotKeyMonitor::Event::end); }
  void cancel() { delegate_.dictation().cancel(); }
  ScriptedServer& server() { return server_; }

  /// Runs the main loop until `done`; false if it does not come to that in time.
  bool waitUntil(const std::function<bool()>& done, Seconds limit = Seconds(5));
  void runFor(Seconds span) { main_.runFor(span); }

 private:
  void refresh();

  std::unique_ptr<LinuxPlatform> platform_;
  MainLoop& main_;
  ScriptedServer server_;
  AppDelegate delegate_;
  TrayItem tray_;
  Instant phaseSince_{};
  std::optional<Instant> written_;
  Subscription observation_;
  TaskScope tasks_;
};

}  // namespace pell::bench
