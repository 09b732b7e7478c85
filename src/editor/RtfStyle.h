// What the words of an RTF document have set at one place in it.
#pragma once

#include <cstddef>
#include <cstdint>
#include <optional>
#include <vector>

#include "editor/RtfWords.h"

namespace pell {

/// Of characters. Fonts, colours and links by their numbers in the document.
struct RtfCharacters {
  static constexpr std::int32_t none = -1;

  std::int32_t weight = 0;  // 0 if nothing says
  std::int32_t size = 0;    // hundredths of a point; the same
  std::int32_t font = none;
  std::int32_t foreground = 0;
  std::int32_t background = 0;  // of several words for it, in the order in which they count
  std::int32_t shading = 0;
  std::int32_t highlight = 0;
  std::int32_t link = none;
  bool italic = false;
  bool underline = false;
  bool strikethrough = false;
  bool hidden = false;
  bool operator==(const RtfCharacters&) const = default;
};

/// Of a paragraph, in twentieths of a point.
struct RtfParagraph {
  std::int32_t lineHeight = 0;
  bool lineHeightIsMultiple = false;
  std::int32_t spaceAfter = 0;
  std::int32_t firstLineIndent = 0;  // from the left indent
  std::int32_t leftIndent = 0;
  std::int32_t rightIndent = 0;
  std::int32_t leadingTailIndent = 0;
  std::int32_t defaultTabInterval = 0;
  std::vector<std::int32_t> tabStops;
  bool operator==(const RtfParagraph&) const = default;
};

struct RtfStyle {
  /// False for a word that says nothing about style. One without a parameter switches something on.
  bool apply(RtfWord word, std::optional<std::int32_t> parameter);

  bool operator==(const RtfStyle&) const = default;

  RtfCharacters characters;
  RtfParagraph paragraph;

 private:
  bool applyToFont(RtfWord word, std::optional<std::int32_t> parameter);
  bool applyToCharacters(RtfWord word, std::optional<std::int32_t> parameter);
  bool applyToParagraph(RtfWord word, std::int32_t parameter);
};

/// What a document may ask for. Documents that programs write stay far below; the others are read as far as
/// this goes, and their text but that of deeper groups always.
struct RtfLimits {
  static constexpr std::size_t depth = 10'000;            // of groups in groups; deeper ones are left out
  static constexpr std::size_t tabStops = 32;             // of a paragraph
  static constexpr std::size_t attributes = 256'000'000;  // bytes that the attributes of the text may take
  static constexpr std::size_t link = 8192;               // bytes of its UTF-8; longer ones lead nowhere
  static constexpr std::size_t linksPerByte = 4;          // bytes of all links, each time that one begins
  static constexpr std::size_t stretches = 50'000;        // of unlike characters within a paragraph
  static constexpr std::int32_t length = 1'000'000;       // twentieths of a point
  static constexpr std::int32_t fontSize = 1'000'000;     // hundredths of a point
  static constexpr std::int32_t weight = 1000;
};

}  // namespace pell
