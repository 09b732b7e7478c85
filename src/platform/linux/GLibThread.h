// A thread that runs a GLib main context of its own.
#pragma once

#include <functional>
#include <thread>

#include "async/Time.h"
#include "platform/linux/GLibPtr.h"

namespace pell {

/// Signals and timers that GLib delivers to "the current context" arrive on this thread, whatever main loop
/// the rest of the program runs. The destructor drops what still waits and joins.
class GLibThread {
 public:
  explicit GLibThread(const char* name);
  ~GLibThread();
  GLibThread(const GLibThread&) = delete;
  GLibThread& operator=(const GLibThread&) = delete;

  /// Runs `work` on the thread. From anywhere.
  void post(std::function<void()> work) { postAfter(Seconds(0), std::move(work)); }
  void postAfter(Seconds delay, std::function<void()> work);

  /// Ends the loop and joins; nothing runs on the thread afterwards. May be called again.
  void stop();

 private:
  GLibPtr<GMainContext> context_;
  GLibPtr<GMainLoop> loop_;
  std::thread thread_;
};

}  // namespace pell
