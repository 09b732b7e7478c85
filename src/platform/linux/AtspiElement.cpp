#include "platform/linux/AtspiElement.h"

#include <chrono>
#include <unistd.h>
#include <utility>

#include "platform/linux/AtspiFocus.h"
#include "platform/linux/AtspiInsertion.h"
#include "platform/linux/AtspiRoles.h"

namespace pell {
namespace {

constexpr int highestClimb = 60;
constexpr std::chrono::milliseconds memoryHolds{20};

AccessibilityReading failed(AccessibilityError error) { return {error, {}}; }

AccessibilityReading textReading(std::string_view text) {
  return {AccessibilityError::success, std::string(text)};
}

// By which attribute of a document each family of browsers tells its address.
constexpr const char* geckosAddress = "DocURL";
constexpr const char* chromiumsAddress = "URI";

/// The address that a document states; `noValue` when it has none that a user could have gone to. Gecko's own
/// window is a document too, with a chrome: address; Chromium has pages with such addresses.
AtspiAnswer<std::string> addressOf(const AtspiObject& object) {
  auto interfaces = object.interfaces();
  if (!interfaces) return {interfaces.error, {}};
  if (!interfaces.value.document) return {AccessibilityError::noValue, {}};
  for (const char* name : {geckosAddress, chromiumsAddress}) {
    auto value = object.documentAttribute(name);
    if (value.error == AccessibilityError::cannotComplete) return value;
    const bool isGeckosWindow = name == geckosAddress && value.value.starts_with("chrome:");
    if (value && !value.value.empty() && !isGeckosWindow) return value;
  }
  return {AccessibilityError::noValue, {}};
}

/// Climbs from the focus to the first document with an address, no higher than the window.
AtspiAnswer<std::string> addressAboveFocus(AtspiBus& bus, const AtspiAddress& window,
                                           AtspiDeadline deadline) {
  auto focused = AtspiFocus(bus, deadline).elementOf(bus.processOf(window.bus, deadline));
  if (!focused) return {focused.error, {}};
  AtspiAddress at = focused.value.address;
  for (int level = 0; level < highestClimb && at != window; ++level) {
    const AtspiObject object(bus, at, deadline);
    auto address = addressOf(object);
    if (address || address.error == AccessibilityError::cannotComplete) return address;
    auto parent = object.parent();
    if (!parent) return {parent.error, {}};
    at = parent.value;
  }
  return {AccessibilityError::noValue, {}};
}

}  // namespace

bool AtspiMemory::isFresh() const { return std::chrono::steady_clock::now() - asked < memoryHolds; }

AtspiElement::AtspiElement(std::shared_ptr<AtspiBus> bus, AtspiAddress address, Seconds timeout)
    : bus_(std::move(bus)), address_(std::move(address)), timeout_(timeout) {}

AccessibilityReading AtspiElement::copyAttribute(std::string_view name) {
  if (name == accessibility::role) return role();
  if (name == accessibility::subrole) return subrole();
  if (name == accessibility::selectedText) return selectedText();
  if (name == accessibility::document) return document();
  if (name == accessibility::url) return url();
  if (name == accessibility::children) return children();
  return failed(AccessibilityError::attributeUnsupported);
}

AtspiAnswer<AtspiNature> AtspiElement::nature() {
  if (memory_ && memory_->isFresh()) return {AccessibilityError::success, memory_->nature};
  const auto asked = std::chrono::steady_clock::now();
  auto answer = object().nature();
  if (answer) memory_ = AtspiMemory{.nature = answer.value, .asked = asked};
  return answer;
}

AccessibilityReading AtspiElement::role() {
  auto found = nature();
  if (!found) return failed(found.error);
  return textReading(accessibilityRole(found.value.role, found.value.states));
}

AccessibilityReading AtspiElement::subrole() {
  auto found = nature();
  if (!found) return failed(found.error);
  if (found.value.role == ATSPI_ROLE_PASSWORD_TEXT) return textReading(accessibility::secureTextField);
  return failed(AccessibilityError::noValue);
}

AccessibilityReading AtspiElement::selectedText() const {
  const auto asked = object();
  auto facts = asked.textFacts();
  if (!facts) return failed(facts.error);
  const AtspiRange range = facts.value.selection;
  if (range.start == range.end) return textReading("");
  auto text = asked.text(range);
  return text ? textReading(text.value) : failed(text.error);
}

AccessibilityReading AtspiElement::document() const {
  const AtspiDeadline deadline(timeout_);
  const AtspiObject window(*bus_, address_, deadline);
  auto kind = window.role();
  if (!kind) return failed(kind.error);
  if (!isWindowRole(kind.value)) return failed(AccessibilityError::attributeUnsupported);
  auto address = addressAboveFocus(*bus_, address_, deadline);
  if (address) return textReading(address.value);
  if (address.error == AccessibilityError::cannotComplete) return failed(address.error);
  // The focus is in the browser's own bars, or nowhere: the window may say which page it shows.
  auto pages = window.embedded();
  if (!pages) return failed(pages.error == AccessibilityError::cannotComplete ? pages.error : address.error);
  for (const auto& page : pages.value) {
    auto shown = addressOf({*bus_, page, deadline});
    if (shown) return textReading(shown.value);
  }
  return failed(AccessibilityError::noValue);
}

AccessibilityReading AtspiElement::url() const {
  auto address = addressOf(object());
  if (!address) return failed(address.error);
  return {AccessibilityError::success, AccessibilityUrl{address.value}};
}

AccessibilityReading AtspiElement::children() const {
  auto addresses = object().children();
  if (!addresses) return failed(addresses.error);
  std::vector<AccessibilityElementRef> elements;
  elements.reserve(addresses.value.size());
  for (auto& each : addresses.value)
    elements.push_back(std::make_shared<AtspiElement>(bus_, std::move(each), timeout_));
  return {AccessibilityError::success, std::move(elements)};
}

std::vector<std::string> AtspiElement::attributeNames() {
  const auto asked = object();
  std::vector<std::string> names = {std::string(accessibility::role), std::string(accessibility::children)};
  auto kind = asked.role();
  if (kind && kind.value == ATSPI_ROLE_PASSWORD_TEXT) names.emplace_back(accessibility::subrole);
  if (kind && isWindowRole(kind.value)) names.emplace_back(accessibility::document);
  auto interfaces = asked.interfaces();
  if (interfaces && interfaces.value.text) names.emplace_back(accessibility::selectedText);
  if (interfaces && interfaces.value.document) names.emplace_back(accessibility::url);
  return names;
}

AccessibilityElement::Settable AtspiElement::isSettable(std::string_view name) {
  if (name != accessibility::selectedText) return {AccessibilityError::success, false};
  auto found = nature();
  if (!found) return {found.error, false};
  auto accepts = acceptsInsertion(*bus_, object(), found.value);
  return {accepts.error, accepts && accepts.value};
}

AccessibilityError AtspiElement::setAttribute(std::string_view name, std::string_view utf8) {
  if (name != accessibility::selectedText) return AccessibilityError::attributeUnsupported;
  return insertText(*bus_, object(), std::string(utf8));
}

AccessibilityReading AtspiApplicationElement::copyAttribute(std::string_view name) {
  const bool focusAsked = name == accessibility::focusedElement;
  if (!focusAsked && name != accessibility::focusedWindow)
    return failed(AccessibilityError::attributeUnsupported);
  const int process = parts_.process();
  if (process == 0) return failed(AccessibilityError::noValue);
  return focusAsked ? focus(process) : window(process);
}

AccessibilityReading AtspiApplicationElement::focus(int process) {
  if (process == getpid()) {
    auto element = parts_.own ? parts_.own->focusedElement() : nullptr;
    if (!element) return failed(AccessibilityError::noValue);
    return {AccessibilityError::success, std::move(element)};
  }
  if (!parts_.bus->isReady()) return failed(AccessibilityError::apiDisabled);
  AtspiRecentFocus& recent = *parts_.recent;
  if (recent.process == process && recent.memory.isFresh() && parts_.bus->lastFocused() == recent.address)
    return elementAt({AccessibilityError::success, recent.address}, recent.memory);
  const auto asked = std::chrono::steady_clock::now();
  auto found = AtspiFocus(*parts_.bus, AtspiDeadline(timeout_)).elementOf(process);
  std::optional<AtspiMemory> memory;
  if (found && found.value.nature) {
    memory = AtspiMemory{.nature = *found.value.nature, .asked = asked};
    recent = {.process = process, .address = found.value.address, .memory = *memory};
  }
  return elementAt({found.error, std::move(found.value.address)}, memory);
}

AccessibilityReading AtspiApplicationElement::window(int process) {
  if (process == getpid()) return failed(AccessibilityError::noValue);
  if (!parts_.bus->isReady()) return failed(AccessibilityError::apiDisabled);
  return elementAt(AtspiFocus(*parts_.bus, AtspiDeadline(timeout_)).windowOf(process));
}

AccessibilityReading AtspiApplicationElement::elementAt(AtspiAnswer<AtspiAddress> found,
                                                        std::optional<AtspiMemory> memory) {
  if (!found) return failed(found.error);
  auto element = std::make_shared<AtspiElement>(parts_.bus, std::move(found.value), timeout_);
  if (memory) element->remember(*memory);
  return {AccessibilityError::success, AccessibilityElementRef(std::move(element))};
}

std::vector<std::string> AtspiApplicationElement::attributeNames() {
  return {std::string(accessibility::focusedElement), std::string(accessibility::focusedWindow)};
}

AccessibilityElement::Settable AtspiApplicationElement::isSettable(std::string_view) {
  return {AccessibilityError::success, false};
}

AccessibilityError AtspiApplicationElement::setAttribute(std::string_view, std::string_view) {
  return AccessibilityError::attributeUnsupported;
}

}  // namespace pell
