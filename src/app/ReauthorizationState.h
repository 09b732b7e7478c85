// The repair of a permission that was lost while the user worked.
#pragma once

#include <array>
#include <string_view>
#include <variant>

#include "app/OnboardingStep.h"

namespace pell {

namespace reauthorization {
struct Microphone {
  PermissionState state = PermissionState::explaining;
  bool operator==(const Microphone&) const = default;
};
struct Accessibility {
  PermissionState state = PermissionState::explaining;
  bool operator==(const Accessibility&) const = default;
};
/// The permission is back; the sheet says so and closes by itself.
struct Granted {
  bool operator==(const Granted&) const = default;
};
}  // namespace reauthorization

using ReauthorizationState =
    std::variant<reauthorization::Microphone, reauthorization::Accessibility, reauthorization::Granted>;

/// One and the same while the sheet only changes what it says.
inline std::string_view sheetId(const ReauthorizationState& state) {
  constexpr std::array<std::string_view, 3> ids{"microphone", "accessibility", "granted"};
  return ids[state.index()];
}

}  // namespace pell
