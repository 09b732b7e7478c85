// An editor at work on a view, and its text as a line to compare.
#pragma once

#include <optional>
#include <string>
#include <string_view>
#include <vector>

#include "editor/EditorController.h"
#include "editor/EditorCoordinator.h"
#include "editor/RichText.h"
#include "editor/Utf16.h"
#include "support/VirtualTime.h"

namespace pell::testing {

/// Texts are written with "|" for the caret or "[" and "]" around the selection. A letter for each paragraph
/// tells its style: p plain, l of a list, q of a quote; a capital stands for an empty last paragraph, whose
/// style is only what will be typed there.
class EditorHarness {
 public:
  explicit EditorHarness(TextView& view) : view_(view) {
    controller.onChange = [this](EditorController::Snapshot& snapshot) {
      std::swap(latest, snapshot);
      ++changes;
    };
  }

  VirtualTime time;
  EditorController controller{time.main()};
  EditorController::Snapshot latest;
  int changes = 0;
  std::vector<std::string> opened;

  EditableText& text() { return view_.document(); }

  void put(std::string_view marked, std::string_view styles = "") {
    std::u16string plain = utf16Of(marked);
    TextRange selection{.location = plain.find_first_of(u"|[")};
    plain.erase(selection.location, 1);
    if (const auto end = plain.find(u']'); end != plain.npos) {
      plain.erase(end, 1);
      selection.length = end - selection.location;
    }
    text().setAttributedString(AttributedText(plain, RichText::bodyAttributes()));
    std::size_t at = 0;
    for (const char letter : styles) {
      const TextRange paragraph = text().storage().paragraphRange({.location = at});
      text().changeAttributes(paragraph,
                              [&](auto& attributes) { attributes.paragraphStyle = style(letter); });
      at = paragraph.end();
    }
    text().setSelectedRange(selection);
    controller.refresh();
    changes = 0;
  }

  std::string shown() {
    const AttributedText& storage = text().storage();
    std::u16string marked = storage.text();
    const TextRange selection = text().selectedRange();
    if (selection.length > 0) marked.insert(selection.end(), u"]");
    marked.insert(selection.location, selection.length > 0 ? u"[" : u"|");
    std::string letters = " ";
    for (std::size_t at = 0; at < storage.length(); at = storage.paragraphRange({.location = at}).end()) {
      letters += letter(storage.attributesAt(at).paragraphStyle);
    }
    const bool hasEmptyEnd = storage.isEmpty() || storage[storage.length() - 1] == u'\n';
    if (hasEmptyEnd && selection.location == storage.length()) {
      letters += static_cast<char>(letter(text().typingAttributes().paragraphStyle) - 'a' + 'A');
    }
    return utf8Of(marked) + letters;
  }

 private:
  static ParagraphStyle style(char letter) {
    if (letter == 'l') return RichText::listParagraphStyle();
    return letter == 'q' ? RichText::quoteParagraphStyle() : RichText::paragraphStyle(0);
  }
  static char letter(const std::optional<ParagraphStyle>& found) {
    for (const char letter : {'p', 'l', 'q'}) {
      if (found == style(letter)) return letter;
    }
    return 'x';
  }

  TextView& view_;

 public:
  EditorCoordinator coordinator{controller, view_, [this](const std::string& address) {
                                  opened.push_back(address);
                                  return true;
                                }};
};

}  // namespace pell::testing
