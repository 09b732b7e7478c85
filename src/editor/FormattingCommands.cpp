// What the toolbar does to characters.
#include <algorithm>
#include <array>

#include "editor/EditorController.h"
#include "editor/RichText.h"
#include "stores/Text.h"

namespace pell {
namespace {

Font fontOf(const TextAttributes& attributes) { return attributes.font.value_or(font(BlockStyle::body)); }

bool hasScheme(std::string_view address) {
  constexpr std::array<std::string_view, 4> schemes{"http:", "https:", "mailto:", "tel:"};
  return std::ranges::any_of(schemes, [&](std::string_view scheme) {
    return std::ranges::equal(address.substr(0, scheme.size()), scheme, {}, [](char letter) {
      return letter >= 'A' && letter <= 'Z' ? static_cast<char>(letter - 'A' + 'a') : letter;
    });
  });
}

}  // namespace

Font EditorController::toggledBold(Font font) {
  font.weight = font.isBold() ? Font::regular : Font::bold;
  return font;
}

Font EditorController::toggledItalic(Font font) {
  font.italic = !font.italic;
  return font;
}

void EditorController::toggleFont(Font (*toggled)(Font)) {
  EditableText* document = this->document();
  if (!document) return;
  const auto toggle = [&](TextAttributes& attributes) { attributes.font = toggled(fontOf(attributes)); };
  const TextRange selection = document->selectedRange();
  if (selection.length > 0) {
    change(selection, [&](EditableText& text) { text.changeAttributes(selection, toggle); });
    return;
  }
  TextAttributes typing = document->typingAttributes();
  toggle(typing);
  document->setTypingAttributes(std::move(typing));
  refresh();
}

void EditorController::toggleLine(LineAttribute line) {
  EditableText* document = this->document();
  if (!document) return;
  const TextRange selection = document->selectedRange();
  TextAttributes typing = document->typingAttributes();
  const TextAttributes& deciding =
      selection.length > 0 ? document->storage().attributesAt(selection.location) : typing;
  const int toggled = (deciding.*line).value_or(0) == 0 ? 1 : 0;
  if (selection.length > 0) {
    change(selection, [&](EditableText& text) {
      text.changeAttributes(selection, [&](TextAttributes& attributes) { attributes.*line = toggled; });
    });
    return;
  }
  typing.*line = toggled;
  document->setTypingAttributes(std::move(typing));
  refresh();
}

void EditorController::setBlockStyle(BlockStyle style) {
  EditableText* document = this->document();
  if (!document) return;
  const TextRange paragraphs = document->storage().paragraphRange(document->selectedRange());
  const Font font = pell::font(style);
  const auto type = [&](EditableText& text) {
    TextAttributes typing = text.typingAttributes();
    typing.font = font;
    text.setTypingAttributes(std::move(typing));
  };
  const bool isChanged = change(paragraphs, [&](EditableText& text) {
    text.changeAttributes(paragraphs, [&](TextAttributes& attributes) { attributes.font = font; });
    type(text);
  });
  if (isChanged) return;
  type(*document);
  refresh();
}

void EditorController::setLink(std::string_view text) {
  const EditableText* document = this->document();
  if (!document || document->selectedRange().length == 0) return;
  const TextRange selection = document->selectedRange();
  std::string address(trimmedLine(text));
  if (!address.empty() && !hasScheme(address)) address.insert(0, "https://");
  change(selection, [&](EditableText& edited) {
    edited.changeAttributes(selection, [&](TextAttributes& attributes) {
      if (!address.empty()) {
        attributes.link = address;
        return;
      }
      attributes.link.reset();
      attributes.underline.reset();
      attributes.foreground = PaletteColour::ink;
    });
  });
}

std::optional<std::string> EditorController::currentLink() const {
  const EditableText* document = this->document();
  if (!document) return std::nullopt;
  const std::size_t place = document->selectedRange().location;
  if (place >= document->storage().length()) return std::nullopt;
  return document->storage().attributesAt(place).link;
}

}  // namespace pell
