// Another program on the X server: its windows, its keyboard grab, and the user at the keyboard.
#pragma once

#include <memory>
#include <string>
#include <vector>

#include "platform/linux/X11Connection.h"

namespace pell::testing {

/// Key codes of a PC keyboard under X.
namespace xkey {
inline constexpr int escape = 9, enter = 36, control = 37, a = 38, shift = 50, leftAlt = 64, space = 65,
                     capsLock = 66, b = 56, rightAlt = 108, rightSuper = 134, fn = 151;
}  // namespace xkey

/// Modifier bits of the X protocol; its own headers do not go together with the test framework's.
namespace xmodifier {
inline constexpr unsigned capsLock = 2, control = 4, alt = 8, numLock = 16;
}  // namespace xmodifier

/// What `xset`, `setxkbmap` and the like do; each ends before the call returns.
void runTool(const std::vector<std::string>& arguments);

class XClient {
 public:
  struct Appearance {
    std::string instance, className, applicationId, title;
    int process = 0;
  };

  XClient();

  /// Opens a window and waits until it is active.
  unsigned long openWindow(const Appearance& appearance);
  void activate(unsigned long window);
  void close(unsigned long window);
  bool isActive(unsigned long window);

  void press(int key);
  void release(int key);
  void tap(int key);
  void click(unsigned button);

  /// Presses of a key that this client's windows have got so far, repeats left out.
  int received(int key);

  bool grabKeyboard();
  void ungrabKeyboard();
  /// Takes a chord for itself, as desktops do with their shortcuts.
  void grabChord(int key, unsigned modifiers);
  void lockModifiers(unsigned modifiers);
  void lockGroup(int group);
  int group();

  X11Connection& connection() { return *connection_; }

 private:
  std::unique_ptr<X11Connection> connection_;
  std::vector<int> received_;
};

}  // namespace pell::testing
