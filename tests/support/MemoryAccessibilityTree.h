#pragma once

#include <memory>

#include "platform/AccessibilityTree.h"
#include "support/MemoryDesktop.h"

namespace pell::testing {

/// The tree over a `MemoryDesktop`: the system-wide element answers with the focus of the application in
/// front.
class MemoryAccessibilityTree final : public AccessibilityTree {
 public:
  explicit MemoryAccessibilityTree(MemoryDesktop& desktop) : desktop_(desktop) {}

  Seconds systemLatency{0};
  std::optional<AccessibilityError> focusError;

  bool isTrusted() const override { return desktop_.trusted; }

  int trustRequests = 0;

  bool requestTrust() override {
    ++trustRequests;
    return desktop_.trusted;
  }

  AccessibilityElementRef systemWide() override {
    auto element = desktop_.makeElement("AXSystemWide");
    element->latency = systemLatency;
    if (focusError) {
      element->readErrors.emplace(accessibility::focusedElement, *focusError);
    } else {
      giveFocus(*element, desktop_.focus());
    }
    return element;
  }

  AccessibilityElementRef application(int processIdentifier) override {
    auto* application = desktop_.find(processIdentifier);
    if (!application) {
      auto element = desktop_.makeElement("AXApplication");
      element->readErrors.emplace(accessibility::role, AccessibilityError::invalidElement);
      element->readErrors.emplace(accessibility::focusedElement, AccessibilityError::invalidElement);
      element->readErrors.emplace(accessibility::focusedWindow, AccessibilityError::invalidElement);
      return element;
    }
    giveFocus(*application->element, application->focus);
    return application->element;
  }

 private:
  static void giveFocus(MemoryElement& element, const std::shared_ptr<MemoryElement>& focus) {
    if (focus) {
      element.attributes.insert_or_assign(std::string(accessibility::focusedElement),
                                          AccessibilityElementRef(focus));
      element.readErrors.erase(std::string(accessibility::focusedElement));
    } else {
      element.readErrors.insert_or_assign(std::string(accessibility::focusedElement),
                                          AccessibilityError::noValue);
    }
  }

  MemoryDesktop& desktop_;
};

}  // namespace pell::testing
