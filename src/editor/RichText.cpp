#include "editor/RichText.h"

#include <utility>

#include "editor/BlockStyle.h"
#include "editor/Face.h"
#include "editor/ListMarkers.h"
#include "editor/RtfReader.h"
#include "editor/RtfWriter.h"
#include "editor/Utf16.h"
#include "stores/Text.h"

namespace pell {
namespace {

constexpr int lineHeight = 283;  // 1.18 times the font's own, which RTF counts in 240ths
constexpr double bodySize = 15;

Font inTextFamily(const Font& font) {
  Font text = Face::nsText(font.size, font.weight);
  text.italic = font.italic;
  return text;
}

void tidyParagraph(AttributedText& text, TextRange paragraph) {
  const std::optional<ParagraphStyle> style = text.attributesAt(paragraph.location).paragraphStyle;
  const bool isItem = ListMarkers::markerLength(ListMarkers::lead(text, paragraph)) > 0;
  const bool isQuote = !isItem && RichText::isQuote(style);
  text.changeAttributes(paragraph, [&](TextAttributes& attributes) {
    attributes.foreground = isQuote ? PaletteColour::muted : PaletteColour::ink;
    attributes.background.reset();
    if (isQuote) attributes.background = PaletteColour::quote;
    attributes.paragraphStyle = isItem    ? RichText::listParagraphStyle()
                                : isQuote ? RichText::quoteParagraphStyle()
                                          : RichText::paragraphStyle(0);
    if (!attributes.font) attributes.font = font(BlockStyle::body);
  });
}

}  // namespace

ParagraphStyle RichText::paragraphStyle(double indent, double spacing) {
  return {.lineHeight = lineHeight, .spacing = spacing, .firstLineIndent = indent, .headIndent = indent};
}

ParagraphStyle RichText::listParagraphStyle(double spacing) {
  ParagraphStyle style = paragraphStyle(listIndent, spacing);
  style.firstLineIndent = listMarkerIndent;
  style.tabStops = {listIndent};
  style.defaultTabInterval = listIndent;
  return style;
}

ParagraphStyle RichText::quoteParagraphStyle(double spacing) {
  ParagraphStyle style = paragraphStyle(quoteIndent, spacing);
  style.tailIndent = -quoteIndent;
  return style;
}

bool RichText::isQuote(const std::optional<ParagraphStyle>& style) {
  return style && style->headIndent > 0 && style->tailIndent != 0;
}

TextAttributes RichText::bodyAttributes() {
  TextAttributes attributes;
  attributes.font = Face::nsText(bodySize);
  attributes.foreground = PaletteColour::ink;
  attributes.paragraphStyle = paragraphStyle(0);
  return attributes;
}

AttributedText RichText::bodyParagraph(std::string_view text) {
  return AttributedText(utf16Of(text), bodyAttributes());
}

void RichText::remapToTextFamily(AttributedText& text) {
  text.changeAttributes({.location = 0, .length = text.length()}, [](TextAttributes& attributes) {
    if (attributes.font) attributes.font = inTextFamily(*attributes.font);
  });
}

std::vector<TextRange> RichText::paragraphRanges(const AttributedText& text, TextRange range) {
  std::vector<TextRange> paragraphs;
  std::size_t at = range.location;
  do {
    paragraphs.push_back(text.paragraphRange({.location = at}));
    at = paragraphs.back().end();
  } while (at < range.end() && at < text.length());
  return paragraphs;
}

std::string RichText::rtf(const AttributedText& text) { return writeRtf(text); }

void RichText::rtf(const AttributedText& text, std::string& rtf) { writeRtf(text, rtf); }

AttributedText RichText::attributed(std::string_view rtf) {
  std::optional<AttributedText> text = readRtf(rtf);
  if (!text) return {};
  text->changeAttributes({.location = 0, .length = text->length()}, [](TextAttributes& attributes) {
    attributes.foreground = PaletteColour::ink;
    if (attributes.font) attributes.font = inTextFamily(*attributes.font);
  });
  return *std::move(text);
}

std::optional<AttributedText> RichText::intact(std::string_view rtf, std::string_view text) {
  AttributedText read = attributed(rtf);
  if (read.isEmpty()) return std::nullopt;
  const bool isTold = !trimmed(text).empty();
  if (isTold && trimmed(read.utf8()) != trimmed(bodyParagraph(text).utf8())) return std::nullopt;
  return read;
}

AttributedText RichText::document(std::string_view rtf, std::string_view text) {
  if (std::optional<AttributedText> whole = intact(rtf, text)) return *std::move(whole);
  return trimmed(text).empty() ? AttributedText() : bodyParagraph(text);
}

std::optional<AttributedText> RichText::foreign(std::string_view rtf) {
  std::optional<AttributedText> text = readRtf(rtf);
  if (!text) return std::nullopt;
  for (std::size_t at = 0; at < text->length();) {
    const TextRange paragraph = text->paragraphRange({.location = at});
    tidyParagraph(*text, paragraph);
    at = paragraph.end();
  }
  remapToTextFamily(*text);
  return text;
}

}  // namespace pell
