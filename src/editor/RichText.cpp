#include "editor/RichText.h"

#include <fmt/format.h>
#include <iterator>
#include <unicode/utf8.h>

#include "editor/Face.h"
#include "editor/Utf16.h"

namespace pell {
namespace {

constexpr int lineHeight = 283;  // 1.18 times the font's own, which RTF counts in 240ths
constexpr double bodySize = 15;

Font inTextFamily(const Font& font) {
  Font text = Face::nsText(font.size, font.weight);
  text.italic = font.italic;
  return text;
}

// The body style: 15 points in the ink of the light palette, lines 1.18 times their height (counted in
// 240ths), 6 points between paragraphs (in twentieths).
constexpr std::string_view head =
    "{\\rtf1\\ansi\\ansicpg1252\\deff0\n"
    "{\\fonttbl{\\f0\\fswiss\\fcharset0 IBM Plex Sans;}}\n"
    "{\\colortbl;\\red31\\green27\\blue22;}\n"
    "\\pard\\sl283\\slmult1\\sa120\\f0\\fs30\\cf1 ";

constexpr UChar32 paragraphSeparator = 0x2029;
constexpr UChar32 lineSeparator = 0x2028;
constexpr UChar32 firstSupplementary = 0x10000;

/// RTF counts UTF-16 code units, as signed numbers. The question mark is for readers that know no Unicode.
void appendUnit(std::string& rtf, unsigned unit) {
  const int number = unit < 0x8000 ? static_cast<int>(unit) : static_cast<int>(unit) - 0x10000;
  fmt::format_to(std::back_inserter(rtf), "\\u{}?", number);
}

void appendCharacter(std::string& rtf, UChar32 character) {
  if (character == '\\' || character == '{' || character == '}') {
    rtf += '\\';
    rtf += static_cast<char>(character);
  } else if (character == '\n' || character == paragraphSeparator) {
    rtf += "\\par\n";
  } else if (character == lineSeparator) {
    rtf += "\\line ";
  } else if (character == '\t') {
    rtf += "\\tab ";
  } else if (character >= firstSupplementary) {
    appendUnit(rtf, 0xD7C0U + (static_cast<unsigned>(character) >> 10U));
    appendUnit(rtf, 0xDC00U + (static_cast<unsigned>(character) & 0x3FFU));
  } else if (character >= 0x20 && character < 0x7F) {
    rtf += static_cast<char>(character);
  } else {
    appendUnit(rtf, static_cast<unsigned>(character));
  }
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

std::string RichText::bodyParagraphRtf(std::string_view text) {
  std::string rtf(head);
  rtf.reserve(head.size() + text.size() + text.size() / 4);
  const auto length = static_cast<int32_t>(text.size());
  for (int32_t at = 0; at < length;) {
    UChar32 character = 0;
    U8_NEXT_OR_FFFD(text.data(), at, length, character);
    if (character == '\r') {
      if (at < length && text[static_cast<std::size_t>(at)] == '\n') continue;
      character = '\n';
    }
    appendCharacter(rtf, character);
  }
  return rtf + "}";
}

}  // namespace pell
