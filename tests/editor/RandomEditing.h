// A user who edits a note at random, and what holds after each edit.
#pragma once

#include <algorithm>
#include <functional>
#include <gtest/gtest.h>
#include <random>
#include <string>
#include <vector>

#include "contracts/TextViewContract.h"
#include "editor/EditorHarness.h"

namespace pell::testing {

/// The same seed makes the same edits.
class RandomEditing {
 public:
  RandomEditing(TextViewWorld& world, unsigned seed) : world_(world), random_(seed) {
    editor_.coordinator.show("draft-0", {});
    states_.push_back(text().storage());
  }

  void run(int edits) {
    for (int edit = 0; edit < edits; ++edit) {
      const AttributedText before = text().storage();
      const unsigned action = below(actions_.size());
      actions_[action]();
      states_.push_back(text().storage());
      check(before);
      ASSERT_FALSE(::testing::Test::HasFailure()) << "edit " << edit << ", action " << action;
    }
    undoAndRedo();
    saveAndLoad();
  }

 private:
  EditableText& text() { return editor_.text(); }
  unsigned below(std::size_t limit) { return static_cast<unsigned>(random_() % limit); }

  void type() {
    static const std::vector<std::u16string> typed{u"word", u" ", u"é", u"👋🏽", u"•\t", u"12.\t", u"नमस्ते"};
    world_.typeText(typed[below(typed.size())]);
  }

  /// Between characters.
  void select() {
    const auto boundary = [&] {
      const AttributedText& storage = text().storage();
      const std::size_t at = below(storage.length() + 1);
      return at > 0 && at < storage.length() && (storage[at] & 0xFC00) == 0xDC00 ? at - 1 : at;
    };
    const std::size_t start = boundary();
    const std::size_t end = below(2) == 0 ? start : boundary();
    world_.select({.location = std::min(start, end), .length = std::max(start, end) - std::min(start, end)});
  }

  void paste() {
    TextAttributes attributes = RichText::bodyAttributes();
    attributes.font->size = 20;
    attributes.foreground = Rgb{.red = 200, .green = 10, .blue = 10};
    if (below(2) == 0) attributes.paragraphStyle = RichText::quoteParagraphStyle();
    AttributedText pasted(u"foreign", attributes);
    pasted.append(u" text\nof two lines", RichText::bodyAttributes());
    world_.pasteRich(pasted);
  }

  void check(const AttributedText& before) {
    const AttributedText& storage = text().storage();
    expectShown(storage);
    EXPECT_EQ(world_.shownSelection(), text().selectedRange());
    EXPECT_LE(text().selectedRange().end(), storage.length());
    if (storage != before) {
      EXPECT_EQ(editor_.latest.text, storage.utf8()) << "nobody was told";
      EXPECT_EQ(editor_.latest.rtf, RichText::rtf(storage));
      EXPECT_EQ(editor_.controller.stats().get(), TextCounting::stats(editor_.latest.text));
    }
    storage.forEachRun({.location = 0, .length = storage.length()}, [&](const AttributedText::Run& run) {
      const TextRange paragraph = storage.paragraphRange({.location = run.range.location});
      EXPECT_EQ(run.attributes.paragraphStyle, storage.attributesAt(paragraph.location).paragraphStyle);
    });
    const auto shown = editor_.controller.formatting().get();
    editor_.controller.refresh();
    EXPECT_EQ(editor_.controller.formatting().get(), shown) << "the toolbar was late";
  }

  void expectShown(const AttributedText& expected) {
    const AttributedText shown = asSeen(world_.shown());
    EXPECT_TRUE(shown == asSeen(expected)) << described(shown) << "\nfor\n" << described(expected);
  }

  /// Every step back leads to a text that was there before, the last one to the first.
  void undoAndRedo() {
    while (text().canRedo()) editor_.controller.redo();
    const AttributedText newest = text().storage();
    while (text().canUndo()) {
      editor_.controller.undo();
      ASSERT_NE(std::ranges::find(states_, text().storage()), states_.end());
    }
    EXPECT_TRUE(text().storage().isEmpty());
    while (text().canRedo()) editor_.controller.redo();
    EXPECT_EQ(text().storage(), newest);
  }

  /// The words come back exactly, their looks as far as a note keeps them.
  void saveAndLoad() {
    AttributedText kept = text().storage();
    kept.changeAttributes({.location = 0, .length = kept.length()}, [](TextAttributes& attributes) {
      attributes.foreground = PaletteColour::ink;
      if (attributes.underline == 0) attributes.underline.reset();
      if (attributes.strikethrough == 0) attributes.strikethrough.reset();
    });
    editor_.coordinator.show("note-1", editor_.controller.snapshot());
    EXPECT_EQ(text().storage().utf8(), kept.utf8());
    EXPECT_EQ(text().storage(), kept);
    EXPECT_FALSE(text().canUndo());
    expectShown(kept);
  }

  TextViewWorld& world_;
  std::mt19937 random_;
  EditorHarness editor_{world_.view()};
  std::vector<AttributedText> states_;
  const std::function<void()> type_ = [this] { type(); };
  const std::function<void()> select_ = [this] { select(); };
  const std::function<void()> return_ = [this] { world_.pressReturn(); };
  const std::function<void()> backspace_ = [this] { world_.backspace(); };
  EditorController& controller_ = editor_.controller;
  const std::vector<std::function<void()>> actions_{
      type_,
      type_,
      type_,
      type_,
      return_,
      return_,
      return_,
      backspace_,
      backspace_,
      select_,
      select_,
      select_,
      [this] { paste(); },
      [this] { controller_.undo(); },
      [this] { controller_.redo(); },
      [this] { controller_.toggleBold(); },
      [this] { controller_.toggleItalic(); },
      [this] { controller_.toggleUnderline(); },
      [this] { controller_.toggleStrikethrough(); },
      [this] { controller_.setBlockStyle(allBlockStyles[below(allBlockStyles.size())]); },
      [this] { controller_.toggleBulletList(); },
      [this] { controller_.toggleOrderedList(); },
      [this] { controller_.toggleQuote(); },
      [this] { controller_.setLink(below(3) == 0 ? "" : "example.org"); },
      [this] {
        controller_.insert({"Said", "and done."});
      }};
};

}  // namespace pell::testing
