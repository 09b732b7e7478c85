#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include "editor/EditorController.h"
#include "editor/EditorHarness.h"
#include "support/MemoryTextView.h"

namespace pell::testing {
namespace {

using ::testing::ElementsAre;

struct MemoryView {
  MemoryTextView view;
};

class EditorControllerTest : public MemoryView, public EditorHarness, public ::testing::Test {
 protected:
  EditorControllerTest() : EditorHarness(view) {}

  /// The words for which `has` holds.
  template <class Has>
  std::string words(Has has) {
    std::string found;
    const AttributedText& storage = text().storage();
    storage.forEachRun({.location = 0, .length = storage.length()}, [&](const AttributedText::Run& run) {
      if (has(run.attributes)) found += storage.utf8(run.range);
    });
    return found;
  }
  const EditorController::Formatting& formatting() { return controller.formatting().get(); }
};

bool isBold(const TextAttributes& attributes) { return attributes.font->isBold(); }

TEST_F(EditorControllerTest, FormatsTheSelectionInStepsThatCanBeUndone) {
  put("[one] two\nthree", "pp");
  controller.toggleBold();
  controller.toggleItalic();
  EXPECT_TRUE(formatting().bold && formatting().italic);
  EXPECT_EQ(formatting().blockStyle, BlockStyle::subheading);
  view.select({.location = 0, .length = 7});
  controller.toggleBold();
  EXPECT_EQ(words(isBold), " two") << "each run by itself";

  view.select({.location = 0, .length = 3});
  controller.toggleUnderline();
  EXPECT_TRUE(formatting().underline);
  view.select({.location = 0, .length = 7});
  controller.toggleUnderline();
  EXPECT_EQ(words([](const auto& has) { return has.underline == 1; }), "") << "its start decides";
  EXPECT_EQ(text().storage().attributesAt(6).underline, 0);

  view.select({.location = 5, .length = 6});
  controller.setBlockStyle(BlockStyle::heading);
  EXPECT_EQ(words([](const auto& has) { return has.font == font(BlockStyle::heading); }), "one two\nthree");

  view.select({.location = 2});
  controller.toggleQuote();
  const TextAttributes& quoted = text().storage().attributesAt(0);
  EXPECT_TRUE(quoted.foreground == TextColour(PaletteColour::muted) &&
              quoted.background == TextColour(PaletteColour::quote));
  EXPECT_EQ(text().typingAttributes().background, quoted.background);
  EXPECT_TRUE(formatting().quote);
  controller.toggleBulletList();
  EXPECT_TRUE(formatting().bulletList && !formatting().quote) << "an item of a list is no quote";

  for (int step = 0; step < 8; ++step) controller.undo();
  EXPECT_FALSE(formatting().canUndo);
  EXPECT_EQ(text().storage(), AttributedText(u"one two\nthree", RichText::bodyAttributes()));
  controller.redo();
  EXPECT_EQ(words(isBold), "one");
}

TEST_F(EditorControllerTest, FormatsWhatIsTypedNextAtTheCaret) {
  put("plain|", "p");
  for (int times = 0; times < 3; ++times) {
    controller.toggleBold();
    controller.toggleItalic();
    controller.toggleUnderline();
    controller.toggleStrikethrough();
  }
  EXPECT_EQ(changes, 0);
  view.type(u"x");
  EXPECT_TRUE(formatting().bold && formatting().italic && formatting().underline &&
              formatting().strikethrough);
  EXPECT_EQ(changes, 1);
  controller.toggleUnderline();
  EXPECT_EQ(text().typingAttributes().underline, 0);
  view.pressReturn();
  EXPECT_TRUE(formatting().bold) << "the line break before the caret carries it";
  controller.setBlockStyle(BlockStyle::title);
  view.type(u"T");
  EXPECT_EQ(formatting().blockStyle, BlockStyle::title);
  int woken = 0;
  auto subscription = controller.formatting().subscribe([&] { ++woken; });
  controller.refresh();
  EXPECT_EQ(woken, 0);
}

TEST_F(EditorControllerTest, Links) {
  const std::vector<std::pair<std::string, std::string>> cases{
      {"example.org", "https://example.org"}, {" \thttp://a b ", "http://a b"}, {"tel:1", "tel:1"},
      {"MAILTO:me@here", "MAILTO:me@here"},   {"ftp://x", "https://ftp://x"},   {"https", "https://https"},
  };
  for (const auto& [typed, stored] : cases) {
    put("a [link] here", "p");
    controller.setLink(typed);
    EXPECT_EQ(controller.currentLink(), stored);
    EXPECT_TRUE(formatting().link);
    EXPECT_EQ(words([](const auto& has) { return has.link.has_value(); }), "link");
  }
  controller.toggleUnderline();
  controller.setLink(" \t");
  EXPECT_EQ(text().storage(), AttributedText(u"a link here", RichText::bodyAttributes()));
  put("a link|", "p");
  controller.setLink("example.org");
  EXPECT_EQ(controller.currentLink(), std::nullopt);
  EXPECT_EQ(changes, 0);
  for (const auto* link : {"https://example.org/a?b#c", "a b", "", "no-scheme"}) {
    EXPECT_EQ(coordinator.clickedOnLink(link), link[0] == 'h') << link;
  }
  EXPECT_THAT(opened, ElementsAre("https://example.org/a?b#c"));
}

TEST_F(EditorControllerTest, InsertsATranscriptApartFromWhatStandsBefore) {
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
      {"o[n]e", {"Hi"}, "o Hi|e", {.location = 1, .length = 3}},
      {"|", {"a\r\nb 👋"}, "a\nb 👋|", {.location = 0, .length = 6}},
  };
  for (const Case& each : cases) {
    put(each.before);
    EXPECT_EQ(controller.insert(each.paragraphs), each.range) << each.before;
    EXPECT_THAT(shown(), ::testing::StartsWith(each.after));
    EXPECT_EQ(text().storage().runCount(), 1u);
    EXPECT_EQ(latest.text, text().storage().utf8());
    EXPECT_EQ(view.scrolls.back(), (TextRange{.location = each.range.end()}));
    EXPECT_EQ(controller.insert({}), std::nullopt);
  }
}

TEST_F(EditorControllerTest, ADocumentIsSwappedWithoutBeingChanged) {
  TextAttributes bold = RichText::bodyAttributes();
  bold.font->weight = Font::bold;
  AttributedText note = RichText::bodyParagraph("Read me");
  note.append(u" bold", bold);
  view.type(u"old");
  changes = 0;
  coordinator.show("note-1", {.rtf = RichText::rtf(note), .text = note.utf8()});
  EXPECT_EQ(shown(), "Read me bold| p");
  EXPECT_FALSE(formatting().canUndo);
  EXPECT_EQ(text().typingAttributes(), bold);
  coordinator.show("note-1", {});
  EXPECT_EQ(shown(), "Read me bold| p") << "it is there already";
  controller.load({});
  EXPECT_EQ(shown(), "| P");
  EXPECT_EQ(text().typingAttributes(), RichText::bodyAttributes());
  coordinator.show("draft-1", {});
  EXPECT_EQ(formatting().blockStyle, BlockStyle::title);
  EXPECT_EQ(changes, 0);
}

TEST_F(EditorControllerTest, WhoeverIsToldMayBringAnotherDocument) {
  using Command = std::function<void(EditorController&)>;
  const EditorController::Snapshot other{.rtf = RichText::rtf(RichText::bodyParagraph("the other")),
                                         .text = "the other"};
  for (const Command& command : std::vector<Command>{
           [](auto& editor) { editor.insert({"Hi"}); },
           [](auto& editor) { editor.setBlockStyle(BlockStyle::title); },
           [](auto& editor) { editor.toggleBulletList(); },
           [](auto& editor) { editor.toggleQuote(); },
       }) {
    for (const bool isTakenAway : {true, false}) {
      controller.textView = &view;
      put("one|", "p");
      controller.onChange = [&](auto&) {
        controller.load(other);
        if (isTakenAway) controller.textView = nullptr;
      };
      command(controller);
      EXPECT_EQ(shown(), "the other| p");
      EXPECT_EQ(text().typingAttributes(), RichText::bodyAttributes());
    }
  }
}

TEST_F(EditorControllerTest, AFlashFadesAndIsNoEdit) {
  put("one two|", "p");
  const AttributedText before = text().storage();
  controller.flashHighlight({.location = 4, .length = 4});  // past the end
  controller.flashHighlight({.location = 4, .length = 3});
  time.advance(Seconds(0.8));
  ASSERT_EQ(view.highlights.size(), 9u);
  EXPECT_EQ(view.highlights[1], (MemoryTextView::Highlight{{.location = 4, .length = 3}, 0.875}));
  EXPECT_EQ(view.highlights[8].alpha, 0);
  EXPECT_EQ(text().storage(), before);
  EXPECT_EQ(changes, 0);

  controller.flashHighlight({.location = 4, .length = 3});
  time.runReady();
  view.backspace();  // the user shortens it
  time.advance(Seconds(1));
  ASSERT_EQ(view.highlights.size(), 11u);
  EXPECT_EQ(view.highlights.back().alpha, 0);
  auto dying = std::make_unique<EditorController>(time.main());
  dying->textView = &view;
  dying->flashHighlight({.location = 0, .length = 1});
  dying.reset();
  time.advance(Seconds(1));
  EXPECT_EQ(view.highlights.size(), 11u);
}

TEST_F(EditorControllerTest, DoesNothingWithoutAViewOrAgainstIt) {
  struct Refusal final : EditableText::Delegate {
    bool shouldChangeText(TextRange, std::optional<std::u16string_view>) override { return false; }
    void textDidChange() override {}
    void textViewDidChangeSelection() override {}
  } refusal;
  put("[one] two", "p");
  const AttributedText before = text().storage();
  text().setDelegate(&refusal);
  for (const bool isThere : {true, false}) {
    if (!isThere) controller.textView = nullptr;
    controller.toggleBold();
    controller.toggleUnderline();
    controller.setBlockStyle(BlockStyle::title);
    controller.toggleBulletList();
    controller.toggleQuote();
    controller.setLink("x");
    EXPECT_EQ(changes, 0);
  }
  controller.load({.rtf = "{\\rtf1 x}", .text = "x"});
  controller.loadEmpty();
  controller.endQuote({});
  controller.undo();
  controller.refresh();
  controller.notifyChanged();
  EXPECT_EQ(controller.insert({"Hi"}), std::nullopt);
  EXPECT_EQ(controller.snapshot().rtf, "");
  EXPECT_EQ(changes, 0) << "or the note would be saved as an empty one";
  EXPECT_EQ(text().storage(), before);
}

}  // namespace
}  // namespace pell::testing
