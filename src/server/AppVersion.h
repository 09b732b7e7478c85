// Version numbers of the application.
#pragma once

#include <compare>
#include <cstdint>
#include <optional>
#include <string_view>

namespace pell {

/// Ordered by its fields in their sequence.
struct AppVersion {
  std::int64_t major = 0;
  std::int64_t minor = 0;
  std::int64_t patch = 0;
  auto operator<=>(const AppVersion&) const = default;

  /// One to three numbers between points; what is missing counts as 0. Absent for anything else, a
  /// pre-release suffix included.
  static std::optional<AppVersion> parse(std::string_view text);
};

}  // namespace pell
