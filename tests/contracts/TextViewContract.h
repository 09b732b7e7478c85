// What every TextView does.
#pragma once

#include <optional>
#include <string>
#include <string_view>
#include <vector>

#include "contracts/World.h"
#include "editor/Described.h"
#include "editor/RichText.h"
#include "editor/TextView.h"
#include "editor/Utf16.h"

namespace pell::testing {

/// A view on screen, and its user. Whatever the user does is done when the call returns.
class TextViewWorld : public World {
 public:
  virtual TextView& view() = 0;

  virtual void typeText(std::u16string_view text) = 0;  // at the keyboard, character by character
  virtual void pressReturn() = 0;
  virtual void backspace() = 0;
  virtual void select(TextRange range) = 0;
  /// What another program has copied with its attributes.
  virtual void pasteRich(const AttributedText& text) = 0;
  /// Drags plain text from elsewhere to the place before the character at `position`.
  virtual void dropText(std::u16string_view text, std::size_t position) = 0;
  /// An input method shows what it may enter; an empty text takes it back.
  virtual void preedit(std::u16string_view text) = 0;
  virtual void commit(std::u16string_view text) = 0;
  virtual void undo() = 0;
  virtual void redo() = 0;

  /// The text and the attributes as they are on screen, in light surroundings. Of a line break only the
  /// paragraph's style is looked at, of a colour what it is there.
  virtual AttributedText shown() = 0;
  virtual TextRange shownSelection() = 0;
};

/// Attributes as an eye would compare them.
inline AttributedText asSeen(const AttributedText& text) {
  const auto fixed = [](std::optional<TextColour>& colour) {
    if (colour && std::holds_alternative<PaletteColour>(*colour)) {
      colour = rgb(std::get<PaletteColour>(*colour), Appearance::light);
    }
  };
  AttributedText seen;
  text.forEachRun({.location = 0, .length = text.length()}, [&](const AttributedText::Run& run) {
    TextAttributes attributes = run.attributes;
    if (attributes.underline == 0) attributes.underline.reset();
    if (attributes.link) attributes.underline = 1;
    if (attributes.strikethrough == 0) attributes.strikethrough.reset();
    if (attributes.link) {  // which has a look of its own
      attributes.underline = 1;
      attributes.foreground = PaletteColour::ink;
    }
    attributes.paragraphStyle = attributes.paragraphStyle.value_or(ParagraphStyle());
    attributes.paragraphStyle->defaultTabInterval = 0;
    fixed(attributes.foreground);
    fixed(attributes.background);
    TextAttributes ofBreak;
    ofBreak.paragraphStyle = attributes.paragraphStyle;
    for (char16_t unit : text.text(run.range)) {
      // A toolkit may keep these, which stand for no character, for itself.
      if (unit == u'\uFDD0' || unit == u'\uFDD1') unit = u'\uFFFD';
      seen.append(std::u16string_view(&unit, 1), unit == u'\n' ? ofBreak : attributes);
    }
  });
  return seen;
}

/// Remembers what it was asked and told, and answers as it was told to.
struct RecordingDelegate final : EditableText::Delegate {
  struct Question {
    TextRange range;
    std::optional<std::u16string> replacement;
    bool operator==(const Question&) const = default;
  };
  std::vector<Question> questions;
  std::function<bool(const Question&)> answer = [](const Question&) { return true; };
  int changes = 0;
  int selections = 0;

  bool shouldChangeText(TextRange range, std::optional<std::u16string_view> replacement) override {
    Question question{.range = range, .replacement = std::nullopt};
    if (replacement) question.replacement = std::u16string(*replacement);
    questions.push_back(question);
    return answer(question);
  }
  void textDidChange() override { ++changes; }
  void textViewDidChangeSelection() override { ++selections; }
};

class TextViewContract : public Contract<TextViewWorld> {
 protected:
  void SetUp() override {
    Contract::SetUp();
    document().setTypingAttributes(RichText::bodyAttributes());
    document().setDelegate(&delegate_);
  }
  void TearDown() override {
    document().setDelegate(nullptr);
    Contract::TearDown();
  }

  EditableText& document() { return world().view().document(); }
  std::string text() { return document().storage().utf8(); }
  void open(std::string_view text) { document().setAttributedString(RichText::bodyParagraph(text)); }

  void expectShown(const std::string& when) {
    const AttributedText wanted = asSeen(document().storage());
    const AttributedText shown = asSeen(world().shown());
    EXPECT_TRUE(shown == wanted) << when << ": shown " << described(shown) << "\nwanted "
                                 << described(wanted);
    EXPECT_EQ(world().shownSelection(), document().selectedRange()) << when;
  }

  static TextAttributes bold() {
    TextAttributes attributes = RichText::bodyAttributes();
    attributes.font->weight = Font::bold;
    return attributes;
  }
  static TextAttributes decorated() {
    TextAttributes attributes = RichText::bodyAttributes();
    attributes.font->italic = true;
    attributes.font->size = 22;
    attributes.underline = 1;
    attributes.strikethrough = 1;
    attributes.link = "https://example.org/?a=1&b=2";
    return attributes;
  }
  static TextAttributes quoted() {
    TextAttributes attributes = RichText::bodyAttributes();
    attributes.paragraphStyle = RichText::quoteParagraphStyle();
    attributes.foreground = PaletteColour::muted;
    attributes.background = PaletteColour::quote;
    return attributes;
  }

