// Turns raw key and mouse events of the whole session into the four events that steer a dictation.
#pragma once

#include <functional>
#include <memory>
#include <optional>
#include <vector>

#include "async/Executor.h"
#include "pipeline/HotKeyTrigger.h"
#include "platform/EventTap.h"
#include "stores/Log.h"

namespace pell {

/// Watches one trigger at a time, whichever application has the focus. The art is in a lone modifier key:
/// a hold, a short tap, a double tap and a shortcut that merely begins with the key are told apart
/// without ever delaying or eating the user's other input.
///
/// Main thread only. Nothing is called back from inside a tap's event: the handler and `onShortTap` run
/// from the main executor, in the order of the events, and not after the monitor is destroyed.
class HotKeyMonitor {
 public:
  enum class Event { begin, end, toggle, cancel };
  using Handler = std::function<void(Event)>;

  static constexpr Seconds holdThreshold{0.3};    // a press that stays down this long is a hold
  static constexpr Seconds doubleTapWindow{0.4};  // longest time between the releases of two taps
  static constexpr int reenableLimit = 3;         // within the window
  static constexpr Seconds reenableWindow{60.0};
  static constexpr Seconds suspensionSeconds{60.0};

  HotKeyMonitor(EventTapService& taps, Executor& main, const Log& log, Handler handler);
  HotKeyMonitor(const HotKeyMonitor&) = delete;
  HotKeyMonitor& operator=(const HotKeyMonitor&) = delete;
  ~HotKeyMonitor();

  /// Builds the tap for `trigger` anew. False when the tap cannot be made, usually for want of the
  /// accessibility grant, or while the monitor is suspended after the system disabled its tap too often.
  bool start(HotKeyTrigger trigger);

  /// Takes the tap down and forgets the press. A recording in progress is told nothing.
  void stop();

  /// `start`, unless the monitor already runs with `trigger`, so that a hold survives. Whoever calls this
  /// again and again reads of a tap that cannot be made once in each run of failures.
  bool ensureRunning(HotKeyTrigger trigger);

  bool isActive() const { return tap_ != nullptr; }

  static bool shouldStart(bool isActive, std::optional<HotKeyTrigger> current, HotKeyTrigger desired);

  /// Called for each lone short tap of the Option key.
  std::function<void()> onShortTap;

 private:
  bool build(HotKeyTrigger trigger);
  bool tapEvent(const TapEvent& event);
  bool handle(const TapEvent& event);
  void handleEscape();
  void handleModifier(bool isDown, bool maskRelease);
  void handleOption(bool isDown);
  void optionPressed();
  void optionReleased();
  void abortHold();
  void scheduleHoldStart();
  void reenable();
  bool isWithinDoubleTap() const;
  void deliver(Event event);
  void postToMain(std::function<void()> work);

  EventTapService& taps_;
  Executor& main_;
  const Log& log_;
  Handler handler_;

  std::unique_ptr<EventTap> tap_;
  HotKeyTrigger trigger_ = HotKeyTrigger::holdOption;
  bool isHolding_ = false;
  std::optional<Instant> optionPressedAt_;
  DelayedWork holdTimer_;
  bool isHoldRecording_ = false;
  bool handsFree_ = false;
  std::optional<Instant> lastTapAt_;
  bool abortedByOtherInput_ = false;
  std::vector<Instant> reenables_;
  std::optional<Instant> suspendedUntil_;
  bool wasSuspended_ = false;
  bool unavailableLogged_ = false;

  std::shared_ptr<bool> alive_ = std::make_shared<bool>(true);  // what is posted asks whether we still are
};

}  // namespace pell
