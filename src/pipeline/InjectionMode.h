// How finished text is put into the focused application, and how that went.
#pragma once

#include <array>
#include <optional>
#include <string>
#include <string_view>
#include <variant>

namespace pell {

/// The user's choice, stored in the settings by its raw value. `TextInjector::Mode` is this type.
enum class InjectionMode { automatic, paste, copyOnly };

/// In the order in which the settings offer them.
inline constexpr std::array allInjectionModes{InjectionMode::automatic, InjectionMode::paste,
                                              InjectionMode::copyOnly};

/// The name under which a mode is stored and logged.
std::string_view rawValue(InjectionMode mode);

/// Absent for a name that no mode has.
std::optional<InjectionMode> injectionModeFromRawValue(std::string_view raw);

/// The sentence by which the settings offer a mode.
std::string_view label(InjectionMode mode);

namespace injection {
struct Inserted {
  bool operator==(const Inserted&) const = default;
};
struct Pasted {
  bool operator==(const Pasted&) const = default;
};
struct Copied {
  bool operator==(const Copied&) const = default;
};
/// The message is for the user and says where the text is.
struct Failed {
  std::string message;
  bool operator==(const Failed&) const = default;
};
}  // namespace injection

/// How one delivery went. `TextInjector::Outcome` is this type.
using InjectionOutcome =
    std::variant<injection::Inserted, injection::Pasted, injection::Copied, injection::Failed>;

/// The outcome as the log names it: "inserted", "pasted", "copied", or "failed" with its message in
/// brackets.
std::string describe(const InjectionOutcome& outcome);

}  // namespace pell
