// Which keys of the keyboard mean what.
#pragma once

#include <array>
#include <cstdint>
#include <initializer_list>
#include <memory>
#include <optional>
#include <vector>

#include "platform/linux/X11Connection.h"

struct _XkbDesc;

namespace pell {

/// The keyboard map of the server as last fetched. Keys go by their symbol in the layout group in use,
/// not by their code. Belongs to its connection's thread.
class X11Keymap {
 public:
  static constexpr int firstKey = 8;
  static constexpr int lastKey = 255;

  /// What a key is to the taps.
  struct Role {
    int keyCode = 255;        // the virtual key code
    bool isModifier = false;  // changes flags and types nothing
    std::uint64_t flag = 0;   // the modifier flag that it holds, if any
    bool operator==(const Role&) const = default;
  };

  explicit X11Keymap(X11Connection& connection);
  ~X11Keymap();

  /// Fetches the map and the group in use.
  void refresh();
  void setGroup(int group);
  int group() const { return group_; }

  const Role& role(int key) const { return roles_[static_cast<std::size_t>(key)]; }

  /// A key that types `symbol` unshifted in `group`, or absent.
  std::optional<int> keyFor(unsigned long symbol, int group) const;
  int groupCount() const;

  /// Keys that have no symbol in any group, highest first.
  std::vector<int> spareKeys() const;

  /// The modifier bits of the X protocol for flags and back. Where the layout has no such modifier the
  /// usual bit is taken.
  unsigned xMask(std::uint64_t flag) const;
  std::uint64_t flags(unsigned xModifiers) const;
  unsigned numLockMask() const { return numLock_; }

  /// The keys that hold any of these modifier bits.
  std::vector<int> modifierKeys(unsigned xModifiers) const;

 private:
  void assignRoles();
  unsigned long symbol(int key, int group) const;
  unsigned modifierOf(std::initializer_list<unsigned long> symbols, unsigned usual) const;

  X11Connection& connection_;
  _XkbDesc* map_ = nullptr;
  int group_ = 0;
  unsigned alt_, super_, numLock_;
  std::array<Role, lastKey + 1> roles_;
};

}  // namespace pell
