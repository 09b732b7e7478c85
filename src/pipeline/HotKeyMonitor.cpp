#include "pipeline/HotKeyMonitor.h"

#include <utility>

namespace pell {

HotKeyMonitor::HotKeyMonitor(EventTapService& taps, Executor& main, const Log& log, Handler handler)
    : taps_(taps), main_(main), log_(log), handler_(std::move(handler)) {}

HotKeyMonitor::~HotKeyMonitor() { stop(); }

bool HotKeyMonitor::start(HotKeyTrigger trigger) {
  unavailableLogged_ = false;
  return build(trigger);
}

bool HotKeyMonitor::build(HotKeyTrigger trigger) {
  if (suspendedUntil_ && main_.now() < *suspendedUntil_) return false;
  stop();
  trigger_ = trigger;
  isHolding_ = false;
  const bool active = swallowsEvents(trigger);
  tap_ = taps_.createTap(active ? TapMode::active : TapMode::listenOnly,
                         [this](const TapEvent& event) { return tapEvent(event); });
  if (!tap_) {
    if (!std::exchange(unavailableLogged_, true)) log_.warn("hotkey_tap_unavailable");
    return false;
  }
  unavailableLogged_ = false;
  tap_->setEnabled(true);
  log_.info("hotkey_started", {{"trigger", rawValue(trigger)}, {"active_tap", active}});
  return true;
}

void HotKeyMonitor::stop() {
  if (tap_) tap_->setEnabled(false);
  tap_.reset();
  isHolding_ = false;
  holdTimer_.cancel();
  optionPressedAt_.reset();
  isHoldRecording_ = false;
  handsFree_ = false;
  lastTapAt_.reset();
}

bool HotKeyMonitor::ensureRunning(HotKeyTrigger trigger) {
  if (!shouldStart(isActive(), trigger_, trigger)) return true;
  const bool started = build(trigger);
  if (started && wasSuspended_) log_.warn("hotkey_tap_resumed");
  wasSuspended_ = false;
  return started;
}

bool HotKeyMonitor::shouldStart(bool isActive, std::optional<HotKeyTrigger> current, HotKeyTrigger desired) {
  return !isActive || !current || *current != desired;
}

bool HotKeyMonitor::tapEvent(const TapEvent& event) {
  if (event.type == TapEventType::tapDisabledByTimeout ||
      event.type == TapEventType::tapDisabledByUserInput) {
    reenable();
    return false;
  }
  return handle(event);
}

bool HotKeyMonitor::handle(const TapEvent& event) {
  if (event.type == TapEventType::keyDown && event.keyCode == keycode::escape) {
    handleEscape();
    return false;
  }
  const bool otherInput = event.type == TapEventType::leftMouseDown ||
                          event.type == TapEventType::rightMouseDown || event.type == TapEventType::keyDown;
  if (otherInput && optionPressedAt_ && !handsFree_) abortHold();

  const bool flagsChanged = event.type == TapEventType::flagsChanged;
  switch (trigger_) {
    case HotKeyTrigger::holdOption:
      if (flagsChanged && (event.keyCode == keycode::leftOption || event.keyCode == keycode::rightOption)) {
        handleOption((event.flags & modifier::option) != 0);
      }
      return false;
    case HotKeyTrigger::holdFn:
      if (flagsChanged) handleModifier((event.flags & modifier::function) != 0, false);
      return false;
    case HotKeyTrigger::holdRightCommand:
      if (flagsChanged && event.keyCode == keycode::rightCommand) {
        handleModifier((event.flags & modifier::command) != 0, true);
      }
      return false;
    case HotKeyTrigger::toggleControlOptionSpace: {
      constexpr auto considered = modifier::control | modifier::option | modifier::command;
      constexpr auto wanted = modifier::control | modifier::option;
      if (event.type != TapEventType::keyDown || event.keyCode != keycode::space ||
          (event.flags & considered) != wanted) {
        return false;
      }
      deliver(Event::toggle);
      return true;
    }
  }
  return false;
}

void HotKeyMonitor::handleEscape() {
  holdTimer_.cancel();
  isHoldRecording_ = false;
  handsFree_ = false;
  lastTapAt_.reset();
  deliver(Event::cancel);
}

void HotKeyMonitor::handleModifier(bool isDown, bool maskRelease) {
  if (isDown == isHolding_) return;
  isHolding_ = isDown;
  if (isDown && maskRelease) tap_->maskModifierRelease();
  deliver(isDown ? Event::begin : Event::end);
}

void HotKeyMonitor::handleOption(bool isDown) {
  if (isDown) {
    optionPressed();
  } else {
    optionReleased();
  }
}

void HotKeyMonitor::optionPressed() {
  if (optionPressedAt_) return;
  optionPressedAt_ = main_.now();
  abortedByOtherInput_ = false;
  // A tap that will start or end a hands-free recording has to be masked while the key is down, so it is
  // decided here and not on the release.
  if (handsFree_ || isWithinDoubleTap()) tap_->maskModifierRelease();
  if (!handsFree_) scheduleHoldStart();
}

void HotKeyMonitor::optionReleased() {
  optionPressedAt_.reset();
  holdTimer_.cancel();
  if (std::exchange(abortedByOtherInput_, false)) return;
  if (std::exchange(handsFree_, false) || std::exchange(isHoldRecording_, false)) {
    deliver(Event::end);
    return;
  }
  if (isWithinDoubleTap()) {
    lastTapAt_.reset();
    handsFree_ = true;
    deliver(Event::begin);
    return;
  }
  lastTapAt_ = main_.now();
  if (onShortTap) {
    postToMain([this] {
      if (onShortTap) onShortTap();
    });
  }
}

bool HotKeyMonitor::isWithinDoubleTap() const {
  return lastTapAt_ && main_.now() - *lastTapAt_ <= toNanoseconds(doubleTapWindow);
}

void HotKeyMonitor::abortHold() {
  abortedByOtherInput_ = true;
  holdTimer_.cancel();
  lastTapAt_.reset();
  if (std::exchange(isHoldRecording_, false)) deliver(Event::cancel);
}

void HotKeyMonitor::scheduleHoldStart() {
  holdTimer_ = main_.postAfter(holdThreshold, [this] {
    if (!optionPressedAt_ || abortedByOtherInput_ || handsFree_ || isHoldRecording_) return;
    isHoldRecording_ = true;
    tap_->maskModifierRelease();
    deliver(Event::begin);
  });
}

void HotKeyMonitor::reenable() {
  if (!tap_) return;
  const auto now = main_.now();
  reenables_.push_back(now);
  std::erase_if(reenables_, [&](Instant date) { return now - date > toNanoseconds(reenableWindow); });
  if (reenables_.size() > static_cast<std::size_t>(reenableLimit)) {
    log_.error("hotkey_tap_abandoned", {{"reenables", reenables_.size()},
                                        {"window_seconds", static_cast<int>(reenableWindow.count())},
                                        {"suspended_seconds", static_cast<int>(suspensionSeconds.count())}});
    reenables_.clear();
    suspendedUntil_ = now + toNanoseconds(suspensionSeconds);
    wasSuspended_ = true;
    stop();
    return;
  }
  tap_->setEnabled(true);
  log_.warn("hotkey_tap_reenabled", {{"count_in_window", reenables_.size()}});
}

void HotKeyMonitor::deliver(Event event) {
  postToMain([this, event] { handler_(event); });
}

void HotKeyMonitor::postToMain(std::function<void()> work) {
  main_.post([alive = std::weak_ptr(alive_), work = std::move(work)] {
    if (!alive.expired()) work();
  });
}

}  // namespace pell
