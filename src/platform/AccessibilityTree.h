// The accessibility tree of other applications.
#pragma once

#include <memory>
#include <string>
#include <string_view>
#include <variant>
#include <vector>

#include "async/Time.h"

namespace pell {

/// Result codes of accessibility calls, with the numbers under which they are logged.
enum class AccessibilityError : int {
  success = 0,
  failure = -25200,
  illegalArgument = -25201,
  invalidElement = -25202,
  cannotComplete = -25204,
  attributeUnsupported = -25205,
  apiDisabled = -25211,
  noValue = -25212,
};

class AccessibilityElement;
using AccessibilityElementRef = std::shared_ptr<AccessibilityElement>;

/// An address as an accessibility value, told apart from plain text.
struct AccessibilityUrl {
  std::string text;
  bool operator==(const AccessibilityUrl&) const = default;
};

using AccessibilityValue = std::variant<std::monostate, std::string, AccessibilityUrl,
                                        AccessibilityElementRef, std::vector<AccessibilityElementRef>>;

/// Attribute and role names, the system's own.
namespace accessibility {
inline constexpr std::string_view focusedElement = "AXFocusedUIElement";
inline constexpr std::string_view focusedWindow = "AXFocusedWindow";
inline constexpr std::string_view role = "AXRole";
inline constexpr std::string_view subrole = "AXSubrole";
inline constexpr std::string_view selectedText = "AXSelectedText";
inline constexpr std::string_view document = "AXDocument";
inline constexpr std::string_view url = "AXURL";
inline constexpr std::string_view children = "AXChildren";
inline constexpr std::string_view secureTextField = "AXSecureTextField";
inline constexpr std::string_view textField = "AXTextField";
inline constexpr std::string_view textArea = "AXTextArea";
inline constexpr std::string_view webArea = "AXWebArea";
}  // namespace accessibility

struct AccessibilityReading {
  AccessibilityError error = AccessibilityError::success;
  AccessibilityValue value;
};

/// One element. Calls are synchronous, come from the main thread, and take no longer than the messaging
/// timeout; an element that does not answer in time gives `cannotComplete`.
class AccessibilityElement {
 public:
  virtual ~AccessibilityElement() = default;

  virtual void setMessagingTimeout(Seconds limit) = 0;
  virtual AccessibilityReading copyAttribute(std::string_view name) = 0;
  virtual std::vector<std::string> attributeNames() = 0;

  struct Settable {
    AccessibilityError error = AccessibilityError::success;
    bool settable = false;
  };
  virtual Settable isSettable(std::string_view name) = 0;

  /// Setting `AXSelectedText` replaces the selection, or inserts at the caret. Success means that the
  /// text was seen to be there.
  virtual AccessibilityError setAttribute(std::string_view name, std::string_view utf8) = 0;
};

class AccessibilityTree {
 public:
  virtual ~AccessibilityTree() = default;

  /// The grant as last seen; a cached value that costs nothing to read.
  virtual bool isTrusted() const = 0;

  /// Asks for the grant, with the platform's own prompt where it has one. True if it is there already.
  virtual bool requestTrust() = 0;

  virtual AccessibilityElementRef systemWide() = 0;
  virtual AccessibilityElementRef application(int processIdentifier) = 0;
};

}  // namespace pell
