#pragma once

#include <array>
#include <cstddef>
#include <cstdint>
#include <optional>
#include <string>
#include <string_view>
#include <unordered_map>
#include <vector>

#include "editor/AttributedText.h"
#include "editor/RtfStyle.h"
#include "editor/RtfTables.h"

namespace pell {

/// The text of an RTF document while it is read. A paragraph is kept until its end is met, as only that says
/// how the whole of it is laid out.
class RtfText {
 public:
  /// Fonts and colours are looked up when a paragraph is over. `size` is that of the document in bytes.
  RtfText(const RtfFonts& fonts, const RtfColours& colours, std::size_t size)
      : fonts_(fonts), colours_(colours), linksLeft_(size * RtfLimits::linksPerByte) {}
  RtfText(const RtfText&) = delete;
  RtfText& operator=(const RtfText&) = delete;

  /// Where to append characters of that style.
  std::u16string& open(const RtfStyle& style);
  void endParagraph(const RtfStyle& style);
  /// Whether nothing stands in the paragraph yet.
  bool isAtLineStart() const { return text_.size() == paragraphBegin_; }

  void setDefaultFont(std::int32_t number) { defaultFont_ = number; }
  /// The number of a link, for `RtfCharacters`; none for an empty one and one that is too long.
  std::int32_t link(std::string target);

  /// The whole of it. `lastBreakEnds` leaves out the line break of a last paragraph that is empty.
  AttributedText take(const RtfStyle& style, bool lastBreakEnds);

 private:
  /// Characters of one kind in a row, up to `end` of `text_`.
  struct Stretch {
    RtfCharacters characters;
    std::size_t end = 0;
  };

  bool affords(std::int32_t link);
  void settle(const RtfParagraph& paragraph);
  void flush();
  void append(std::size_t begin, std::size_t end);
  AttributedText::SharedAttributes attributesOf(const RtfStyle& style);
  TextAttributes madeOf(const RtfStyle& style) const;
  std::optional<Font> fontOf(const RtfCharacters& characters) const;

  const RtfFonts& fonts_;
  const RtfColours& colours_;
  std::int32_t defaultFont_ = 0;
  std::unordered_map<std::string, std::int32_t> numbers_;  // of links
  std::vector<const std::string*> links_;
  std::size_t linksLeft_;                       // bytes
  std::int32_t goingOn_ = RtfCharacters::none;  // the link of the text before

  std::u16string text_;             // what is not in `document_` yet
  std::size_t paragraphBegin_ = 0;  // before it: text of the style `settled_`
  std::vector<Stretch> stretches_;  // of the paragraph, the last one's end open
  std::optional<RtfStyle> settled_;
  /// What was made last, as text goes back and forth between a few styles.
  struct Made {
    RtfStyle style;
    AttributedText::SharedAttributes attributes;
  };
  std::array<Made, 8> made_;
  std::size_t oldest_ = 0;  // of these
  std::size_t attributesSize_ = 0;
  bool endsInBreak_ = false;
  AttributedText document_;
};

}  // namespace pell