  RecordingDelegate delegate_;
};

TEST_P(TextViewContract, ShowsWhatTheDocumentHolds) {
  AttributedText note = RichText::bodyParagraph("Shopping\n");
  note.append(u"milk", bold());
  note.append(u" and bread\n", decorated());
  note.append(u"said she\n\n", quoted());
  TextAttributes item = RichText::bodyAttributes();
  item.paragraphStyle = RichText::listParagraphStyle();
  note.append(u"•\teggs\n", item);
  document().setAttributedString(note);
  expectShown("opened");

  struct Case {
    const char* name;
    TextRange range;
    AttributedText replacement;
  };
  const TextAttributes body = RichText::bodyAttributes();
  const std::vector<Case> cases{
      {"in the middle of a word", {.location = 3}, AttributedText(u"XX", body)},
      {"another attribute in the middle", {.location = 4, .length = 1}, AttributedText(u"b", bold())},
      {"over a line break", {.location = 8, .length = 6}, AttributedText(u"", body)},
      {"line breaks of a style of their own", {.location = 2}, AttributedText(u"\nquote\n", quoted())},
      {"characters that toolkits take for others",
       {.location = 1},
       AttributedText(u"\u00A0\u2028\uFDD0\u00AD🎙\t", bold())},
      {"at the end", {.location = 1000}, AttributedText(u"last", decorated())},
      {"a line break at the end", {.location = 1000}, AttributedText(u"\n", body)},
      {"at the start", {}, AttributedText(u"first\n", quoted())},
      {"everything", {.location = 0, .length = 1000}, AttributedText(u"", body)},
      {"into nothing", {}, AttributedText(u"a\n\nb", item)},
  };
  for (const Case& one : cases) {
    document().replaceCharacters(one.range, one.replacement);
    expectShown(one.name);
  }
  document().beginEditing();
  document().changeAttributes({.location = 0, .length = 1}, [](auto& with) { with = decorated(); });
  document().replaceCharacters({.location = 3}, AttributedText(u"middle", bold()));
  document().replaceCharacters({.location = 0, .length = 1}, {});
  document().endEditing();
  expectShown("one transaction of several edits");
}

TEST_P(TextViewContract, BringsWhatIsTyped) {
  world().typeText(u"one");
  world().pressReturn();
  document().setTypingAttributes(bold());
  world().typeText(u"tw🎙o");
  world().backspace();
  world().backspace();
  EXPECT_EQ(text(), "one\ntw");
  EXPECT_TRUE(document().storage().attributesAt(4) == bold());
  EXPECT_EQ(document().selectedRange(), TextRange{.location = 6});
  expectShown("typed");

  world().select({.location = 1, .length = 4});
  world().typeText(u"X");
  EXPECT_EQ(text(), "oXw");
  expectShown("typed over a selection");
  world().select({.location = 1});
  world().pressReturn();
  world().backspace();
  world().backspace();
  world().backspace();
  EXPECT_EQ(text(), "Xw");
  expectShown("at the start");
}

TEST_P(TextViewContract, AsksBeforeEachChangeAndTellsAfterIt) {
  open("ab");
  world().select({.location = 1});
  delegate_ = {};
  world().typeText(u"x");
  using Question = RecordingDelegate::Question;
  EXPECT_EQ(delegate_.questions, (std::vector<Question>{{.range = {.location = 1}, .replacement = u"x"}}));
  EXPECT_EQ(delegate_.changes, 1);
  EXPECT_GE(delegate_.selections, 1);

  delegate_.answer = [](const Question&) { return false; };
  const int changes = delegate_.changes;
  world().typeText(u"y");
  world().pressReturn();
  world().backspace();
  world().pasteRich(AttributedText(u"rich", bold()));
  world().dropText(u"dropped", 0);
  EXPECT_EQ(text(), "axb");
  EXPECT_EQ(delegate_.changes, changes);
  expectShown("refused");

  // The refusal of one who has done something else instead.
  delegate_.answer = [&](const Question& question) {
    if (question.replacement != u"\n") return true;
    document().replaceCharacters(question.range, AttributedText(u"\n•\t", RichText::bodyAttributes()));
    document().setSelectedRange({.location = question.range.location + 3});
    return false;
  };
  world().select({.location = 3});
  world().pressReturn();
  world().typeText(u"c");
  EXPECT_EQ(text(), "axb\n•\tc");
  expectShown("done in another way");
}

TEST_P(TextViewContract, UndoesByStep) {
  open("note ");
  world().select({.location = 5});
  world().typeText(u"one two");
  world().select({.location = 0, .length = 4});
  EXPECT_TRUE(document().shouldChangeText({.location = 0, .length = 4}, std::nullopt));
  document().changeAttributes({.location = 0, .length = 4}, [](auto& with) { with = bold(); });
  document().didChangeText();
  const AttributedText made = document().storage();
  expectShown("made");
  const int changes = delegate_.changes;

  world().undo();
  EXPECT_TRUE(document().storage() == RichText::bodyParagraph("note one two"));
  EXPECT_EQ(document().selectedRange(), (TextRange{.location = 0, .length = 4}));
  expectShown("attributes undone");
  world().undo();
  EXPECT_EQ(text(), "note ");
  EXPECT_EQ(document().selectedRange(), TextRange{.location = 5});
  expectShown("typing undone");
  world().undo();
  EXPECT_EQ(text(), "note ") << "the opening of a document is no step";
  EXPECT_EQ(delegate_.changes, changes + 2);
  world().redo();
  world().redo();
  EXPECT_TRUE(document().storage() == made);
  expectShown("redone");
  world().undo();
  world().select({.location = 0});
  world().typeText(u"a");
  EXPECT_FALSE(document().canRedo());
  world().undo();
  EXPECT_EQ(text(), "note one two");
}

TEST_P(TextViewContract, TakesRichTextAndDrops) {
  open("one two");
  world().select({.location = 4, .length = 3});
  AttributedText foreign(u"big", decorated());
  foreign.append(u" plain\nnext", RichText::bodyAttributes());
  world().pasteRich(foreign);
  EXPECT_EQ(text(), "one big plain\nnext");
  const auto isBig = [&](std::size_t at) {
    const TextAttributes& with = document().storage().attributesAt(at);
    return with.font && with.font->size == 22 && with.font->italic && with.underline == 1 &&
           with.strikethrough == 1 && with.link == decorated().link;
  };
  EXPECT_TRUE(isBig(4) && isBig(6)) << described(document().storage());
  EXPECT_FALSE(isBig(3) || isBig(7)) << described(document().storage());
  EXPECT_EQ(document().selectedRange(), TextRange{.location = 18});
  expectShown("pasted");

  world().dropText(u"A\r\nB\r", 4);
  EXPECT_EQ(text(), "one A\nB\nbig plain\nnext");
  expectShown("dropped");
  world().undo();
  world().undo();
  EXPECT_EQ(text(), "one two");
  expectShown("both undone");
}

TEST_P(TextViewContract, KeepsAnInputMethodsDraftOutOfTheDocument) {
  open("ab");
  world().select({.location = 1});
  delegate_ = {};
  world().preedit(u"nih");
  world().preedit(u"nihao");
  EXPECT_EQ(text(), "ab");
  EXPECT_EQ(delegate_.changes, 0);
  EXPECT_TRUE(delegate_.questions.empty());
  EXPECT_FALSE(document().canUndo());
  world().commit(u"你好");
  EXPECT_EQ(text(), "a你好b");
  EXPECT_EQ(delegate_.changes, 1);
  EXPECT_EQ(document().selectedRange(), TextRange{.location = 3});
  expectShown("committed");

  world().preedit(u"x");
  world().preedit(u"");
  EXPECT_EQ(text(), "a你好b");
  expectShown("taken back");

  world().preedit(u"zai");
  document().replaceCharacters({}, AttributedText(u"spoken ", RichText::bodyAttributes()));
  world().commit(u"再");
  EXPECT_EQ(text(), "spoken a你好再b");
  expectShown("committed after another's edit");
  while (document().canUndo()) world().undo();
  EXPECT_EQ(text(), "ab");
  expectShown("undone");
}

TEST_P(TextViewContract, MovesTheSelectionBothWays) {
  open("one\ntwo 🎙 three");
  for (const TextRange range : {TextRange{.location = 3}, TextRange{.location = 2, .length = 6},
                                TextRange{.location = 0, .length = 16}, TextRange{.location = 16}}) {
    delegate_ = {};
    document().setSelectedRange(range);
    EXPECT_EQ(world().shownSelection(), range);
    EXPECT_EQ(delegate_.selections, 1);
    world().select({.location = 1});
    EXPECT_EQ(document().selectedRange(), TextRange{.location = 1});
    world().select(range);
    EXPECT_EQ(document().selectedRange(), range);
  }
}

TEST_P(TextViewContract, HighlightsWithoutTouchingTheDocument) {
  open("spoken words");
  const AttributedText before = document().storage();
  delegate_ = {};
  world().view().highlight({.location = 0, .length = 6}, 1);
  world().view().highlight({.location = 0, .length = 6}, 0.5);
  EXPECT_FALSE(document().canUndo());
  document().replaceCharacters({.location = 3, .length = 9}, {});
  world().view().highlight({.location = 0, .length = 3}, 0);
  world().view().scrollRangeToVisible({.location = 0, .length = 3});
  EXPECT_EQ(text(), "spo");
  EXPECT_TRUE(document().storage() == before.subtext({.location = 0, .length = 3}));
  EXPECT_EQ(delegate_.changes, 0);
  expectShown("faded");
}

}  // namespace pell::testing
