// The screens that a new user passes, one after the other.
#pragma once

#include <array>
#include <variant>

namespace pell {

/// Where the user stands on a permission's screen. The microphone is never `waiting` and never `stuck`, the
/// accessibility permission never `blocked`, `restricted` or without a device.
enum class PermissionState { explaining, waiting, blocked, restricted, noDevice, stuck };

namespace step {
struct Microphone {
  PermissionState state = PermissionState::explaining;
  bool operator==(const Microphone&) const = default;
};
struct Accessibility {
  PermissionState state = PermissionState::explaining;
  bool operator==(const Accessibility&) const = default;
};
struct Account {
  bool operator==(const Account&) const = default;
};
struct DictateInPell {
  bool operator==(const DictateInPell&) const = default;
};
struct DictateElsewhere {
  bool operator==(const DictateElsewhere&) const = default;
};
struct Finish {
  bool operator==(const Finish&) const = default;
};
}  // namespace step

/// A step, compared by value, the state of a permission included.
using OnboardingStep = std::variant<step::Account, step::Microphone, step::Accessibility, step::DictateInPell,
                                    step::DictateElsewhere, step::Finish>;

/// The N of "Step N of 5". The last two steps share the number 5.
inline int stepNumber(const OnboardingStep& step) {
  constexpr std::array numbers{1, 2, 3, 4, 5, 5};
  static_assert(numbers.size() == std::variant_size_v<OnboardingStep>);
  return numbers[step.index()];
}

}  // namespace pell
