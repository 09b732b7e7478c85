#pragma once

#include <string>
#include <string_view>
#include <unicode/utf16.h>
#include <utility>
#include <vector>

#include "editor/TextView.h"

namespace pell::testing {

/// A text view without a screen. What it shows it has been told by the document, change by change, so a
/// change that is not told is not shown.
class MemoryTextView final : public TextView, private EditableText::Mirror {
 public:
  MemoryTextView() { document_.setMirror(this); }
  MemoryTextView(const MemoryTextView&) = delete;
  MemoryTextView& operator=(const MemoryTextView&) = delete;
  ~MemoryTextView() override { document_.setMirror(nullptr); }

  struct Highlight {
    TextRange range;
    double alpha = 0;
    bool operator==(const Highlight&) const = default;
  };
  std::vector<TextRange> scrolls;
  std::vector<Highlight> highlights;

  EditableText& document() override { return document_; }
  void scrollRangeToVisible(TextRange range) override { scrolls.push_back(range); }
  void highlight(TextRange range, double alpha) override {
    highlights.push_back({.range = range, .alpha = alpha});
  }

  const AttributedText& shown() const { return shown_; }
  TextRange shownSelection() const { return shownSelection_; }

  // What a user does.
  void type(std::u16string_view text) {
    while (!text.empty()) {
      std::size_t units = 1;
      if (U16_IS_LEAD(text[0]) && text.size() > 1 && U16_IS_TRAIL(text[1])) units = 2;
      enter(text.substr(0, units));
      text.remove_prefix(units);
    }
  }
  void pressReturn() { enter(u"\n"); }
  void backspace() {
    TextRange range = document_.selectedRange();
    if (range == TextRange{}) return;
    if (range.length == 0) range = characterBefore(range.location);
    document_.insertText(u"", range);
  }
  void select(TextRange range) { document_.setSelectedRange(range); }
  void paste(const AttributedText& text) { document_.insertText(text, document_.selectedRange()); }
  void drop(std::u16string_view text, std::size_t at) { document_.insertText(text, {.location = at}); }

  /// Shows text of an input method that is not in the document yet; an empty one takes it back.
  void preedit(std::u16string_view text) { preedit_ = text; }
  const std::u16string& preedit() const { return preedit_; }
  void commit(std::u16string_view text) {
    preedit_.clear();
    enter(text);
  }

 private:
  void enter(std::u16string_view text) { document_.insertText(text, document_.selectedRange()); }

  TextRange characterBefore(std::size_t at) const {
    const AttributedText& text = document_.storage();
    const bool isPair = at > 1 && U16_IS_TRAIL(text[at - 1]) && U16_IS_LEAD(text[at - 2]);
    const std::size_t units = isPair ? 2 : 1;
    return {.location = at - units, .length = units};
  }

  void textReplaced(TextRange before, TextRange after) override {
    shown_.replace(before, document_.storage().subtext(after));
  }
  void selectionMoved() override { shownSelection_ = document_.selectedRange(); }

  EditableText document_;
  AttributedText shown_;
  TextRange shownSelection_;
  std::u16string preedit_;
};

}  // namespace pell::testing
