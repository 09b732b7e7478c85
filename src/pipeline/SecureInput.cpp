#include "pipeline/SecureInput.h"

#include <variant>

#include "platform/AccessibilityTree.h"
#include "platform/SecureEntry.h"

namespace pell {

namespace {

constexpr Seconds messagingTimeout{0.75};

std::optional<std::string> readText(AccessibilityElement& element, std::string_view attribute) {
  auto reading = element.copyAttribute(attribute);
  if (reading.error != AccessibilityError::success) return std::nullopt;
  if (auto* text = std::get_if<std::string>(&reading.value)) return std::move(*text);
  return std::nullopt;
}

}  // namespace

std::optional<SecureInput::Reason> SecureInput::current() {
  if (entry_.isEnabled()) return Reason::secureInput;
  auto system = accessibility_.systemWide();
  if (!system) return std::nullopt;
  system->setMessagingTimeout(messagingTimeout);
  auto reading = system->copyAttribute(accessibility::focusedElement);
  auto* focused = std::get_if<AccessibilityElementRef>(&reading.value);
  if (reading.error != AccessibilityError::success || !focused || !*focused) return std::nullopt;

  AccessibilityElement& element = **focused;
  element.setMessagingTimeout(messagingTimeout);
  auto role = readText(element, accessibility::role);
  auto subrole = readText(element, accessibility::subrole);
  if (isSecure(role, subrole)) return Reason::role;
  return std::nullopt;
}

bool SecureInput::isSecure(const std::optional<std::string>& role,
                           const std::optional<std::string>& subrole) {
  return role == accessibility::secureTextField || subrole == accessibility::secureTextField;
}

std::string_view rawValue(SecureInput::Reason reason) {
  return reason == SecureInput::Reason::role ? "role" : "secureInput";
}

}  // namespace pell
