#include <functional>
#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include "editor/EditorController.h"
#include "editor/EditorHarness.h"
#include "support/MemoryTextView.h"

namespace pell::testing {
namespace {

using ::testing::ElementsAre;
using ::testing::IsEmpty;

struct MemoryView {
  MemoryTextView view;
};

class Editor : public MemoryView, public EditorHarness {
 public:
  Editor() : EditorHarness(view) {}
  void type(std::u16string_view typed) { text().insertText(typed, text().selectedRange()); }
};

TEST(EditorControllerTest, AQuoteHasColoursThatGoWithIt) {
  Editor editor;
  editor.put("o|ne", "p");
  const auto colours = [](const TextAttributes& attributes) {
    return std::pair(attributes.foreground, attributes.background);
  };
  const std::pair<std::optional<TextColour>, std::optional<TextColour>> quoted{PaletteColour::muted,
                                                                               PaletteColour::quote};
  editor.controller.toggleQuote();
  EXPECT_TRUE(editor.controller.formatting().get().quote);
  EXPECT_EQ(colours(editor.text().storage().attributesAt(0)), quoted);
  EXPECT_EQ(colours(editor.text().typingAttributes()), quoted);
  editor.controller.toggleBulletList();
  EXPECT_FALSE(editor.controller.formatting().get().quote) << "an item of a list is no quote";
  editor.controller.toggleBulletList();
  editor.controller.toggleQuote();
  editor.controller.toggleQuote();
  const auto plain = colours(RichText::bodyAttributes());
  EXPECT_EQ(colours(editor.text().storage().attributesAt(0)), plain);
  EXPECT_EQ(colours(editor.text().typingAttributes()), plain);
}

/// The words of `text` that `has` holds for.
std::string wordsWith(const AttributedText& text, const std::function<bool(const TextAttributes&)>& has) {
  std::string found;
  text.forEachRun({.location = 0, .length = text.length()}, [&](const AttributedText::Run& run) {
    if (has(run.attributes)) found += text.utf8(run.range);
  });
  return found;
}

TEST(EditorControllerTest, CommandsOfTheSelection) {
  Editor editor;
  auto& controller = editor.controller;
  const auto isBold = [](const TextAttributes& attributes) { return attributes.font->isBold(); };
  const auto isItalic = [](const TextAttributes& attributes) { return attributes.font->italic; };
  const auto isUnderlined = [](const TextAttributes& attributes) { return attributes.underline == 1; };
  const auto words = [&](const auto& has) { return wordsWith(editor.text().storage(), has); };
  const auto select = [&](std::size_t location, std::size_t length) {
    editor.text().setSelectedRange({.location = location, .length = length});
  };
  editor.put("[one] two\nthree", "pp");
  controller.toggleBold();
  controller.toggleItalic();
  EXPECT_TRUE(controller.formatting().get().bold && controller.formatting().get().italic);
  EXPECT_EQ(controller.formatting().get().blockStyle, BlockStyle::subheading);
  select(0, 7);
  controller.toggleBold();
  EXPECT_EQ(words(isBold), " two") << "each run by itself";
  EXPECT_EQ(words(isItalic), "one");

  select(0, 3);
  controller.toggleUnderline();
  EXPECT_TRUE(controller.formatting().get().underline);
  select(0, 7);
  controller.toggleUnderline();
  EXPECT_EQ(words(isUnderlined), "") << "its start decides";
  EXPECT_EQ(editor.text().storage().attributesAt(6).underline, 0);
  controller.toggleStrikethrough();
  EXPECT_TRUE(controller.formatting().get().strikethrough);

  select(5, 6);
  controller.setBlockStyle(BlockStyle::heading);
  EXPECT_EQ(words([](const auto& attributes) { return attributes.font == font(BlockStyle::heading); }),
            "one two\nthree");
  EXPECT_EQ(controller.formatting().get().blockStyle, BlockStyle::heading);

  EXPECT_TRUE(controller.formatting().get().canUndo);
  for (int step = 0; step < 7; ++step) controller.undo();
  EXPECT_FALSE(controller.formatting().get().canUndo);
  EXPECT_EQ(editor.text().storage(), AttributedText(u"one two\nthree", RichText::bodyAttributes()));
  controller.redo();
  EXPECT_EQ(words(isBold), "one");
}

TEST(EditorControllerTest, CommandsOfTheCaretChangeWhatIsTypedNext) {
  Editor editor;
  auto& controller = editor.controller;
  editor.put("plain|", "p");
  for (int times = 0; times < 3; ++times) {
    controller.toggleBold();
    controller.toggleItalic();
    controller.toggleUnderline();
    controller.toggleStrikethrough();
  }
  EXPECT_THAT(editor.changes, IsEmpty());
  editor.type(u"x");
  const auto& shown = controller.formatting().get();
  EXPECT_TRUE(shown.bold && shown.italic && shown.underline && shown.strikethrough);
  EXPECT_EQ(editor.changes.size(), 1u);
  controller.toggleUnderline();
  EXPECT_EQ(editor.text().typingAttributes().underline, 0);
  editor.type(u"\n");
  EXPECT_TRUE(controller.formatting().get().bold) << "the line break before the caret carries it";
  controller.setBlockStyle(BlockStyle::title);
  editor.type(u"T");
  EXPECT_EQ(controller.formatting().get().blockStyle, BlockStyle::title);

  int woken = 0;
  auto subscription = controller.formatting().subscribe([&] { ++woken; });
  controller.refresh();
  EXPECT_EQ(woken, 0);
}

TEST(EditorControllerTest, Links) {
  Editor editor;
  auto& controller = editor.controller;
  const std::vector<std::pair<std::string, std::string>> cases{
      {"example.org", "https://example.org"}, {" \thttp://a b ", "http://a b"},
      {"MAILTO:me@here", "MAILTO:me@here"},   {"tel:1", "tel:1"},
      {"ftp://x", "https://ftp://x"},         {"https", "https://https"},
  };
  for (const auto& [typed, stored] : cases) {
    editor.put("a [link] here", "p");
    controller.setLink(typed);
    EXPECT_EQ(controller.currentLink(), stored);
    EXPECT_TRUE(controller.formatting().get().link);
    EXPECT_EQ(wordsWith(editor.text().storage(), [](const auto& found) { return found.link.has_value(); }),
              "link");
  }
  controller.toggleUnderline();
  controller.setLink(" \t");
  EXPECT_EQ(editor.text().storage(), AttributedText(u"a link here", RichText::bodyAttributes()));
  EXPECT_EQ(controller.currentLink(), std::nullopt);
  for (const auto* caret : {"a li|nk", "a link|"}) {
    editor.put(caret, "p");
    controller.setLink("example.org");
    EXPECT_EQ(controller.currentLink(), std::nullopt);
    EXPECT_THAT(editor.changes, IsEmpty());
  }

  for (const auto& [link, handled] : std::vector<std::pair<std::string, bool>>{
           {"https://example.org/a?b#c", true}, {"a b", false}, {"", false}, {"no-scheme", false}}) {
    EXPECT_EQ(editor.coordinator.clickedOnLink(link), handled) << link;
  }
  EXPECT_THAT(editor.opened, ElementsAre("https://example.org/a?b#c"));
}

TEST(EditorControllerTest, InsertsATranscriptApartFromWhatStandsBefore) {
  struct Case {
    std::string before;
    std::vector<std::string> paragraphs;
    std::string after;
    TextRange range;
  };
  const std::vector<Case> cases{
      {"|", {"Hi", "you"}, "Hi\nyou|", {.location = 0, .length = 6}},
      {"|one", {"Hi"}, "Hi|one", {.location = 0, .length = 2}},
      {"one|", {"Hi"}, "one Hi|", {.location = 3, .length = 3}},
      {"one |", {"Hi"}, "one Hi|", {.location = 4, .length = 2}},
      {"one\n|two", {"Hi"}, "one\n\nHi|two", {.location = 4, .length = 3}},
      {"one\n|", {"Hi"}, "one\n\nHi|", {.location = 4, .length = 3}},
      {"o[n]e", {"Hi"}, "o Hi|e", {.location = 1, .length = 3}},
      {"|", {"a\r\nb 👋"}, "a\nb 👋|", {.location = 0, .length = 6}},
  };
  for (const Case& each : cases) {
    Editor editor;
    editor.put(each.before, "");
    EXPECT_EQ(editor.controller.insert(each.paragraphs), each.range) << each.before;
    EXPECT_EQ(editor.shown().substr(0, each.after.size()), each.after);
    EXPECT_EQ(editor.text().storage().runCount(), 1u);
    EXPECT_EQ(editor.changes.back().text, editor.text().storage().utf8());
    EXPECT_EQ(editor.view.scrolls.back(), (TextRange{.location = each.range.end()}));
    EXPECT_EQ(editor.controller.insert({}), std::nullopt);
  }
}

TEST(EditorControllerTest, ADocumentIsSwappedWithoutBeingChanged) {
  Editor editor;
  auto& controller = editor.controller;
  editor.put("old|", "p");
  editor.type(u"!");
  editor.changes.clear();
  AttributedText note = RichText::bodyParagraph("Read me");
  TextAttributes bold = RichText::bodyAttributes();
  bold.font->weight = Font::bold;
  note.append(u" bold", bold);
  const std::string rtf = RichText::rtf(note);

  editor.coordinator.show("note-1", rtf);
  EXPECT_EQ(editor.shown(), "Read me bold| p");
  EXPECT_FALSE(controller.formatting().get().canUndo);
  EXPECT_EQ(editor.text().typingAttributes(), bold);
  editor.coordinator.show("note-1", "");
  EXPECT_EQ(editor.shown(), "Read me bold| p") << "it is there already";
  editor.coordinator.show("note-2", rtf);
  EXPECT_EQ(editor.shown(), "Read me bold| p");
  controller.load("");
  EXPECT_EQ(editor.shown(), "| P");
  EXPECT_EQ(editor.text().typingAttributes(), RichText::bodyAttributes());
  editor.coordinator.show("draft-1", "");
  EXPECT_EQ(controller.formatting().get().blockStyle, BlockStyle::title);
  EXPECT_THAT(editor.changes, IsEmpty());

  editor.type(u"Two words");
  ASSERT_EQ(editor.changes.size(), 1u);
  EXPECT_EQ(controller.stats().get(), (TextStats{.words = 2, .characters = 9, .charactersNoSpaces = 8}));
  EXPECT_EQ(RichText::attributed(editor.changes[0].rtf).utf8(), "Two words");
}

TEST(EditorControllerTest, AFlashFadesAndIsNoEdit) {
  Editor editor;
  editor.put("one two|", "p");
  const AttributedText before = editor.text().storage();
  editor.controller.flashHighlight({.location = 4, .length = 4});
  EXPECT_THAT(editor.view.highlights, IsEmpty()) << "past the end";
  editor.controller.flashHighlight({.location = 4, .length = 3});
  editor.time.advance(Seconds(0.3));
  std::vector<double> alphas;
  for (const auto& [range, alpha] : editor.view.highlights) {
    EXPECT_EQ(range, (TextRange{.location = 4, .length = 3}));
    alphas.push_back(alpha);
  }
  EXPECT_THAT(alphas, ElementsAre(1.0, 0.875, 0.75, 0.625));
  editor.text().setAttributedString({});
  editor.text().setAttributedString(before);
  editor.time.advance(Seconds(0.5));
  EXPECT_EQ(editor.view.highlights.size(), 9u);
  EXPECT_EQ(editor.view.highlights.back().alpha, 0);
  EXPECT_EQ(editor.text().storage(), before);
  EXPECT_FALSE(editor.text().canUndo());
  EXPECT_THAT(editor.changes, IsEmpty());

  editor.view.highlights.clear();
  editor.controller.flashHighlight({.location = 4, .length = 3});
  editor.time.runReady();
  editor.text().insertText(u"", {.location = 6, .length = 1});  // the user shortens it
  editor.time.advance(Seconds(1));
  ASSERT_EQ(editor.view.highlights.size(), 2u);
  EXPECT_EQ(editor.view.highlights.back().alpha, 0);

  auto dying = std::make_unique<EditorController>(editor.time.main());
  dying->textView = &editor.view;
  dying->flashHighlight({.location = 0, .length = 1});
  dying.reset();
  editor.time.advance(Seconds(1));
  EXPECT_EQ(editor.view.highlights.size(), 2u);
}

/// A view that lets nothing be changed.
struct Refusal final : EditableText::Delegate {
  bool shouldChangeText(TextRange, std::optional<std::u16string_view>) override { return false; }
  void textDidChange() override {}
  void textViewDidChangeSelection() override {}
};

TEST(EditorControllerTest, DoesNothingWithoutAViewOrAgainstIt) {
  Editor editor;
  auto& controller = editor.controller;
  editor.put("[one] two", "p");
  const AttributedText before = editor.text().storage();
  const auto tryAll = [&] {
    controller.toggleBold();
    controller.toggleItalic();
    controller.toggleUnderline();
    controller.toggleStrikethrough();
    controller.setBlockStyle(BlockStyle::title);
    controller.toggleBulletList();
    controller.toggleOrderedList();
    controller.toggleQuote();
    controller.setLink("x");
  };
  Refusal refusal;
  editor.text().setDelegate(&refusal);
  tryAll();
  EXPECT_EQ(editor.text().storage(), before);
  EXPECT_THAT(editor.changes, IsEmpty());
  EXPECT_EQ(controller.insert({"Hi"}), (TextRange{.location = 0, .length = 2})) << "as if it had been let";
  EXPECT_EQ(editor.text().storage(), before);

  editor.changes.clear();
  controller.textView = nullptr;
  tryAll();
  controller.load("{\\rtf1 x}");
  controller.loadEmpty();
  controller.endQuote({});
  controller.undo();
  controller.redo();
  controller.refresh();
  controller.flashHighlight({.location = 0, .length = 1});
  controller.notifyChanged();
  EXPECT_EQ(controller.insert({"Hi"}), std::nullopt);
  EXPECT_EQ(controller.snapshot().rtf + controller.snapshot().text, "");
  EXPECT_EQ(editor.text().storage(), before);
  EXPECT_THAT(editor.changes, IsEmpty());
}

}  // namespace
}  // namespace pell::testing
