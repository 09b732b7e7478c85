// Paste keys through XTEST.
#pragma once

#include <functional>
#include <memory>
#include <variant>

#include "platform/SyntheticInput.h"
#include "platform/linux/ApplicationIdentity.h"
#include "platform/linux/X11Connection.h"

namespace pell {

/// Presses Ctrl+V, or what the window in front takes for it: Ctrl+Shift+V in a terminal, Shift+Insert where
/// a terminal knows the primary selection only. A layout without a V, in any of its groups, gets one on a
/// key that it does not use, for as long as this object lives. Main thread.
class X11SyntheticInput final : public SyntheticInput {
 public:
  struct Collaborators {
    std::function<PasteStyle()> pasteStyle;  // of the window in front
    std::function<void()> offerPrimary;      // puts the clipboard's content on the primary selection too
  };
  using Opening = std::variant<std::unique_ptr<X11SyntheticInput>, X11Unavailable>;

  static Opening open(Collaborators collaborators);

  ~X11SyntheticInput() override;

  std::unique_ptr<EventSource> makeSource() override;
  PasteTarget pasteTarget() override;

 private:
  class Keyboard;
  class Source;
  class Keys;
  X11SyntheticInput(std::shared_ptr<Keyboard> keyboard, Collaborators collaborators);

  std::shared_ptr<Keyboard> keyboard_;
  Collaborators collaborators_;
};

}  // namespace pell
