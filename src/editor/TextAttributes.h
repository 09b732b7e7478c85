// What a stretch of a note can carry besides its characters. Each attribute may be absent.
#pragma once

#include <optional>
#include <string>
#include <variant>
#include <vector>

#include "editor/Palette.h"

namespace pell {

struct Font {
  static constexpr int regular = 400;
  static constexpr int medium = 500;
  static constexpr int semibold = 600;
  static constexpr int bold = 700;

  std::string family;
  double size = 0;       // points
  int weight = regular;  // as OpenType counts: 100 to 900
  bool italic = false;

  /// What a reader would call bold, and what the bold button takes away.
  bool isBold() const { return weight >= semibold; }
  bool operator==(const Font&) const = default;
};

/// A name of the palette follows the surroundings; a fixed colour came from elsewhere.
using TextColour = std::variant<PaletteColour, Rgb>;

/// Lengths in points. A negative tail indent counts from the right edge, a positive one from the left.
struct ParagraphStyle {
  /// Line height in 240ths of the font's own, the unit in which RTF keeps it; 0 leaves it to the font.
  static constexpr int lineHeightUnit = 240;

  int lineHeight = 0;
  double spacing = 0;  // after the paragraph
  double firstLineIndent = 0;
  double headIndent = 0;
  double tailIndent = 0;
  std::vector<double> tabStops;   // left-aligned, ascending
  double defaultTabInterval = 0;  // beyond the last stop; 0 leaves it to the view
  bool operator==(const ParagraphStyle&) const = default;
};

struct TextAttributes {
  std::optional<Font> font;
  std::optional<TextColour> foreground;
  std::optional<TextColour> background;
  std::optional<ParagraphStyle> paragraphStyle;
  std::optional<int> underline;      // 1 a single line, 0 none, as good as absent
  std::optional<int> strikethrough;  // the same
  std::optional<std::string> link;   // where it leads, UTF-8

  bool isEmpty() const { return *this == TextAttributes(); }
  bool operator==(const TextAttributes&) const = default;
};

}  // namespace pell
