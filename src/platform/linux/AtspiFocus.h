// Finds the window and the element that take the keyboard in one application.
#pragma once

#include <optional>

#include "platform/linux/AtspiObject.h"

namespace pell {

/// An element that was found, and what it was at that moment where that had to be asked anyway.
struct AtspiFocused {
  AtspiAddress address;
  std::optional<AtspiNature> nature = {};
};

/// Everything here answers within the deadline; `noValue` means that the application has no such thing,
/// or is not on the bus at all.
class AtspiFocus {
 public:
  AtspiFocus(AtspiBus& bus, AtspiDeadline deadline) : bus_(bus), deadline_(deadline) {}

  /// The element with the keyboard focus in the application of this process. What focus events told is
  /// tried first; without it, the tree is walked from the active window.
  AtspiAnswer<AtspiFocused> elementOf(int process);

  /// The active window of the application of this process.
  AtspiAnswer<AtspiAddress> windowOf(int process);

 private:
  AtspiAnswer<AtspiFocused> tracked(int process);
  AtspiAnswer<AtspiAddress> walk(const AtspiAddress& window);
  AtspiAnswer<AtspiAddress> wakeAndWalk(const AtspiAddress& window);
  AtspiAnswer<AtspiAddress> withText(const AtspiAddress& focused);
  AtspiAnswer<AtspiAddress> focusedChildWithText(const AtspiObject& parent);
  bool isInActiveWindow(AtspiAddress address);
  AtspiAnswer<std::vector<AtspiAddress>> applicationsOf(int process);
  AtspiObject object(AtspiAddress address) const { return {bus_, std::move(address), deadline_}; }

  AtspiBus& bus_;
  AtspiDeadline deadline_;
};

}  // namespace pell
