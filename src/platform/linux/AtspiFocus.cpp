#include "platform/linux/AtspiFocus.h"

#include <algorithm>
#include <chrono>
#include <thread>
#include <utility>

namespace pell {
namespace {

// Lists and tables can report any number of rows; the focus is not looked for further than this.
constexpr std::size_t widestNode = 400;
constexpr std::size_t largestWalk = 6000;
constexpr int highestClimb = 60;
constexpr std::chrono::milliseconds betweenWalks{20};

AtspiAnswer<AtspiAddress> none(AccessibilityError error = AccessibilityError::noValue) { return {error, {}}; }

}  // namespace

AtspiAnswer<AtspiFocused> AtspiFocus::elementOf(int process) {
  auto known = tracked(process);
  if (known || known.error == AccessibilityError::cannotComplete) return known;
  auto window = windowOf(process);
  if (!window) return {window.error, {}};
  auto found = walk(window.value);
  if (!found && found.error == AccessibilityError::noValue) found = wakeAndWalk(window.value);
  if (found) bus_.noteFocused(found.value);
  return {found.error, {.address = std::move(found.value)}};
}

AtspiAnswer<AtspiFocused> AtspiFocus::tracked(int process) {
  constexpr auto untracked = [](AccessibilityError error = AccessibilityError::noValue) {
    return AtspiAnswer<AtspiFocused>{error, {}};
  };
  auto last = bus_.lastFocused();
  if (!last) return untracked();
  const int owner = bus_.processOf(last->bus, deadline_);
  // An application in a sandbox is on the bus under its proxy's process: its own claim decides then.
  const bool foreign = owner != process;
  if (foreign) {
    auto applications = applicationsOf(process);
    if (!applications) return untracked(applications.error);
    if (!applications.value.empty() || !isInActiveWindow(*last)) return untracked();
  }
  auto known = object(*last).nature();
  if (!known) {
    if (known.error != AccessibilityError::cannotComplete) bus_.forgetFocused(*last);
    return untracked(known.error);
  }
  if (!known.value.states.has(ATSPI_STATE_FOCUSED)) return untracked();
  if (known.value.interfaces.text) return {AccessibilityError::success, {*last, known.value}};
  auto inner = withText(*last);
  return {inner.error, {.address = std::move(inner.value)}};
}

bool AtspiFocus::isInActiveWindow(AtspiAddress address) {
  for (int level = 0; level < highestClimb; ++level) {
    auto states = object(address).states();
    if (!states) return false;
    if (states.value.has(ATSPI_STATE_ACTIVE)) return true;
    auto parent = object(address).parent();
    if (!parent) return false;
    address = parent.value;
  }
  return false;
}

AtspiAnswer<std::vector<AtspiAddress>> AtspiFocus::applicationsOf(int process) {
  auto all = object({"org.a11y.atspi.Registry", "/org/a11y/atspi/accessible/root"}).children();
  if (!all) return all;
  std::erase_if(all.value, [&](const auto& each) { return bus_.processOf(each.bus, deadline_) != process; });
  return all;
}

AtspiAnswer<AtspiAddress> AtspiFocus::windowOf(int process) {
  auto applications = applicationsOf(process);
  if (!applications) return none(applications.error);
  for (const auto& application : applications.value) {
    auto windows = object(application).children();
    if (!windows) {
      if (windows.error == AccessibilityError::cannotComplete) return none(windows.error);
      continue;
    }
    std::vector<AtspiCall> calls;
    for (const auto& window : windows.value) calls.push_back(object(window).statesCall());
    auto replies = bus_.callAll(std::move(calls), deadline_);
    for (std::size_t i = 0; i < replies.size(); ++i) {
      auto states = AtspiObject::statesOf(replies[i]);
      if (states.error == AccessibilityError::cannotComplete) return none(states.error);
      if (states && states.value.has(ATSPI_STATE_ACTIVE))
        return {AccessibilityError::success, windows.value[i]};
    }
  }
  return none();
}

AtspiAnswer<AtspiAddress> AtspiFocus::walk(const AtspiAddress& window) {
  std::vector<AtspiAddress> level = {window};
  std::size_t visited = 0;
  while (!level.empty() && visited < largestWalk) {
    visited += level.size();
    std::vector<AtspiCall> questions;
    for (const auto& each : level) questions.push_back(object(each).statesCall());
    auto replies = bus_.callAll(std::move(questions), deadline_);
    std::vector<AtspiCall> expansions;
    for (std::size_t i = 0; i < replies.size(); ++i) {
      auto states = AtspiObject::statesOf(replies[i]);
      if (states.error == AccessibilityError::cannotComplete) return none(states.error);
      if (!states) continue;
      if (states.value.has(ATSPI_STATE_FOCUSED)) return withText(level[i]);
      const bool shown = states.value.has(ATSPI_STATE_SHOWING) || states.value.has(ATSPI_STATE_VISIBLE);
      if (shown && !states.value.has(ATSPI_STATE_MANAGES_DESCENDANTS))
        expansions.push_back(object(level[i]).childrenCall());
    }
    level.clear();
    for (auto& reply : bus_.callAll(std::move(expansions), deadline_)) {
      auto children = AtspiObject::addressesOf(reply);
      if (children.error == AccessibilityError::cannotComplete) return none(children.error);
      const std::size_t taken = std::min(children.value.size(), widestNode);
      std::move(children.value.begin(), children.value.begin() + static_cast<std::ptrdiff_t>(taken),
                std::back_inserter(level));
    }
  }
  return none();
}

AtspiAnswer<AtspiAddress> AtspiFocus::wakeAndWalk(const AtspiAddress& window) {
  const auto shown = object(window);
  auto toolkit = shown.toolkit();
  if (!toolkit || toolkit.value != "Chromium") return none();
  // Asked for this, it begins to build the tree of its pages, and has it a third of a second later. The bus
  // asks whenever a window comes to the front; this one was there before.
  bus_.call(shown.attributesCall(), deadline_);
  while (deadline_.remaining() > 0) {
    auto found = walk(window);
    if (found || found.error != AccessibilityError::noValue) return found;
    std::this_thread::sleep_for(betweenWalks);
  }
  return none();
}

AtspiAnswer<AtspiAddress> AtspiFocus::withText(const AtspiAddress& focused) {
  const auto start = object(focused);
  auto interfaces = start.interfaces();
  if (!interfaces) return none(interfaces.error);
  if (interfaces.value.text) return {AccessibilityError::success, focused};
  // Qt marks the bare viewport inside a text edit as focused too, and an editable combo box around its entry.
  if (auto parent = start.parent()) {
    auto states = object(parent.value).states();
    auto around = object(parent.value).interfaces();
    if (states && around && states.value.has(ATSPI_STATE_FOCUSED) && around.value.text)
      return {AccessibilityError::success, parent.value};
  }
  auto inner = focusedChildWithText(start);
  return inner ? inner : AtspiAnswer<AtspiAddress>{AccessibilityError::success, focused};
}

AtspiAnswer<AtspiAddress> AtspiFocus::focusedChildWithText(const AtspiObject& parent) {
  auto children = parent.children();
  if (!children) return none(children.error);
  if (children.value.size() > widestNode) children.value.resize(widestNode);
  std::vector<AtspiCall> calls;
  for (const auto& child : children.value) calls.push_back(object(child).statesCall());
  auto replies = bus_.callAll(std::move(calls), deadline_);
  for (std::size_t i = 0; i < replies.size(); ++i) {
    auto states = AtspiObject::statesOf(replies[i]);
    if (!states || !states.value.has(ATSPI_STATE_FOCUSED)) continue;
    auto interfaces = object(children.value[i]).interfaces();
    if (interfaces && interfaces.value.text) return {AccessibilityError::success, children.value[i]};
  }
  return none();
}

}  // namespace pell
