// The least that a paste can be: one X connection that owns the clipboard and presses Ctrl+V.
#pragma once

#include <string>

#include "platform/linux/X11Connection.h"
#include "platform/linux/X11Loop.h"

namespace pell::bench {

/// Answers on a thread of its own for as long as it owns the clipboard. Also stands for another program
/// whose text is on the clipboard.
class BarePaste {
 public:
  BarePaste();
  ~BarePaste();

  /// Puts `text` on the clipboard; done on return.
  void copy(std::string text);

  /// Puts `text` on the clipboard and presses the keys; does not wait for the target.
  void paste(std::string text);

 private:
  void own(std::string text);
  void press();
  void onEvent(_XEvent& event);

  X11Connection* connection_ = nullptr;
  X11Loop loop_{"bare-paste"};
  unsigned long window_ = 0;
  unsigned long clipboard_ = 0;
  unsigned long targets_ = 0;
  unsigned long utf8_ = 0;
  unsigned long plain_ = 0;
  std::string text_;
};

}  // namespace pell::bench
