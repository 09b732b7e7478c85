// From raw key events to tap events.
#pragma once

#include <array>
#include <cstdint>
#include <functional>
#include <optional>

#include "platform/EventTap.h"
#include "platform/linux/X11Keymap.h"

namespace pell {

/// Follows which keys are down and what modifier flags they make, and knows whether a menu bar may have
/// been opened by a modifier that was tapped alone.
///
/// Many applications open their menu bar when Alt goes down and up with nothing between, and close it the
/// same way. A trigger must leave the focus where it was: its release is masked by another key's tap. But
/// where a lone tap has just opened a menu bar, the first half of a double tap, the next release must
/// *not* be masked: it closes what the first opened.
class X11KeyTracker {
 public:
  explicit X11KeyTracker(const X11Keymap& keymap) : keymap_(keymap) {}

  /// The event of a key that went down or up. Absent for the release of a key that is not down, and for a
  /// modifier that goes down twice.
  std::optional<TapEvent> press(int key);
  std::optional<TapEvent> release(int key);

  /// A mouse button went down, or the focus moved to another window: no menu bar is open any longer.
  void otherInput();

  /// Takes over the state of the keyboard, with `isDown` per key, and gives the events of modifiers whose
  /// change was missed.
  void resynchronise(const std::function<bool(int key)>& isDown,
                     const std::function<void(TapEvent)>& changed);

  std::uint64_t flags() const;

  /// True if the modifier now held was pressed as a trigger and a tap of another key has to follow, so
  /// that its release does nothing.
  bool shouldMaskRelease();

 private:
  TapEvent event(const X11Keymap::Role& role) const;
  bool holdsMenuModifier() const;

  const X11Keymap& keymap_;
  std::array<std::optional<X11Keymap::Role>, X11Keymap::lastKey + 1>
      held_;            // the role that it went down with
  bool alone_ = false;  // the menu modifier went down, and nothing else since
  bool menuMayBeOpen_ = false;
};

}  // namespace pell
