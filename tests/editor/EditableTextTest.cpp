#include <functional>
#include <gtest/gtest.h>

#include "editor/EditableText.h"
#include "editor/RichText.h"
#include "support/MemoryTextView.h"

namespace pell {
namespace {

using testing::MemoryTextView;

TextAttributes with(int weight, double indent = 0) {
  TextAttributes attributes = RichText::bodyAttributes();
  attributes.font->weight = weight;
  attributes.paragraphStyle = RichText::paragraphStyle(indent);
  return attributes;
}

TEST(EditableText, JoinsWhatWasTypedInOneGo) {
  using Act = std::function<void(MemoryTextView&)>;
  struct Case {
    const char* name;
    std::vector<Act> acts;
    std::vector<const char*> undone;
  };
  const Act word = [](auto& view) { view.type(u"word"); };
  const Act line = [](auto& view) { view.pressReturn(); };
  const Act back = [](auto& view) { view.backspace(); };
  const Act away = [](auto& view) { view.select({.location = 1}); };
  const Act home = [](auto& view) { view.select({.location = view.document().storage().length()}); };
  const Act same = [](auto& view) { view.select(view.document().selectedRange()); };
  const Act direct = [](auto& view) {
    view.document().replaceCharacters(view.document().selectedRange(), AttributedText(u"-", with(400)));
  };
  const Act nothing = [](auto& view) {
    view.document().insertText(u"", view.document().selectedRange());
    view.paste({});
  };
  const Act bold = [](auto& view) {
    EXPECT_TRUE(view.document().shouldChangeText({}, std::nullopt));
    view.document().changeAttributes({.location = 0, .length = 1}, [](auto& old) { old = with(700); });
    view.document().didChangeText();
  };
  const Act empty = [](auto& view) {
    EXPECT_TRUE(view.document().shouldChangeText({}, std::nullopt));
    view.document().didChangeText();
  };
  const std::vector<Case> cases{
      {"a word", {word, same, word}, {"ab"}},
      {"a new line begins a step", {word, line, word, line}, {"abword\nword", "abword", "ab"}},
      {"typing, deleting, typing", {word, back, back, word}, {"abwo", "abword", "ab"}},
      {"elsewhere and back", {word, away, home, word}, {"abword", "ab"}},
      {"an edit that is no step belongs to the last", {word, direct, word}, {"abword-", "ab"}},
      {"an edit that is no step, where none is before", {direct, word}, {"ab-", "ab"}},
      {"nothing in the place of nothing", {word, nothing, word, nothing, back}, {"abwordword", "ab"}},
      {"a step without a change", {word, empty, direct}, {"ab"}},
      {"another step without moving", {word, bold, word}, {"abword", "abword", "ab"}},
  };
  for (const Case& one : cases) {
    MemoryTextView view;
    view.type(u"the note before");
    view.document().setAttributedString(RichText::bodyParagraph("ab"));
    view.select({.location = 2});
    for (const Act& act : one.acts) act(view);
    for (const char* text : one.undone) {
      view.document().undo();
      EXPECT_EQ(view.document().storage().utf8(), text) << one.name;
    }
    EXPECT_FALSE(view.document().canUndo()) << one.name;
  }
}

TEST(EditableText, WhoeverIsToldOfAnUndoneStepMayEdit) {
  struct Meddler final : EditableText::Delegate {
    bool shouldChangeText(TextRange, std::optional<std::u16string_view>) override { return true; }
    void textDidChange() override {}
    void textViewDidChangeSelection() override {
      if (std::exchange(isAsked, false)) text.replaceCharacters({}, AttributedText(u"-"));
    }
    EditableText& text;
    bool isAsked = false;
    explicit Meddler(EditableText& edited) : text(edited) {}
  };
  EditableText text;
  text.setAttributedString(RichText::bodyParagraph("ab"));
  text.insertText(u"c", {.location = 2});
  text.insertText(u"d", {.location = 0});
  Meddler meddler(text);
  text.setDelegate(&meddler);
  meddler.isAsked = true;
  text.undo();
  EXPECT_EQ(text.storage().utf8(), "-abc");
  EXPECT_FALSE(text.canRedo());
  text.undo();
  EXPECT_EQ(text.storage().utf8(), "ab");
}

TEST(EditableText, TypesOnAsTheTextBeforeIs) {
  AttributedText note(u"bold", with(700));
  note.append(u" plain\n", with(400));
  note.append(u"in\n", with(700, 22));
  note.append(u"\n", with(400, 11));
  struct Case {
    const char* name;
    TextRange selection;
    TextAttributes typing;
  };
  const std::vector<Case> cases{
      {"behind a run", {.location = 4}, with(700)},
      {"behind the next character", {.location = 5}, with(400)},
      {"a selection", {.location = 4, .length = 9}, with(400)},
      {"the start of the text", {}, with(700)},
      {"the start of a paragraph", {.location = 11}, with(700, 22)},
      {"an empty paragraph", {.location = 14}, with(400, 11)},
      {"the empty last paragraph", {.location = 15}, with(400, 11)},
  };
  for (const Case& one : cases) {
    EditableText text;
    text.setAttributedString(note);
    text.setSelectedRange({.location = 1});
    text.setSelectedRange(one.selection);
    EXPECT_TRUE(text.typingAttributes() == one.typing) << one.name;
  }

  EditableText text;
  text.setAttributedString(note);
  text.setSelectedRange({.location = 15});
  text.setTypingAttributes(with(700, 33));
  text.setSelectedRange({.location = 4});
  text.setSelectedRange({.location = 15});
  EXPECT_TRUE(text.typingAttributes() == with(700, 33)) << "the last paragraph was left so";
  text.beginEditing();
  text.setTypingAttributes(with(400, 33));
  text.replaceCharacters({}, AttributedText(u"-", with(400)));
  text.replaceCharacters({.location = 0, .length = 1}, {});
  text.endEditing();
  EXPECT_TRUE(text.typingAttributes() == with(400, 33)) << "an edit elsewhere leaves it so";
  text.setSelectedRange({.location = 14});
  EXPECT_TRUE(text.shouldChangeText({.location = 14, .length = 1}, std::nullopt));
  text.replaceCharacters({.location = 14}, AttributedText(u"-", with(400)));
  text.changeAttributes({.location = 14, .length = 2}, [](auto& old) { old = with(400, 11); });
  text.didChangeText();
  text.undo();
  text.setSelectedRange({.location = 15});
  EXPECT_TRUE(text.typingAttributes() == with(400, 33)) << "and so does one of the paragraph before, undone";
  text.setTypingAttributes(with(700, 33));
  text.insertText(u"x", {.location = 15});
  text.insertText(u"", {.location = 15, .length = 1});
  for (const std::size_t away : {15, 2, 15}) text.setSelectedRange({.location = away});
  EXPECT_TRUE(text.typingAttributes() == with(700, 33)) << "and keeps it when it is emptied";
  text.setSelectedRange({.location = 2});
  text.replaceCharacters({.location = 15}, AttributedText(u"other\n", with(400, 22)));
  text.setSelectedRange({.location = 21});
  EXPECT_TRUE(text.typingAttributes() == with(400, 22)) << "another last paragraph";
  text.setSelectedRange({.location = 2});
  text.setTypingAttributes(with(400));
  text.insertText(u"x\n", {.location = 2});
  EXPECT_TRUE(text.typingAttributes() == with(400)) << "what was asked for goes on over a line break";
}

TEST(EditableText, KeepsTheSelectionOnItsText) {
  struct Case {
    TextRange selection;
    TextRange range;  // becomes "xyz"
    TextRange after;
  };
  const std::vector<Case> cases{
      {{.location = 5}, {.location = 2, .length = 1}, {.location = 7}},
      {{.location = 5}, {.location = 5}, {.location = 8}},
      {{.location = 5}, {.location = 6, .length = 2}, {.location = 5}},
      {{.location = 5}, {.location = 4, .length = 3}, {.location = 7}},
      {{.location = 4, .length = 3}, {.location = 4}, {.location = 7, .length = 3}},
      {{.location = 4, .length = 3}, {.location = 7}, {.location = 4, .length = 3}},
      {{.location = 4, .length = 3}, {.location = 5, .length = 1}, {.location = 4, .length = 5}},
      {{.location = 4, .length = 3}, {.location = 2, .length = 3}, {.location = 5, .length = 2}},
      {{.location = 4, .length = 3}, {.location = 6, .length = 3}, {.location = 4, .length = 2}},
      {{.location = 4, .length = 3}, {.location = 3, .length = 6}, {.location = 6, .length = 0}},
  };
  for (const Case& one : cases) {
    EditableText text;
    text.setAttributedString(RichText::bodyParagraph("0123456789"));
    text.setSelectedRange(one.selection);
    text.replaceCharacters(one.range, AttributedText(u"xyz"));
    EXPECT_EQ(text.selectedRange(), one.after) << one.range.location << "+" << one.range.length << " of "
                                               << one.selection.location << "+" << one.selection.length;
  }
}

TEST(UndoHistory, ForgetsTheOldestStepsBeyondItsMemory) {
  UndoHistory history(4000);
  AttributedText text(std::u16string(1000, u'a'));
  for (int step = 0; step < 20; ++step) {
    history.openStep({});
    history.willReplace(text, {.location = 0, .length = 500}, 0);
    text.replace({.location = 0, .length = 500}, {});
    history.closeStep();
    text.append(std::u16string(500, static_cast<char16_t>(u'b' + step)), {});
  }
  int undone = 0;
  for (; history.canUndo(); ++undone) {
    const UndoHistory::Step step = history.undo(text, {});
    text.replace(step.span.rangeAfter(), step.old);
  }
  EXPECT_GE(undone, 1);
  EXPECT_LE(undone, 3);
  // What was put in takes its memory when it is taken out, and looks take some besides the letters.
  history.clear();
  for (int step = 0; step < 20; ++step) {
    history.openStep({});
    history.willReplace(text, {}, 2);
    text.replace({}, AttributedText(u"a", {.underline = step + 1}));
    text.replace({}, AttributedText(u"b", {.underline = -step}));
  }
  while (history.canUndo()) {
    const UndoHistory::Step step = history.undo(text, {});
    text.replace(step.span.rangeAfter(), step.old);
  }
  int redone = 0;
  for (; history.canRedo(); ++redone) {
    const UndoHistory::Step step = history.redo(text, {});
    text.replace(step.span.rangeAfter(), step.old);
  }
  EXPECT_GE(redone, 1);
  EXPECT_LE(redone, 10);

  history.clear();
  history.openStep({});
  history.willReplace(text, {.location = 0, .length = text.length()}, 0);
  EXPECT_TRUE(history.canUndo()) << "the newest stays, however large";
}

}  // namespace
}  // namespace pell
