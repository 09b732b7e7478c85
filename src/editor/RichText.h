// What the text of a note may be.
#pragma once

#include <optional>
#include <string>
#include <string_view>
#include <vector>

#include "editor/AttributedText.h"

namespace pell {

/// Notes as they are stored, in RTF, and as they are edited, in the measures of the editor. Nothing stands
/// beside the text: a list item is a paragraph that begins with a marker, a quote one with a style of a
/// certain shape, a heading one with a large font. Lengths are points.
struct RichText {
  static constexpr std::u16string_view bulletMarker = u"•\t";
  static constexpr double listMarkerIndent = 11.0;  // where the marker of a list item stands
  static constexpr double listIndent = 33.0;        // where its text stands, and its tab stop
  static constexpr double quoteIndent = 22.0;       // on both sides
  static constexpr double bodySpacing = 6.0;        // after a paragraph

  static ParagraphStyle paragraphStyle(double indent, double spacing = bodySpacing);
  static ParagraphStyle listParagraphStyle(double spacing = bodySpacing);
  static ParagraphStyle quoteParagraphStyle(double spacing = bodySpacing);
  /// Only a quote's style keeps away from the right edge.
  static bool isQuote(const std::optional<ParagraphStyle>& style);

  /// Of new plain text.
  static TextAttributes bodyAttributes();
  /// `text` (UTF-8) with them.
  static AttributedText bodyParagraph(std::string_view text);

  /// As it is stored, whole.
  static std::string rtf(const AttributedText& text);
  /// The same in the place of what `rtf` holds, whose memory serves again.
  static void rtf(const AttributedText& text, std::string& rtf);
  /// From there, or from any other program. Whatever colours were stored, the text has the ink of the
  /// palette, which follows the surroundings, and it has the text family's fonts. Empty for what is no RTF.
  static AttributedText attributed(std::string_view rtf);

  // A note is kept as RTF and, beside it, as plain text (UTF-8), which tells whether the RTF is whole.
  /// What the RTF gives, as above. Absent if that is nothing or is not `text`; blanks and line breaks at the
  /// ends may differ, and a text of nothing else tells nothing.
  static std::optional<AttributedText> intact(std::string_view rtf, std::string_view text);
  /// What the note holds: the body paragraphs of `text` where the RTF is missing or damaged.
  static AttributedText document(std::string_view rtf, std::string_view text);

  /// The RTF of another program as a note: text, sizes, bold, italic, lines, links, lists and quotes stay,
  /// and the rest takes the looks of a note, as foreign colours could not be read in the dark. Absent for
  /// what is no RTF.
  static std::optional<AttributedText> foreign(std::string_view rtf);

  /// Every font becomes the text family's at its size and weight, upright or italic as it was.
  static void remapToTextFamily(AttributedText& text);

  /// The paragraphs that `range` touches, each whole, at least one. The one at whose start a range ends is
  /// not touched by it; an empty range touches the one around it.
  static std::vector<TextRange> paragraphRanges(const AttributedText& text, TextRange range);
};

}  // namespace pell
