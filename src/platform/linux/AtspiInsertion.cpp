#include "platform/linux/AtspiInsertion.h"

#include <chrono>
#include <thread>

namespace pell {
namespace {

constexpr Seconds readBackLimit{0.1};
constexpr std::chrono::milliseconds readBackStep{2};

struct Units {
  int bytes = 0;
  int codePoints = 0;
  int utf16 = 0;
};

Units unitsOf(const std::string& utf8) {
  Units units;
  units.bytes = static_cast<int>(utf8.size());
  for (const char c : utf8) {
    const auto byte = static_cast<unsigned char>(c);
    if ((byte & 0xC0U) == 0x80U) continue;
    ++units.codePoints;
    units.utf16 += byte >= 0xF0U ? 2 : 1;
  }
  return units;
}

/// How a toolkit counts: offsets into its text, and the length that goes with an inserted text.
struct Measure {
  int offset = 0;
  int length = 0;
};

Measure measureFor(const std::string& toolkit, const Units& units) {
  if (toolkit == "Qt") return {units.utf16, units.utf16};
  return {units.codePoints, units.bytes};
}

bool isKnownLiar(const std::string& toolkit) { return toolkit == "Gecko" || toolkit == "Chromium"; }

/// Waits until the field's length differs from `before`.
bool lengthMoved(const AtspiObject& element, int before) {
  const auto end = std::chrono::steady_clock::now() + toNanoseconds(readBackLimit);
  for (;;) {
    auto count = element.characterCount();
    if (!count) return false;
    if (count.value != before) return true;
    if (std::chrono::steady_clock::now() >= end) return false;
    std::this_thread::sleep_for(readBackStep);
  }
}

}  // namespace

AtspiAnswer<bool> acceptsInsertion(const AtspiBus& bus, const AtspiObject& element,
                                   const AtspiNature& nature) {
  const auto& states = nature.states;
  const auto& interfaces = nature.interfaces;
  const bool takesText = interfaces.text && interfaces.editableText && states.has(ATSPI_STATE_EDITABLE) &&
                         !states.has(ATSPI_STATE_READ_ONLY);
  if (!takesText || bus.isLiar(element.address().bus)) return {AccessibilityError::success, false};
  auto toolkit = element.toolkit();
  if (!toolkit) return {toolkit.error, false};
  return {AccessibilityError::success, !isKnownLiar(toolkit.value)};
}

AccessibilityError insertText(AtspiBus& bus, const AtspiObject& element, const std::string& utf8) {
  if (utf8.find('\0') != std::string::npos ||
      !g_utf8_validate(utf8.data(), static_cast<gssize>(utf8.size()), nullptr))
    return AccessibilityError::illegalArgument;
  auto toolkit = element.toolkit();
  if (!toolkit) return toolkit.error;
  if (isKnownLiar(toolkit.value)) return AccessibilityError::attributeUnsupported;
  auto facts = element.textFacts();
  if (!facts) return facts.error;
  const AtspiRange selection = facts.value.selection;
  int before = facts.value.characterCount;
  if (selection.start != selection.end) {
    auto deleted = element.deleteText(selection);
    if (!deleted) return deleted.error;
    auto left = element.characterCount();
    if (!left) return left.error;
    if (!deleted.value || left.value == before) return AccessibilityError::failure;
    before = left.value;
  }
  if (utf8.empty()) return AccessibilityError::success;

  const auto measure = measureFor(toolkit.value, unitsOf(utf8));
  const int position = selection.start;
  auto inserted = element.insertText(position, utf8, measure.length);
  // An application may have done the work and been late with its answer, so the field itself is asked.
  if (!lengthMoved(element, before)) {
    if (inserted && inserted.value) bus.noteLiar(element.address().bus);
    return inserted ? AccessibilityError::failure : inserted.error;
  }
  auto caret = element.caretOffset();
  if (caret && caret.value != position + measure.offset) element.setCaretOffset(position + measure.offset);
  return AccessibilityError::success;
}

}  // namespace pell
