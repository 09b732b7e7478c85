// An element of an in-memory accessibility tree: attributes, a text with a caret, delays and errors.
#pragma once

#include <cstddef>
#include <map>
#include <memory>
#include <string>
#include <string_view>
#include <vector>

#include "platform/AccessibilityTree.h"
#include "support/VirtualTime.h"

namespace pell::testing {

class MemoryElement final : public AccessibilityElement {
 public:
  /// `trusted` is the desktop's grant; without it every call answers `apiDisabled`.
  MemoryElement(VirtualTime& time, const bool& trusted) : time_(time), trusted_(trusted) {}

  // What a test scripts.
  std::map<std::string, AccessibilityValue, std::less<>> attributes;
  std::map<std::string, AccessibilityError, std::less<>> readErrors;  // by attribute
  AccessibilityError settableError = AccessibilityError::success;
  AccessibilityError setError = AccessibilityError::success;
  bool selectedTextSettable = false;
  bool takesText = false;  // what is typed or pasted lands in `text`
  Seconds latency{0};      // how long each call takes
  std::string text;
  std::size_t selectionStart = 0;  // bytes
  std::size_t selectionLength = 0;

  // What a test reads.
  std::vector<std::string> reads;
  int sets = 0;

  void setText(std::string utf8) {
    text = std::move(utf8);
    selectionStart = text.size();
    selectionLength = 0;
  }

  /// As if typed: the selection is replaced and the caret stands behind it.
  void insert(std::string_view utf8) {
    text.replace(selectionStart, selectionLength, utf8);
    selectionStart += utf8.size();
    selectionLength = 0;
  }

  void setMessagingTimeout(Seconds limit) override { limit_ = limit; }

  AccessibilityReading copyAttribute(std::string_view name) override {
    reads.emplace_back(name);
    if (auto error = wait(); error != AccessibilityError::success) return {.error = error, .value = {}};
    if (auto scripted = readErrors.find(name); scripted != readErrors.end()) {
      return {.error = scripted->second, .value = {}};
    }
    if (name == accessibility::selectedText && takesText) {
      return {.value = text.substr(selectionStart, selectionLength)};
    }
    auto found = attributes.find(name);
    if (found == attributes.end()) return {.error = AccessibilityError::attributeUnsupported, .value = {}};
    return {.value = found->second};
  }

  std::vector<std::string> attributeNames() override {
    std::vector<std::string> names;
    if (wait() != AccessibilityError::success) return names;
    for (const auto& [name, value] : attributes) names.push_back(name);
    if (takesText) names.emplace_back(accessibility::selectedText);
    return names;
  }

  Settable isSettable(std::string_view name) override {
    if (auto error = wait(); error != AccessibilityError::success) return {.error = error};
    if (settableError != AccessibilityError::success) return {.error = settableError};
    return {.settable = name == accessibility::selectedText && selectedTextSettable};
  }

  AccessibilityError setAttribute(std::string_view name, std::string_view utf8) override {
    ++sets;
    if (auto error = wait(); error != AccessibilityError::success) return error;
    if (setError != AccessibilityError::success) return setError;
    if (name != accessibility::selectedText || !selectedTextSettable) {
      return AccessibilityError::attributeUnsupported;
    }
    insert(utf8);
    return AccessibilityError::success;
  }

 private:
  AccessibilityError wait() {
    if (!trusted_) return AccessibilityError::apiDisabled;
    time_.block(std::min(latency, limit_));
    return latency > limit_ ? AccessibilityError::cannotComplete : AccessibilityError::success;
  }

  VirtualTime& time_;
  const bool& trusted_;
  Seconds limit_{6.0};
};

}  // namespace pell::testing
