// Secure keyboard entry, as X11 knows it: another program has taken the keyboard for itself.
#pragma once

#include <memory>
#include <variant>

#include "platform/SecureEntry.h"
#include "platform/linux/X11Connection.h"

namespace pell {

/// Password prompts and screen lockers grab the keyboard. The probe tries a grab that can never succeed, on
/// a window that is never shown: nothing sees it, no focus moves, and the refusal tells who has the keyboard.
class X11SecureEntry final : public SecureEntry {
 public:
  using Opening = std::variant<std::unique_ptr<X11SecureEntry>, X11Unavailable>;
  static Opening open();

  ~X11SecureEntry() override;

  /// A round trip to the server of some 50 microseconds; where a grab is seen it is asked twice, a few
  /// milliseconds apart, since a window manager's shortcut is a grab that lasts for an instant. Without a
  /// server there is none.
  bool isEnabled() override;

 private:
  explicit X11SecureEntry(std::unique_ptr<X11Connection> connection);
  bool isGrabbed();

  std::unique_ptr<X11Connection> connection_;
  unsigned long window_;
};

}  // namespace pell
