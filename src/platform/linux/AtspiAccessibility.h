// The accessibility tree of the desktop, through AT-SPI.
#pragma once

#include <functional>
#include <memory>

#include "platform/AccessibilityTree.h"
#include "platform/OwnElements.h"

namespace pell {

class AtspiBus;
struct AtspiRecentFocus;

/// Trusted means that the accessibility bus answers, that accessibility is switched on, and that whatever
/// else the program needs in order to type is there. All of it is watched; reading it costs nothing.
class AtspiAccessibility : public AccessibilityTree {
 public:
  struct Parts {
    /// The process of the active window, 0 if there is none. Main thread, cheap.
    std::function<int()> activeProcess;
    /// Answers while the active window is ours; may be null. Borrowed.
    OwnElements* own = nullptr;
    /// The rest of the grant; true when empty. Main thread, cheap.
    std::function<bool()> alsoNeeded;
  };

  /// Connects in the background; the grant reads false until the bus has answered.
  explicit AtspiAccessibility(Parts parts);
  ~AtspiAccessibility() override;

  bool isTrusted() const override;

  /// Switches the desktop's accessibility on, for now and for the next login. The grant follows within
  /// moments.
  bool requestTrust() override;

  AccessibilityElementRef systemWide() override;
  AccessibilityElementRef application(int processIdentifier) override;

 private:
  Parts parts_;
  std::shared_ptr<AtspiBus> bus_;
  std::shared_ptr<AtspiRecentFocus> recent_;
};

}  // namespace pell
