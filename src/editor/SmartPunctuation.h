// The quotation marks and dashes that a typewriter's keys stand for.
#pragma once

#include <cstddef>
#include <optional>
#include <string_view>

namespace pell {

struct SmartPunctuation {
  /// What goes in the place of characters just typed.
  struct Substitute {
    std::size_t replaced = 0;  // UTF-16 units at the end of what was typed
    char16_t character = 0;
    bool operator==(const Substitute&) const = default;
  };

  /// `before` is the text of the line up to the caret, the typed character at its end; the last few
  /// characters are enough. Straight quotes become curved ones, opening or closing by what stands before
  /// them, and two hyphens a dash. Absent if the text stays as it was typed. Pure; any thread.
  static std::optional<Substitute> after(std::u16string_view before);
};

}  // namespace pell
