// A user who edits a note at random, and what holds after each edit.
#pragma once

#include <algorithm>
#include <array>
#include <functional>
#include <gtest/gtest.h>
#include <optional>
#include <random>
#include <string>
#include <vector>

#include "contracts/TextViewContract.h"
#include "editor/EditorController.h"
#include "editor/EditorCoordinator.h"
#include "editor/RichText.h"
#include "support/VirtualTime.h"

namespace pell::testing {

/// The same seed makes the same edits.
class RandomEditing {
 public:
  RandomEditing(TextViewWorld& world, unsigned seed) : world_(world), random_(seed) {
    controller_.onChange = [this](EditorController::Snapshot& snapshot) { std::swap(latest_, snapshot); };
    coordinator_.show("draft-0", "");
    // What is done to a text without a step that could be undone is no step either.
    world_.typeText(u"T");
    states_.push_back(text().storage());
  }

  void run(int edits) {
    for (int edit = 0; edit < edits && !::testing::Test::HasFailure(); ++edit) {
      SCOPED_TRACE(edit);
      const AttributedText before = text().storage();
      const int chosen = act();
      SCOPED_TRACE("action " + std::to_string(chosen));
      states_.push_back(text().storage());
      check(before);
    }
    if (!::testing::Test::HasFailure()) undoAndRedo();
    if (!::testing::Test::HasFailure()) saveAndLoad();
  }

 private:
  EditableText& text() { return world_.view().document(); }
  unsigned below(std::size_t limit) { return static_cast<unsigned>(random_() % limit); }

  int act() {
    static const std::vector<std::u16string> typed{u"word", u" ", u"é", u"👋🏽", u"•\t", u"12.\t", u"नमस्ते"};
    switch (const auto action = static_cast<int>(below(24))) {
      case 0:
      case 1:
      case 2:
      case 3:
        world_.typeText(typed[below(typed.size())]);
        return action;
      case 4:
      case 5:
      case 6:
        world_.pressReturn();
        return action;
      case 7:
      case 8:
        if (text().selectedRange() != TextRange{}) world_.backspace();
        return action;
      case 9:
      case 10:
      case 11:
        world_.select(place());
        return action;
      case 12:
        paste();
        return action;
      case 13:
        controller_.undo();
        return action;
      case 14:
        controller_.redo();
        return action;
      default:
        command(action);
        return action;
    }
  }

  void command(int action) {
    static constexpr std::array lines{"example.org", "mailto:a@b", ""};
    switch (action) {
      case 15:
        return controller_.toggleBold();
      case 16:
        return controller_.toggleItalic();
      case 17:
        return controller_.toggleUnderline();
      case 18:
        return controller_.toggleStrikethrough();
      case 19:
        return controller_.setBlockStyle(allBlockStyles[below(allBlockStyles.size())]);
      case 20:
        return controller_.toggleBulletList();
      case 21:
        return controller_.toggleOrderedList();
      case 22:
        return controller_.toggleQuote();
      default:
        if (below(2) == 0) return controller_.setLink(lines[below(lines.size())]);
        controller_.insert({"Said", "and done."});
    }
  }

  /// Between characters.
  TextRange place() {
    const AttributedText& storage = text().storage();
    const auto boundary = [&] {
      std::size_t at = below(storage.length() + 1);
      if (at > 0 && at < storage.length() && (storage[at] & 0xFC00) == 0xDC00) --at;
      return at;
    };
    const std::size_t start = boundary();
    const std::size_t end = below(2) == 0 ? start : boundary();
    return {.location = std::min(start, end), .length = std::max(start, end) - std::min(start, end)};
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

  void expectShown(const AttributedText& expected) {
    const AttributedText shown = asSeen(world_.shown());
    EXPECT_TRUE(shown == asSeen(expected)) << described(shown) << "\nfor\n" << described(expected);
  }

  void check(const AttributedText& before) {
    const AttributedText& storage = text().storage();
    expectShown(storage);
    EXPECT_EQ(world_.shownSelection(), text().selectedRange());
    EXPECT_LE(text().selectedRange().end(), storage.length());
    if (storage != before) {
      EXPECT_EQ(latest_.text, storage.utf8()) << "nobody was told";
      EXPECT_EQ(latest_.rtf, RichText::rtf(storage));
      EXPECT_EQ(controller_.stats().get(), TextCounting::stats(latest_.text));
    }
    for (std::size_t at = 0; at < storage.length();) {
      const TextRange paragraph = storage.paragraphRange({.location = at});
      const auto style = storage.attributesAt(at).paragraphStyle;
      storage.forEachRun(paragraph, [&](const AttributedText::Run& run) {
        EXPECT_EQ(run.attributes.paragraphStyle, style) << "in the paragraph at " << at;
      });
      at = paragraph.end();
    }
    const auto shown = controller_.formatting().get();
    controller_.refresh();
    EXPECT_EQ(controller_.formatting().get(), shown) << "the toolbar was late";
  }

  /// Every step back leads to a text that was there before, the last one to the first.
  void undoAndRedo() {
    while (text().canRedo()) controller_.redo();
    const AttributedText newest = text().storage();
    while (text().canUndo()) {
      controller_.undo();
      ASSERT_TRUE(text().storage().isEmpty() ||
                  std::ranges::find(states_, text().storage()) != states_.end());
    }
    EXPECT_TRUE(text().storage().isEmpty());
    while (text().canRedo()) controller_.redo();
    EXPECT_EQ(text().storage(), newest);
  }

  /// The words come back exactly, their looks as far as a note keeps them.
  void saveAndLoad() {
    AttributedText kept = text().storage();
    const TextRange all{.location = 0, .length = kept.length()};
    kept.changeAttributes(all, [](TextAttributes& attributes) {
      attributes.foreground = PaletteColour::ink;
      if (attributes.underline == 0) attributes.underline.reset();
      if (attributes.strikethrough == 0) attributes.strikethrough.reset();
    });
    coordinator_.show("note-1", controller_.snapshot().rtf);
    EXPECT_EQ(text().storage().utf8(), kept.utf8());
    EXPECT_EQ(text().storage(), kept);
    EXPECT_FALSE(text().canUndo());
    expectShown(kept);
  }

  TextViewWorld& world_;
  std::mt19937 random_;
  VirtualTime time_;
  EditorController controller_{time_.main()};
  EditorCoordinator coordinator_{controller_, world_.view(), [](const std::string&) { return true; }};
  EditorController::Snapshot latest_;
  std::vector<AttributedText> states_;
};

}  // namespace pell::testing
