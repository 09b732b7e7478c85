// Addresses in what is typed.
#pragma once

#include <cstddef>
#include <optional>
#include <string>
#include <string_view>

namespace pell {

struct LinkDetection {
  /// Longer words are no addresses.
  static constexpr std::size_t longest = 2000;  // UTF-16 units

  struct Found {
    std::size_t fromEnd = 0;  // where the address begins, counted from the end of the line in UTF-16 units
    std::size_t length = 0;
    std::string target;  // UTF-8
    bool operator==(const Found&) const = default;
  };

  /// The address that the last word of `line` is, without the brackets, quotes and full stops around it:
  /// something behind "http://", "https://" or "mailto:", or a name that begins with "www.". `line` may be
  /// cut at its front to `longest` and one unit. Pure; any thread.
  static std::optional<Found> atEnd(std::u16string_view line);
};

}  // namespace pell
