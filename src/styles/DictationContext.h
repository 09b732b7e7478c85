// Where the user is dictating.
#pragma once

#include <optional>
#include <string>

namespace pell {

/// The target of a dictation, as far as rules for styles look at it.
struct DictationContext {
  std::optional<std::string> bundleID;     // of the target application
  std::optional<std::string> browserHost;  // of the page in the front browser, in normal form
  bool operator==(const DictationContext&) const = default;

  static const DictationContext none;
};

inline const DictationContext DictationContext::none{};

}  // namespace pell
