#pragma once

#include <optional>
#include <string>
#include <string_view>

namespace pell {

class AccessibilityTree;
class SecureEntry;

/// Whether the user is typing into something that must not receive dictated text. Asked when a dictation
/// starts, when its text comes back and once more before the text is placed, as the focus may move.
///
/// Main thread. Keeps no state. Bounded by three accessibility reads of 0.75 s each.
class SecureInput {
 public:
  enum class Reason {
    role,         // the focused element says that it is a secure text field
    secureInput,  // secure keyboard entry is on
  };

  static constexpr std::string_view refusal =
      "Pell will not dictate into a secure field. Move to an ordinary text field and try again.";

  SecureInput(SecureEntry& entry, AccessibilityTree& accessibility)
      : entry_(entry), accessibility_(accessibility) {}

  /// Absent when the focus is safe, and when it cannot be determined: a missing grant or a slow
  /// application must not stop a dictation.
  std::optional<Reason> current();

  /// True when either is exactly the role of a secure text field.
  static bool isSecure(const std::optional<std::string>& role, const std::optional<std::string>& subrole);

 private:
  SecureEntry& entry_;
  AccessibilityTree& accessibility_;
};

/// The name of a reason in the log.
std::string_view rawValue(SecureInput::Reason reason);

}  // namespace pell
