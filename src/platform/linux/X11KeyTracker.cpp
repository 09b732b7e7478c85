#include "platform/linux/X11KeyTracker.h"

namespace pell {

namespace {

constexpr std::uint64_t menuModifier = modifier::option;

}  // namespace

std::optional<TapEvent> X11KeyTracker::press(int key) {
  auto& held = held_[static_cast<std::size_t>(key)];
  const auto& role = keymap_.role(key);
  // A second keyboard may press what is down already.
  if (held && role.isModifier) return std::nullopt;
  bool first = (role.flag & menuModifier) && !holdsMenuModifier();
  alone_ = first && flags() == 0;
  if (!role.isModifier) menuMayBeOpen_ = false;
  held = role;
  return event(role);
}

std::optional<TapEvent> X11KeyTracker::release(int key) {
  auto& held = held_[static_cast<std::size_t>(key)];
  if (!held) return std::nullopt;
  X11Keymap::Role role = *held;
  held.reset();
  if (!role.isModifier) return std::nullopt;
  if ((role.flag & menuModifier) && alone_ && !holdsMenuModifier()) {
    menuMayBeOpen_ = !menuMayBeOpen_;
    alone_ = false;
  }
  return event(role);
}

void X11KeyTracker::otherInput() {
  alone_ = false;
  menuMayBeOpen_ = false;
}

void X11KeyTracker::resynchronise(const std::function<bool(int key)>& isDown,
                                  const std::function<void(TapEvent)>& changed) {
  otherInput();
  for (int key = X11Keymap::firstKey; key <= X11Keymap::lastKey; ++key) {
    auto& held = held_[static_cast<std::size_t>(key)];
    if (isDown(key) == held.has_value()) continue;
    X11Keymap::Role role = held.value_or(keymap_.role(key));
    if (held) {
      held.reset();
    } else {
      held = role;
    }
    if (role.isModifier) changed(event(role));
  }
}

std::uint64_t X11KeyTracker::flags() const {
  std::uint64_t flags = 0;
  for (const auto& held : held_) {
    if (held) flags |= held->flag;
  }
  return flags;
}

bool X11KeyTracker::shouldMaskRelease() {
  if ((flags() & (modifier::option | modifier::command)) == 0) return false;
  if (alone_ && menuMayBeOpen_) return false;
  alone_ = false;
  return true;
}

TapEvent X11KeyTracker::event(const X11Keymap::Role& role) const {
  return {.type = role.isModifier ? TapEventType::flagsChanged : TapEventType::keyDown,
          .keyCode = role.keyCode,
          .flags = flags()};
}

bool X11KeyTracker::holdsMenuModifier() const { return (flags() & menuModifier) != 0; }

}  // namespace pell
