#include "editor/view/QtTextFormats.h"

#include <algorithm>
#include <cmath>

#include "editor/BlockStyle.h"
#include "editor/Face.h"
#include "editor/RichText.h"

namespace pell {
namespace {

constexpr std::size_t keptFormats = 32;

QStringList families(const Font& font) {
  QStringList list{QString::fromStdString(font.family)};
  if (list.front().isEmpty()) list.front() = QLatin1String(Face::textFamily);
  list << QLatin1String(Face::devanagariFamily);
  return list;
}

/// Fonts of Qt have whole pixels.
int pixels(const Font& font) { return std::max(1, static_cast<int>(std::lround(font.size))); }

QFont::StyleHint hint(const Font& font) {
  switch (Face::fallbackDesign(font.family)) {
    case FontDesign::serif:
      return QFont::Serif;
    case FontDesign::monospaced:
      return QFont::Monospace;
    case FontDesign::standard:
      break;
  }
  return QFont::AnyStyle;
}

double luminance(Rgb value) { return 0.2126 * value.red + 0.7152 * value.green + 0.0722 * value.blue; }

/// The surroundings that a text stands in: a fixed background stays what it is in the dark, and the ink on it
/// has to be read there.
Appearance surroundings(const TextAttributes& attributes, Appearance appearance) {
  const Rgb* fixed = attributes.background ? std::get_if<Rgb>(&*attributes.background) : nullptr;
  if (!fixed) return appearance;
  return luminance(*fixed) > 127 ? Appearance::light : Appearance::dark;
}

QColor resolve(const TextColour& value, Appearance appearance) {
  if (const auto* fixed = std::get_if<Rgb>(&value)) return colour(*fixed);
  return colour(std::get<PaletteColour>(value), appearance);
}

}  // namespace

QColor colour(Rgb value) { return {value.red, value.green, value.blue}; }
QColor colour(PaletteColour name, Appearance appearance) { return colour(rgb(name, appearance)); }

QFont QtTextFormats::fontOf(const Font& font) {
  QFont result;
  result.setFamilies(families(font));
  result.setStyleHint(hint(font));
  result.setPixelSize(pixels(font));
  result.setWeight(static_cast<QFont::Weight>(font.weight));
  result.setItalic(font.italic);
  return result;
}

const QTextCharFormat& QtTextFormats::characters(const TextAttributes& attributes) {
  for (const auto& [known, format] : made_) {
    if (known == attributes) return format;
  }
  if (made_.size() == keptFormats) made_.erase(made_.begin());
  return made_.emplace_back(attributes, make(attributes)).second;
}

QTextCharFormat QtTextFormats::make(const TextAttributes& attributes) const {
  const Appearance around = surroundings(attributes, appearance_);
  QTextCharFormat format;
  const Font font = attributes.font.value_or(pell::font(BlockStyle::body));
  format.setFontFamilies(families(font));
  format.setProperty(QTextFormat::FontPixelSize, pixels(font));
  format.setFontWeight(font.weight);
  format.setFontItalic(font.italic);
  format.setForeground(resolve(attributes.foreground.value_or(PaletteColour::ink), around));
  if (attributes.background) format.setBackground(resolve(*attributes.background, appearance_));
  format.setFontUnderline(attributes.underline.value_or(0) != 0);
  format.setFontStrikeOut(attributes.strikethrough.value_or(0) != 0);
  if (attributes.link) {
    format.setAnchor(true);
    format.setAnchorHref(QString::fromStdString(*attributes.link));
    format.setForeground(colour(PaletteColour::link, around));
    format.setFontUnderline(true);
  }
  return format;
}

QTextBlockFormat QtTextFormats::paragraph(const TextAttributes& attributes) const {
  const std::optional<ParagraphStyle>& style = attributes.paragraphStyle;
  QTextBlockFormat format;
  if (!style) return format;
  if (style->lineHeight > 0) {
    format.setLineHeight(100.0 * style->lineHeight / ParagraphStyle::lineHeightUnit,
                         QTextBlockFormat::ProportionalHeight);
  }
  format.setBottomMargin(style->spacing);
  format.setLeftMargin(style->headIndent);
  format.setTextIndent(style->firstLineIndent - style->headIndent);
  if (style->tailIndent < 0) format.setRightMargin(-style->tailIndent);
  // Qt counts them from where a line begins; the line that matters is the one with the marker of a list.
  QList<QTextOption::Tab> tabs;
  for (double stop : style->tabStops) {
    if (stop > style->firstLineIndent) tabs.append({stop - style->firstLineIndent, QTextOption::LeftTab});
  }
  for (int more = 1; style->defaultTabInterval > 0 && more <= generatedStops; ++more) {
    const double last = style->tabStops.empty() ? 0 : style->tabStops.back();
    tabs.append({last + more * style->defaultTabInterval - style->firstLineIndent, QTextOption::LeftTab});
  }
  if (!tabs.isEmpty()) format.setTabPositions(tabs);
  if (attributes.background && RichText::isQuote(style)) {
    format.setBackground(resolve(*attributes.background, appearance_));
  }
  return format;
}

QString QtTextFormats::shown(std::u16string_view text) {
  // Not by `fromUtf16`, which takes a leading U+FEFF away.
  QString result(reinterpret_cast<const QChar*>(text.data()), static_cast<qsizetype>(text.size()));
  for (QChar& unit : result) {
    const char16_t code = unit.unicode();
    if (code == u'\n') {
      unit = QChar::ParagraphSeparator;
    } else if (code == u'\uFDD0' || code == u'\uFDD1' || code == u'\uFFFC' || code == u'\r') {
      unit = QChar::ReplacementCharacter;
    }
  }
  return result;
}

}  // namespace pell
