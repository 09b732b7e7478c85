#pragma once

#include <memory>
#include <set>
#include <utility>
#include <vector>

#include "platform/EventTap.h"
#include "support/MemoryDesktop.h"

namespace pell::testing {

/// Global events, fed by the test, which plays the main thread. Without the accessibility grant no tap
/// can be made.
class MemoryEventTaps final : public EventTapService {
  struct Wire {
    TapMode mode = TapMode::listenOnly;
    Callback callback;
    bool enabled = false;
  };

 public:
  explicit MemoryEventTaps(MemoryDesktop& desktop) : desktop_(desktop) {}

  static constexpr int controlKey = 59;
  static constexpr int shiftKey = 56;
  static constexpr int functionKey = 63;

  bool available = true;
  int created = 0;
  int maskedReleases = 0;
  TapMode lastMode = TapMode::listenOnly;

  std::size_t liveTaps() {
    std::erase_if(wires_, [](const auto& wire) { return wire.expired(); });
    return wires_.size();
  }

  /// One event of the session. True if a tap swallowed it, so that no application sees it.
  bool feed(const TapEvent& event) {
    auto wires = wires_;
    for (auto wire = wires.rbegin(); wire != wires.rend(); ++wire) {
      auto held = wire->lock();
      if (!held || !held->enabled) continue;
      auto callback = held->callback;
      if (callback(event) && held->mode == TapMode::active) return true;
    }
    return false;
  }

  /// A key goes down or up; the taps see what a keyboard makes of it. False from `press` if a tap swallowed
  /// it. Modifier keys are those of `keycode` and `controlKey`, `shiftKey`, `functionKey`.
  bool press(int keyCode) {
    if (flagOf(keyCode) == 0) return !keyDown(keyCode, flags());
    held_.insert(keyCode);
    flagsChanged(keyCode, flags());
    return true;
  }
  void release(int keyCode) {
    if (held_.erase(keyCode) > 0) flagsChanged(keyCode, flags());
  }
  std::uint64_t flags() const {
    std::uint64_t all = 0;
    for (int keyCode : held_) all |= flagOf(keyCode);
    return all;
  }

  bool keyDown(int keyCode, std::uint64_t flags = 0) {
    return feed({.type = TapEventType::keyDown, .keyCode = keyCode, .flags = flags});
  }
  bool flagsChanged(int keyCode, std::uint64_t flags) {
    return feed({.type = TapEventType::flagsChanged, .keyCode = keyCode, .flags = flags});
  }

  /// The system switches every tap off and tells it so.
  void disableBySystem(TapEventType reason = TapEventType::tapDisabledByTimeout) {
    auto wires = wires_;
    for (const auto& wire : wires) {
      auto held = wire.lock();
      if (!held || !held->enabled) continue;
      held->enabled = false;
      auto callback = held->callback;
      callback({.type = reason});
    }
  }

  std::unique_ptr<EventTap> createTap(TapMode mode, Callback callback) override {
    if (!available || !desktop_.trusted) return nullptr;
    ++created;
    lastMode = mode;
    auto wire = std::make_shared<Wire>(Wire{.mode = mode, .callback = std::move(callback)});
    wires_.push_back(wire);
    return std::make_unique<Tap>(*this, std::move(wire));
  }

 private:
  class Tap final : public EventTap {
   public:
    Tap(MemoryEventTaps& service, std::shared_ptr<Wire> wire) : service_(service), wire_(std::move(wire)) {}
    ~Tap() override { wire_->enabled = false; }
    void setEnabled(bool enabled) override { wire_->enabled = enabled; }
    void maskModifierRelease() override { ++service_.maskedReleases; }

   private:
    MemoryEventTaps& service_;
    std::shared_ptr<Wire> wire_;
  };

  static std::uint64_t flagOf(int keyCode) {
    switch (keyCode) {
      case keycode::leftOption:
      case keycode::rightOption:
        return modifier::option;
      case keycode::rightCommand:
        return modifier::command;
      case controlKey:
        return modifier::control;
      case shiftKey:
        return modifier::shift;
      case functionKey:
        return modifier::function;
      default:
        return 0;
    }
  }

  MemoryDesktop& desktop_;
  std::set<int> held_;
  std::vector<std::weak_ptr<Wire>> wires_;
};

}  // namespace pell::testing
