// Lists and quotes, switched on and off.
#include <utility>

#include "editor/EditorController.h"
#include "editor/ListSelection.h"
#include "editor/RichText.h"

namespace pell {
namespace {

/// The last one first, so that the places of those before it stay valid. Numbers run from 1 down the
/// paragraphs. Without a kind markers only go.
std::vector<ListShift> setMarkers(EditableText& document, const std::vector<TextRange>& paragraphs,
                                  ListKind kind) {
  std::vector<ListShift> shifts;
  auto ordinal = static_cast<std::int64_t>(paragraphs.size());
  for (auto paragraph = paragraphs.rbegin(); paragraph != paragraphs.rend(); ++paragraph, --ordinal) {
    const std::size_t start = paragraph->location;
    const AttributedText& text = document.storage();
    const std::size_t old = ListMarkers::markerLength(ListMarkers::lead(text, *paragraph));
    if (old > 0) document.replaceCharacters({.location = start, .length = old}, {});
    AttributedText marker;
    if (kind != ListKind::none) {
      marker = AttributedText(
          kind == ListKind::bullet ? std::u16string(RichText::bulletMarker) : ListMarkers::ordered(ordinal),
          start < text.length() ? text.attributesAt(start) : RichText::bodyAttributes());
      document.replaceCharacters({.location = start}, marker);
    }
    shifts.push_back(
        {.location = static_cast<std::ptrdiff_t>(start),
         .delta = static_cast<std::ptrdiff_t>(marker.length()) - static_cast<std::ptrdiff_t>(old)});
  }
  return shifts;
}

void setQuote(TextAttributes& attributes, bool isQuote) {
  attributes.paragraphStyle = isQuote ? RichText::quoteParagraphStyle() : RichText::paragraphStyle(0);
  attributes.foreground = isQuote ? PaletteColour::muted : PaletteColour::ink;
  attributes.background.reset();
  if (isQuote) attributes.background = PaletteColour::quote;
}

void setQuoteForTyping(EditableText& document, bool isQuote) {
  TextAttributes typing = document.typingAttributes();
  setQuote(typing, isQuote);
  document.setTypingAttributes(std::move(typing));
}

}  // namespace

void EditorController::toggleList(ListKind kind) {
  const EditableText* document = this->document();
  if (!document) return;
  const TextRange selection = document->selectedRange();
  const auto paragraphs = RichText::paragraphRanges(document->storage(), selection);
  const TextRange first = paragraphs.front();
  const TextRange all{.location = first.location, .length = paragraphs.back().end() - first.location};
  const bool removing = ListMarkers::listKind(ListMarkers::lead(document->storage(), first)) == kind;
  change(all, [&](EditableText& text) {
    text.beginEditing();
    const auto shifts = setMarkers(text, paragraphs, removing ? ListKind::none : kind);
    text.endEditing();
    // The first paragraph alone takes the indents; the others keep what they had.
    const auto style = removing ? RichText::paragraphStyle(0) : RichText::listParagraphStyle();
    const TextRange changed = text.storage().paragraphRange({.location = first.location});
    const auto indent = [&](TextAttributes& attributes) { attributes.paragraphStyle = style; };
    text.changeAttributes(changed, indent);
    text.setSelectedRange(ListSelection::after(selection, shifts, text.storage().length()));
    if (changed.length > 0) return;
    // An empty last paragraph has no style but that of what is typed next.
    TextAttributes typing = text.typingAttributes();
    indent(typing);
    text.setTypingAttributes(std::move(typing));
  });
}

void EditorController::toggleQuote() {
  EditableText* document = this->document();
  if (!document) return;
  const bool entering = !formatting_.get().quote;
  const TextRange selection = document->selectedRange();
  const TextRange paragraphs = document->storage().paragraphRange(selection);
  const bool isChanged = change(paragraphs, [&](EditableText& text) {
    text.changeAttributes(paragraphs, [&](TextAttributes& attributes) { setQuote(attributes, entering); });
    text.setSelectedRange(selection);
    setQuoteForTyping(text, entering);
  });
  if (isChanged) return;
  setQuoteForTyping(*document, entering);
  refresh();
}

void EditorController::endQuote(TextRange range) {
  EditableText* document = this->document();
  if (!document) return;
  document->changeAttributes(range, [](TextAttributes& attributes) { setQuote(attributes, false); });
  document->setSelectedRange({.location = range.location});
  // After the caret has moved, which takes what is typed next from the text before it.
  setQuoteForTyping(*document, false);
  notifyChanged();
}

}  // namespace pell
