#include "platform/linux/X11Keymap.h"

#include <X11/XKBlib.h>
#include <X11/Xlib.h>
#include <X11/Xutil.h>
#include <X11/keysym.h>
#include <algorithm>

#include "platform/EventTap.h"

namespace pell {

namespace {

constexpr KeySym fnKey = 0x100811D0;  // XF86Fn, whose macro does not expand everywhere

X11Keymap::Role roleOf(KeySym symbol) {
  switch (symbol) {
    case XK_Alt_L:
      return {keycode::leftOption, true, modifier::option};
    case XK_Alt_R:
      return {keycode::rightOption, true, modifier::option};
    case XK_Super_R:
      return {keycode::rightCommand, true, modifier::command};
    case XK_Super_L:
      return {keycode::other, true, modifier::command};
    case XK_Control_L:
    case XK_Control_R:
      return {keycode::other, true, modifier::control};
    case XK_Shift_L:
    case XK_Shift_R:
      return {keycode::other, true, modifier::shift};
    case fnKey:
      return {keycode::other, true, modifier::function};
    case XK_Escape:
      return {.keyCode = keycode::escape};
    case XK_space:
      return {.keyCode = keycode::space};
    default:
      return {.keyCode = keycode::other, .isModifier = IsModifierKey(symbol) != 0};
  }
}

}  // namespace

X11Keymap::X11Keymap(X11Connection& connection)
    : connection_(connection), alt_(Mod1Mask), super_(Mod4Mask), numLock_(Mod2Mask) {
  refresh();
}

X11Keymap::~X11Keymap() {
  if (map_) XkbFreeKeyboard(map_, 0, True);
}

void X11Keymap::refresh() {
  Display* display = connection_.display();
  if (map_) XkbFreeKeyboard(map_, 0, True);
  map_ = XkbGetMap(display, XkbKeyTypesMask | XkbKeySymsMask | XkbModifierMapMask, XkbUseCoreKbd);
  alt_ = modifierOf({XK_Alt_L, XK_Alt_R}, Mod1Mask);
  super_ = modifierOf({XK_Super_L, XK_Super_R}, Mod4Mask);
  numLock_ = modifierOf({XK_Num_Lock}, Mod2Mask);
  XkbStateRec state{};
  if (XkbGetState(display, XkbUseCoreKbd, &state) == Success) group_ = state.group;
  assignRoles();
}

void X11Keymap::setGroup(int group) {
  if (group == group_) return;
  group_ = group;
  assignRoles();
}

void X11Keymap::assignRoles() {
  for (int key = firstKey; key <= lastKey; ++key) {
    roles_[static_cast<std::size_t>(key)] = roleOf(symbol(key, group_));
  }
}

unsigned long X11Keymap::symbol(int key, int group) const {
  if (!map_ || key < map_->min_key_code || key > map_->max_key_code) return NoSymbol;
  unsigned consumed = 0;
  KeySym found = NoSymbol;
  // Wraps a group that the key does not have, as typing does.
  XkbTranslateKeyCode(map_, static_cast<KeyCode>(key), XkbBuildCoreState(0, static_cast<unsigned>(group)),
                      &consumed, &found);
  return found;
}

// Of the first symbol that holds a modifier at all: the right Alt key may be on a level switch's modifier.
unsigned X11Keymap::modifierOf(std::initializer_list<unsigned long> symbols, unsigned usual) const {
  for (unsigned long wanted : symbols) {
    unsigned mask = 0;
    for (int key = firstKey; map_ && key <= map_->max_key_code; ++key) {
      if (symbol(key, 0) == wanted) mask |= map_->map->modmap[key];
    }
    if (mask) return mask;
  }
  return usual;
}

std::optional<int> X11Keymap::keyFor(unsigned long wanted, int group) const {
  for (int key = firstKey; key <= lastKey; ++key) {
    if (symbol(key, group) == wanted) return key;
  }
  return std::nullopt;
}

int X11Keymap::groupCount() const {
  int count = 1;
  for (int key = firstKey; map_ && key <= map_->max_key_code; ++key) {
    count = std::max<int>(count, XkbKeyNumGroups(map_, key));
  }
  return count;
}

std::vector<int> X11Keymap::spareKeys() const {
  std::vector<int> spare;
  if (!map_) return spare;
  for (int key = map_->max_key_code; key >= map_->min_key_code; --key) {
    bool used = map_->map->modmap[key] != 0;
    for (int index = 0; !used && index < XkbKeyNumSyms(map_, key); ++index) {
      used = XkbKeySymsPtr(map_, key)[index] != NoSymbol;
    }
    if (!used) spare.push_back(key);
  }
  return spare;
}

unsigned X11Keymap::xMask(std::uint64_t flag) const {
  unsigned mask = 0;
  if (flag & modifier::shift) mask |= ShiftMask;
  if (flag & modifier::control) mask |= ControlMask;
  if (flag & modifier::option) mask |= alt_;
  if (flag & modifier::command) mask |= super_;
  return mask;
}

std::uint64_t X11Keymap::flags(unsigned xModifiers) const {
  std::uint64_t flags = 0;
  if (xModifiers & ShiftMask) flags |= modifier::shift;
  if (xModifiers & ControlMask) flags |= modifier::control;
  if (xModifiers & alt_) flags |= modifier::option;
  if (xModifiers & super_) flags |= modifier::command;
  return flags;
}

std::vector<int> X11Keymap::modifierKeys(unsigned xModifiers) const {
  std::vector<int> keys;
  for (int key = firstKey; map_ && key <= map_->max_key_code; ++key) {
    if (map_->map->modmap[key] & xModifiers) keys.push_back(key);
  }
  return keys;
}

}  // namespace pell
