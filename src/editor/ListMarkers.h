// What makes a paragraph an item of a list: the characters that it begins with.
#pragma once

#include <cstddef>
#include <cstdint>
#include <optional>
#include <string>
#include <string_view>

#include "editor/TextRange.h"

namespace pell {

class AttributedText;

enum class ListKind : std::uint8_t { none, bullet, ordered };

/// A bullet and a tab, or digits (0 to 9, any number of them), a point and a tab. Pure; any thread.
struct ListMarkers {
  static ListKind listKind(std::u16string_view line);

  /// Digits, point and tab together. Absent if the line begins with no such marker.
  static std::optional<std::size_t> orderedMarkerLength(std::u16string_view line);

  /// Of whichever marker the line begins with; 0 if there is none.
  static std::size_t markerLength(std::u16string_view line);

  /// The start of a paragraph, as far as a marker can reach: enough for the questions above, however long the
  /// paragraph is.
  static std::u16string lead(const AttributedText& text, TextRange paragraph);

  /// The marker of the item after the one that begins with `line`, which is an item itself. After a number
  /// that 64 bits cannot count on from comes 2.
  static std::u16string next(std::u16string_view line);

  /// "3.\t".
  static std::u16string ordered(std::int64_t number);
};

}  // namespace pell
