#include "platform/linux/AtspiAccessibility.h"

#include <utility>

#include "platform/linux/AtspiBus.h"
#include "platform/linux/AtspiElement.h"

namespace pell {

AtspiAccessibility::AtspiAccessibility(Parts parts)
    : parts_(std::move(parts)),
      bus_(std::make_shared<AtspiBus>()),
      recent_(std::make_shared<AtspiRecentFocus>()) {}

AtspiAccessibility::~AtspiAccessibility() = default;

bool AtspiAccessibility::isTrusted() const {
  return bus_->isReady() && (!parts_.alsoNeeded || parts_.alsoNeeded());
}

bool AtspiAccessibility::requestTrust() {
  if (isTrusted()) return true;
  bus_->switchOn();
  return false;
}

AccessibilityElementRef AtspiAccessibility::systemWide() {
  return std::make_shared<AtspiApplicationElement>(AtspiApplicationElement::Parts{
      .bus = bus_,
      .process = parts_.activeProcess ? parts_.activeProcess : [] { return 0; },
      .own = parts_.own,
      .recent = recent_});
}

AccessibilityElementRef AtspiAccessibility::application(int processIdentifier) {
  return std::make_shared<AtspiApplicationElement>(
      AtspiApplicationElement::Parts{.bus = bus_,
                                     .process = [processIdentifier] { return processIdentifier; },
                                     .own = parts_.own,
                                     .recent = recent_});
}

}  // namespace pell
