#include "editor/view/NoteHtml.h"

#include <QTextBlock>
#include <QTextDocument>
#include <QTextFragment>
#include <QTextList>

#include "editor/BlockStyle.h"
#include "editor/ListMarkers.h"
#include "editor/RichText.h"

namespace pell {
namespace {

/// Reads no file and asks nobody for what a page refers to.
class LonelyDocument final : public QTextDocument {
 protected:
  QVariant loadResource(int, const QUrl&) override { return {}; }
};

BlockStyle blockStyle(int headingLevel) {
  switch (headingLevel) {
    case 0:
      return BlockStyle::body;
    case 1:
      return BlockStyle::title;
    case 2:
      return BlockStyle::heading;
    default:
      return BlockStyle::subheading;
  }
}

/// Qt keeps of a quotation no more than its margins.
bool isQuote(const QTextBlock& block) {
  return block.blockFormat().leftMargin() > 0 && block.blockFormat().rightMargin() > 0;
}

std::u16string marker(const QTextBlock& block) {
  const QTextList* list = block.textList();
  if (!list) return {};
  const bool isOrdered = list->format().style() <= QTextListFormat::ListDecimal;  // they count downwards
  return isOrdered ? ListMarkers::ordered(list->itemNumber(block) + 1)
                   : std::u16string(RichText::bulletMarker);
}

TextAttributes paragraphAttributes(const QTextBlock& block) {
  TextAttributes attributes = RichText::bodyAttributes();
  attributes.font = font(blockStyle(block.blockFormat().headingLevel()));
  if (block.textList()) {
    attributes.paragraphStyle = RichText::listParagraphStyle();
  } else if (isQuote(block)) {
    attributes.paragraphStyle = RichText::quoteParagraphStyle();
    attributes.foreground = PaletteColour::muted;
    attributes.background = PaletteColour::quote;
  }
  return attributes;
}

TextAttributes fragmentAttributes(TextAttributes attributes, const QTextCharFormat& format) {
  if (format.fontWeight() >= Font::semibold && !attributes.font->isBold())
    attributes.font->weight = Font::bold;
  attributes.font->italic = format.fontItalic();
  if (format.fontStrikeOut()) attributes.strikethrough = 1;
  if (format.isAnchor() && !format.anchorHref().isEmpty()) {
    attributes.link = format.anchorHref().toStdString();
  } else if (format.fontUnderline()) {
    attributes.underline = 1;
  }
  return attributes;
}

}  // namespace

AttributedText NoteHtml::read(const QString& html) {
  LonelyDocument page;
  page.setUndoRedoEnabled(false);
  page.setHtml(html);
  AttributedText text;
  for (QTextBlock block = page.begin(); block.isValid(); block = block.next()) {
    const TextAttributes attributes = paragraphAttributes(block);
    text.append(marker(block), attributes);
    for (auto at = block.begin(); !at.atEnd(); ++at) {
      const QTextFragment fragment = at.fragment();
      QString characters = fragment.text();
      characters.remove(QChar::ObjectReplacementCharacter);
      characters.replace(QChar::LineSeparator, u'\n');
      text.append(characters.toStdU16String(), fragmentAttributes(attributes, fragment.charFormat()));
    }
    if (block.next().isValid()) text.append(u"\n", attributes);
  }
  return text;
}

}  // namespace pell
