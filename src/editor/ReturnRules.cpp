#include "editor/ReturnRules.h"

#include <utility>

#include "editor/EditorController.h"
#include "editor/ListMarkers.h"
#include "editor/RichText.h"

namespace pell {
namespace {

bool isLineBreak(char16_t unit) {
  return (unit >= u'\n' && unit <= u'\r') || unit == 0x85 || unit == 0x2028 || unit == 0x2029;
}

/// Whether nothing but line breaks stands in `range` after its first `start` units.
bool isBlankAfter(const AttributedText& text, TextRange range, std::size_t start) {
  for (std::size_t at = range.location + start; at < range.end(); ++at) {
    if (!isLineBreak(text[at])) return false;
  }
  return true;
}

void setTypingStyle(EditableText& document, const ParagraphStyle& style) {
  TextAttributes typing = document.typingAttributes();
  typing.paragraphStyle = style;
  document.setTypingAttributes(std::move(typing));
}

/// These edits are no steps of their own: they undo together with what was typed before.
void endList(EditableText& document, TextRange paragraph, std::size_t marker) {
  const ParagraphStyle plain = RichText::paragraphStyle(0);
  document.beginEditing();
  document.replaceCharacters({.location = paragraph.location, .length = marker}, {});
  document.changeAttributes({.location = paragraph.location, .length = paragraph.length - marker},
                            [&](TextAttributes& attributes) { attributes.paragraphStyle = plain; });
  document.endEditing();
  document.setSelectedRange({.location = paragraph.location});
  // Where no line break is left to carry the style, what is typed next has to.
  setTypingStyle(document, plain);
}

void continueList(EditableText& document, TextRange range, std::u16string_view lead) {
  TextAttributes attributes = document.typingAttributes();
  attributes.paragraphStyle = RichText::listParagraphStyle();
  const AttributedText item(u"\n" + ListMarkers::next(lead), std::move(attributes));
  document.replaceCharacters(range, item);
  document.setSelectedRange({.location = range.location + item.length()});
}

bool isInQuote(const EditableText& document, TextRange paragraph) {
  const AttributedText& text = document.storage();
  const TextAttributes& attributes = paragraph.location < text.length()
                                         ? text.attributesAt(paragraph.location)
                                         : document.typingAttributes();
  return RichText::isQuote(attributes.paragraphStyle);
}

}  // namespace

bool ReturnRules::allowsChange(EditorController& controller, TextRange range,
                               std::optional<std::u16string_view> replacement) {
  if (replacement != u"\n" || !controller.textView) return true;
  EditableText& document = controller.textView->document();
  const AttributedText& text = document.storage();
  const TextRange paragraph = text.paragraphRange(range);
  const std::u16string lead = ListMarkers::lead(text, paragraph);
  const std::size_t marker = ListMarkers::markerLength(lead);
  if (marker == 0) {
    if (!isInQuote(document, paragraph) || !isBlankAfter(text, paragraph, 0)) return true;
    controller.endQuote(paragraph);
    return false;
  }
  if (isBlankAfter(text, paragraph, marker)) {
    endList(document, paragraph, marker);
  } else {
    continueList(document, range, lead);
  }
  controller.notifyChanged();
  return false;
}

}  // namespace pell
