#include "editor/EditorController.h"

#include <algorithm>
#include <utility>

#include "editor/RichText.h"
#include "editor/Utf16.h"

namespace pell {
namespace {

constexpr int flashTicks = 8;

/// What tells the toolbar about the place of the selection: the text itself if some is selected, else what
/// stands before the caret, else what is typed next.
const TextAttributes& attributesToShow(const EditableText& document) {
  const AttributedText& text = document.storage();
  const TextRange selection = document.selectedRange();
  if (selection.length > 0 && selection.location < text.length()) {
    return text.attributesAt(selection.location);
  }
  if (!text.isEmpty() && selection.location > 0) {
    return text.attributesAt(std::min(selection.location, text.length()) - 1);
  }
  return document.typingAttributes();
}

bool isOn(const std::optional<int>& line) { return line.value_or(0) != 0; }

std::string joined(const std::vector<std::string>& paragraphs) {
  std::string text;
  for (const std::string& paragraph : paragraphs) {
    if (&paragraph != &paragraphs.front()) text += '\n';
    text += paragraph;
  }
  return text;
}

/// What keeps an insertion at `caret` apart from what stands before it.
std::string_view separation(const AttributedText& text, std::size_t caret) {
  if (caret == 0) return "";
  const std::size_t lineStart = text.paragraphRange({.location = caret}).location;
  if (caret == lineStart) return "\n";
  return text[caret - 1] == u' ' ? "" : " ";
}

}  // namespace

void EditorController::load(const Snapshot& document) {
  if (!textView) return;
  swap(RichText::document(document.rtf, document.text), [](const AttributedText& text) {
    return text.isEmpty() ? RichText::bodyAttributes() : text.attributesAt(text.length() - 1);
  });
}

void EditorController::loadEmpty() {
  if (!textView) return;
  swap({}, [](const AttributedText&) {
    TextAttributes attributes = RichText::bodyAttributes();
    attributes.font = font(BlockStyle::title);
    return attributes;
  });
}

void EditorController::swap(AttributedText text,
                            const std::function<TextAttributes(const AttributedText&)>& typing) {
  endFlash();
  isSwapping_ = true;
  EditableText& document = textView->document();
  document.setAttributedString(std::move(text));
  document.setSelectedRange({.location = document.storage().length()});
  document.setTypingAttributes(typing(document.storage()));
  isSwapping_ = false;
  refresh();
}

EditorController::Snapshot EditorController::snapshot() const {
  Snapshot snapshot;
  if (textView) take(snapshot);
  return snapshot;
}

void EditorController::take(Snapshot& snapshot) const {
  const AttributedText& text = document()->storage();
  RichText::rtf(text, snapshot.rtf);
  snapshot.text.clear();
  text.appendUtf8To(snapshot.text, {.location = 0, .length = text.length()});
}

std::optional<TextRange> EditorController::insert(const std::vector<std::string>& paragraphs) {
  EditableText* document = this->document();
  if (!document || paragraphs.empty()) return std::nullopt;
  const TextRange selection = document->selectedRange();
  const std::string prefix(separation(document->storage(), selection.location));
  const TextAttributes& typing = document->typingAttributes();
  const AttributedText text(utf16Of(prefix + joined(paragraphs)),
                            typing.isEmpty() ? RichText::bodyAttributes() : typing);
  const bool isAllowed = document->shouldChangeText(selection, text.text());
  if (isAllowed) document->replaceCharacters(selection, text);
  const TextRange inserted{.location = selection.location, .length = text.length()};
  document->setSelectedRange({.location = inserted.end()});
  textView->scrollRangeToVisible({.location = inserted.end()});
  // Last, as whoever is told may take the view away or load another note.
  if (isAllowed) document->didChangeText();
  notifyChanged();
  return inserted;
}

void EditorController::flashHighlight(TextRange range, Seconds duration) {
  const EditableText* text = document();
  if (!text || range.end() > text->storage().length()) return;
  endFlash();
  for (int tick = 0; tick <= flashTicks; ++tick) {
    flash_.push_back(
        main_.postAfter(duration * tick / flashTicks, [this, range, tick] { tickFlash(range, tick); }));
  }
}

/// The user may have shortened the text in the meantime.
void EditorController::tickFlash(TextRange range, int tick) {
  if (tick == flashTicks) return endFlash();
  const EditableText* text = document();
  if (!text || range.end() > text->storage().length()) return;
  textView->highlight(range, 1.0 - static_cast<double>(tick) / flashTicks);
}

void EditorController::endFlash() {
  if (flash_.empty()) return;
  if (textView) textView->highlight({}, 0);
  flash_.clear();
}

void EditorController::notifyChanged() {
  if (isSwapping_ || !textView) return;
  Snapshot now = std::exchange(told_, {});  // whoever is told may bring about the next change
  take(now);
  stats_ = counting_.update(now.text);
  if (onChange) onChange(now);
  told_ = std::move(now);
  refresh();
}

void EditorController::refresh() {
  const EditableText* document = this->document();
  if (!document) return;
  const AttributedText& text = document->storage();
  const TextAttributes& attributes = attributesToShow(*document);
  const Font font = attributes.font.value_or(pell::font(BlockStyle::body));
  const std::size_t place = std::min(document->selectedRange().location, text.length());
  const TextRange paragraph = text.paragraphRange({.location = place});
  const ListKind list = ListMarkers::listKind(ListMarkers::lead(text, paragraph));
  formatting_ = Formatting{.bold = font.isBold(),
                           .italic = font.italic,
                           .underline = isOn(attributes.underline),
                           .strikethrough = isOn(attributes.strikethrough),
                           .link = attributes.link.has_value(),
                           .bulletList = list == ListKind::bullet,
                           .orderedList = list == ListKind::ordered,
                           .quote = list == ListKind::none && RichText::isQuote(attributes.paragraphStyle),
                           .blockStyle = blockStyleOf(font),
                           .canUndo = document->canUndo(),
                           .canRedo = document->canRedo()};
}

void EditorController::undo() {
  if (EditableText* text = document()) text->undo();
  refresh();
}

void EditorController::redo() {
  if (EditableText* text = document()) text->redo();
  refresh();
}

bool EditorController::change(TextRange range, const std::function<void(EditableText&)>& edit) {
  EditableText* text = document();
  if (!text || !text->shouldChangeText(range, std::nullopt)) return false;
  edit(*text);
  text->didChangeText();
  notifyChanged();
  return true;
}

}  // namespace pell
