// The text view of the notes before a user.
#include <QScrollBar>
#include <gtest/gtest.h>
#include <vector>

#include "contracts/EditorContract.h"
#include "contracts/TextViewContract.h"
#include "editor/BlockStyle.h"
#include "editor/view/PellTextView.h"
#include "editor/view/RichTextEditor.h"
#include "qt/TextViewUser.h"

namespace pell::testing {
namespace {

class TextViewInQt final : public TextViewWorld {
 public:
  TextView& view() override { return view_; }
  void typeText(std::u16string_view text) override { user_.type(text); }
  void pressReturn() override { user_.pressReturn(); }
  void backspace() override { user_.backspace(); }
  void select(TextRange range) override { user_.select(range); }
  void pasteRich(const AttributedText& text) override { user_.paste(text); }
  void dropText(std::u16string_view text, std::size_t position) override {
    QMimeData data;
    data.setText(QString::fromStdU16String(std::u16string(text)));
    user_.drop(data, position);
  }
  void preedit(std::u16string_view text) override { user_.compose(text); }
  void commit(std::u16string_view text) override { user_.compose({}, text); }
  void undo() override { user_.press(Qt::Key_Z, Qt::ControlModifier, "\x1a"); }
  void redo() override { user_.press(Qt::Key_Z, Qt::ControlModifier | Qt::ShiftModifier, "\x1a"); }
  AttributedText shown() override { return user_.shownText(); }
  TextRange shownSelection() override { return user_.shownSelection(); }

  using TextViewWorld::waitUntil;
  bool waitUntil(std::function<bool()> done, Seconds) override { return done(); }
  void settle() override { QApplication::processEvents(); }
  Instant now() const override { return std::chrono::steady_clock::now(); }

 private:
  PellTextView view_;
  TextViewUser user_{view_};
};
PELL_INSTANTIATE_CONTRACT(Qt, TextViewContract, TextViewWorld, TextViewInQt);
PELL_INSTANTIATE_CONTRACT(Qt, EditorContract, TextViewWorld, TextViewInQt);

class PellTextViewTest : public ::testing::Test {
 protected:
  PellTextViewTest() { open(u""); }

  EditableText& text() { return view.document(); }
  std::u16string plain() { return text().storage().text(); }
  void open(std::u16string_view content) {
    text().setAttributedString(AttributedText(content, RichText::bodyAttributes()));
    text().setTypingAttributes(RichText::bodyAttributes());
  }
  const TextAttributes& at(std::size_t position) { return text().storage().attributesAt(position); }
  QImage picture() {
    QImage image(view.size(), QImage::Format_RGB32);
    image.fill(Qt::white);
    view.render(&image, {}, {}, QWidget::DrawChildren);
    return image;
  }

  PellTextView view;
  TextViewUser user{view};
};

TEST_F(PellTextViewTest, KeysEditTheText) {
  struct Case {
    std::u16string_view before;
    TextRange selection;
    int key;
    Qt::KeyboardModifiers held;
    std::u16string_view after;
    std::size_t caret;
  };
  constexpr auto none = Qt::NoModifier;
  constexpr auto control = Qt::ControlModifier;
  const Case cases[]{
      {u"ab", {1}, Qt::Key_Backspace, none, u"b", 0},
      {u"ab", {0}, Qt::Key_Backspace, none, u"ab", 0},
      {u"abc", {1, 2}, Qt::Key_Backspace, none, u"a", 1},
      {u"a\nb", {2}, Qt::Key_Backspace, none, u"ab", 1},
      {u"a😀", {3}, Qt::Key_Backspace, none, u"a", 1},
      {u"a👩\u200D🚀", {6}, Qt::Key_Backspace, none, u"a", 1},
      {u"क्षि", {4}, Qt::Key_Backspace, none, u"क्ष", 3},
      {u"a😀b", {1}, Qt::Key_Delete, none, u"ab", 1},
      {u"a\nb", {1}, Qt::Key_Delete, none, u"ab", 1},
      {u"ab", {2}, Qt::Key_Delete, none, u"ab", 2},
      {u"one two", {7}, Qt::Key_Backspace, control, u"one ", 4},
      {u"one two", {0}, Qt::Key_Delete, control, u"two", 0},
      {u"ab", {1}, Qt::Key_Return, none, u"a\nb", 2},
      {u"ab", {1}, Qt::Key_Return, Qt::ShiftModifier, u"a\u2028b", 2},
      {u"ab", {0, 1}, Qt::Key_X, control, u"b", 0},
  };
  for (const Case& one : cases) {
    open(one.before);
    user.select(one.selection);
    user.press(one.key, one.held);
    EXPECT_EQ(plain(), one.after) << QString::fromStdU16String(std::u16string(one.before)).toStdString();
    EXPECT_EQ(text().selectedRange(), TextRange{one.caret});
  }
  // What was substituted for quotes and hyphens is taken back before what was typed.
  open(u"");
  user.type(u"\"so\"--it's");
  EXPECT_EQ(plain(), u"“so”—it’s");
  user.press(Qt::Key_Backspace);
  user.type(u"'");
  user.press(Qt::Key_Z, Qt::ControlModifier);
  EXPECT_EQ(plain(), u"“so”—it’'");
}

TEST_F(PellTextViewTest, AnAddressBecomesALinkWhenTheWordIsOver) {
  user.type(u"see www.x.org.");
  EXPECT_FALSE(at(4).link);
  user.pressReturn();
  user.type(u"more");
  EXPECT_EQ(plain(), u"see www.x.org.\nmore");
  EXPECT_EQ(text().storage().runAt(4).range, (TextRange{4, 9}));
  EXPECT_EQ(at(4).link, "https://www.x.org");
  EXPECT_FALSE(at(15).link);
  while (at(4).link) text().undo();
  EXPECT_EQ(plain(), u"see www.x.org.");
}

TEST_F(PellTextViewTest, CharactersStayWhatTheyAreOnEveryRoad) {
  const std::u16string odd =
      u"a\u00A0b\u2028c\uFFFCd\uFDD0e\uFEFFf\u00ADg\xD800h\xDC00i\u0000j"
      u"\U0001F600";
  open(odd);
  EXPECT_EQ(plain(), odd);
  EXPECT_EQ(static_cast<std::size_t>(user.page().characterCount()), odd.size() + 1);
  view.grab();
  user.select({0, odd.size()});
  user.press(Qt::Key_C, Qt::ControlModifier);
  EXPECT_EQ(QApplication::clipboard()->text().toStdU16String(), odd);
  user.select({odd.size()});
  user.type(u"!");
  user.select({0});
  user.press(Qt::Key_Delete);
  EXPECT_EQ(plain(), odd.substr(1) + u"!");
  EXPECT_EQ(static_cast<std::size_t>(user.page().characterCount()), odd.size() + 1);
}

TEST_F(PellTextViewTest, InputMethodsReplaceSelectionsAndSurroundings) {
  open(u"one two");
  user.select({4, 3});
  user.compose(u"drei");
  EXPECT_EQ(plain(), u"one ");
  EXPECT_EQ(user.preedit(), "drei");
  user.compose(u"", u"3");
  EXPECT_EQ(plain(), u"one 3");
  EXPECT_EQ(user.preedit(), "");
  QInputMethodEvent correction;
  correction.setCommitString("ONE", -5, 3);
  QApplication::sendEvent(&view, &correction);
  EXPECT_EQ(plain(), u"ONE 3");
  // Another document under an input method at work takes nothing of it over.
  user.compose(u"half");
  open(u"other");
  EXPECT_EQ(user.preedit(), "");
  user.compose(u"", u"x");
  EXPECT_EQ(plain(), u"xother");
}

TEST_F(PellTextViewTest, PastesTheBestOfWhatIsOffered) {
  auto* html = new QMimeData;
  html->setHtml(
      "<h1>Top</h1><p>plain <b>bold</b> <i>it</i>&nbsp;<a href='https://x.org/'>link</a><br>new"
      "<img src='file:///etc/hostname'></p><ol><li>one</li><li>two</li></ol>"
      "<blockquote>said</blockquote>");
  html->setText("not this");
  user.paste(html);
  EXPECT_EQ(plain(), u"Top\nplain bold it\u00A0link\nnew\n1.\tone\n2.\ttwo\nsaid");
  EXPECT_EQ(at(0).font, font(BlockStyle::title));
  EXPECT_EQ(at(4).font, font(BlockStyle::body));
  EXPECT_TRUE(at(10).font->isBold());
  EXPECT_TRUE(at(15).font->italic);
  EXPECT_EQ(at(18).link, "https://x.org/");
  EXPECT_FALSE(at(18).underline);
  EXPECT_EQ(at(30).paragraphStyle, RichText::listParagraphStyle());
  EXPECT_TRUE(RichText::isQuote(at(plain().size() - 1).paragraphStyle));

  // From elsewhere no colours and no strange families; from a note everything.
  TextAttributes loud = RichText::bodyAttributes();
  loud.font = Font{.family = "Comic", .size = 18, .weight = Font::bold, .italic = true};
  loud.foreground = Rgb{255, 255, 255};
  loud.background = Rgb{255, 255, 255};
  loud.paragraphStyle->headIndent = 100;
  open(u"");
  user.paste(AttributedText(u"loud", loud));
  EXPECT_EQ(at(0).font, (Font{.family = "IBM Plex Sans", .size = 18, .weight = Font::bold, .italic = true}));
  EXPECT_EQ(at(0).foreground, TextColour(PaletteColour::ink));
  EXPECT_FALSE(at(0).background);
  EXPECT_EQ(at(0).paragraphStyle, RichText::paragraphStyle(0));
  const AttributedText own(u"loud", loud);
  text().setAttributedString(own);
  user.select({0, 4});
  user.press(Qt::Key_X, Qt::ControlModifier);
  EXPECT_EQ(plain(), u"");
  user.press(Qt::Key_V, Qt::ControlModifier);
  EXPECT_TRUE(text().storage() == own) << described(text().storage());

  open(u"ab");
  user.select({1});
  auto* damaged = new QMimeData;
  damaged->setData("text/rtf", "no rtf");
  damaged->setText("plain\r\ntext");
  user.paste(damaged);
  EXPECT_EQ(plain(), u"aplain\ntextb");
  user.select({0, 6});
  auto* image = new QMimeData;
  image->setHtml("<img src='x.png'>");
  user.paste(image);
  EXPECT_EQ(plain(), u"aplain\ntextb") << "no text to put there";
}

TEST_F(PellTextViewTest, ADraggedSelectionMovesInOneStep) {
  for (const auto& [target, expected, selected] :
       {std::tuple<std::size_t, std::u16string_view, TextRange>{10, u"one thtwo ree", {6, 4}},
        {0, u"two one three", {0, 4}},
        {6, u"one two three", {4, 4}}}) {
    open(u"one two three");
    user.select({4, 4});
    user.dragSelection(target);
    EXPECT_EQ(plain(), expected);
    EXPECT_EQ(text().selectedRange(), selected);
    text().undo();
    EXPECT_EQ(plain(), u"one two three");
  }
}

TEST_F(PellTextViewTest, EditsOfQtsDocumentGoThroughTheDelegate) {
  RecordingDelegate delegate;
  text().setDelegate(&delegate);
  open(u"one two");
  QTextCursor client(&user.page());
  client.setPosition(4);
  client.insertText("and\nso ");
  EXPECT_EQ(plain(), u"one and\nso two");
  EXPECT_EQ(delegate.questions.size(), 1u);
  delegate.answer = [](const auto&) { return false; };
  client.setPosition(0);
  client.movePosition(QTextCursor::End, QTextCursor::KeepAnchor);
  client.removeSelectedText();
  EXPECT_EQ(plain(), u"one and\nso two");
  EXPECT_EQ(user.shown(), plain());
  text().setDelegate(nullptr);
}

TEST_F(PellTextViewTest, PlaceholderStandsInAnEmptyTextOnly) {
  const QImage empty = picture();
  view.setPlaceholder("Start typing");
  const QImage inviting = picture();
  EXPECT_NE(inviting, empty);
  user.type(u" ");
  EXPECT_EQ(picture(), empty);
  user.backspace();
  EXPECT_EQ(picture(), inviting);
  user.compose(u" ");
  EXPECT_NE(picture(), inviting);
  user.compose(u"");
  TextAttributes title = RichText::bodyAttributes();
  title.font = font(BlockStyle::title);
  text().setTypingAttributes(title);
  EXPECT_GE(user.widget().cursorRect().height(), 22) << "the caret of a title";
}

TEST_F(PellTextViewTest, EveryKindOfMarkerIsFollowedByTextInLine) {
  TextAttributes item = RichText::bodyAttributes();
  item.paragraphStyle = RichText::listParagraphStyle();
  text().setAttributedString(
      AttributedText(u"•\tmilk and a long row of words that is wrapped once\n1.\tbread", item));
  const auto left = [&](int position) {
    QTextCursor cursor(&user.page());
    cursor.setPosition(position);
    return user.widget().cursorRect(cursor).left();
  };
  EXPECT_EQ(left(2), 66);
  EXPECT_EQ(left(0), 44);
  EXPECT_EQ(left(static_cast<int>(plain().size()) - 5), 66);
}

TEST_F(PellTextViewTest, ControlsLieUnderAnArrow) {
  EXPECT_EQ(PellTextView::controlBand({0, 0, 1000, 700}), QRect(260, 604, 480, 96));
  EXPECT_EQ(PellTextView::controlBand({0, 0, 300, 50}), QRect(0, 0, 300, 50));
  EXPECT_TRUE(PellTextView::controlBand({}).isEmpty());
  view.resize(600, 400);
  TextAttributes linked = RichText::bodyAttributes();
  linked.link = "https://x.org/";
  text().setAttributedString(AttributedText(u"linked words", linked));
  view.grab();
  for (const auto& [point, shape] : {std::pair{QPoint(300, 350), Qt::ArrowCursor},
                                     {QPoint(30, 350), Qt::IBeamCursor},
                                     {QPoint(300, 303), Qt::IBeamCursor},
                                     {QPoint(45, 34), Qt::PointingHandCursor}}) {
    user.movePointer(point);
    EXPECT_EQ(user.widget().viewport()->cursor().shape(), shape) << point.x() << " " << point.y();
  }
  std::vector<std::string> opened;
  view.clickedOnLink = [&](const std::string& link) { opened.push_back(link); };
  user.click({45, 34});
  user.click({300, 200});
  EXPECT_EQ(opened, std::vector<std::string>{"https://x.org/"});
}

TEST(RichTextEditorTest, LendsTheControllerAViewAndSwapsDocumentsByTheirIds) {
  VirtualTime time;
  EditorController controller(time.main());
  int changes = 0;
  controller.onChange = [&](const EditorController::Snapshot&) { ++changes; };
  std::vector<std::string> opened;
  {
    RichTextEditor editor(controller,
                          {.open = [&](const std::string& link) { return opened.push_back(link), true; },
                           .documentID = "draft-0"});
    EXPECT_EQ(controller.textView, &editor.view());
    TextViewUser user(editor.view());
    EXPECT_EQ(controller.formatting().get().blockStyle, BlockStyle::title);
    user.type(u"typed");
    const EditorController::Snapshot older{.rtf = RichText::rtf(RichText::bodyParagraph("older")),
                                           .text = "older"};
    editor.showDocument("draft-0", older);
    EXPECT_EQ(user.shown(), u"typed");
    editor.showDocument("note-1", older);
    EXPECT_EQ(user.shown(), u"older");
    editor.showDocument("note-2", older);
    EXPECT_EQ(changes, 5);
    editor.view().clickedOnLink("https://x.org/");
    editor.view().clickedOnLink("nonsense");
    EXPECT_EQ(opened, std::vector<std::string>{"https://x.org/"});
  }
  EXPECT_EQ(controller.textView, nullptr);
}

TEST_F(PellTextViewTest, ColoursFollowTheSurroundingsAndFixedBackgroundsStayReadable) {
  TextAttributes marked = RichText::bodyAttributes();
  marked.background = Rgb{255, 255, 0};
  AttributedText content(u"ink", RichText::bodyAttributes());
  content.append(u"marked", marked);
  text().setAttributedString(content);
  QPalette dark;
  dark.setColor(QPalette::Window, QColor(0x1A1612));
  view.setPalette(dark);
  const auto inkAt = [&](int position) {
    QTextCursor cursor(&user.page());
    cursor.setPosition(position + 1);
    return cursor.charFormat().foreground().color();
  };
  EXPECT_EQ(inkAt(0), colour(PaletteColour::ink, Appearance::dark));
  EXPECT_EQ(inkAt(4), colour(PaletteColour::ink, Appearance::light));
  EXPECT_EQ(plain(), u"inkmarked");
  view.setPalette(QPalette(QColor(Qt::white)));
  EXPECT_EQ(inkAt(0), colour(PaletteColour::ink, Appearance::light));
}

TEST_F(PellTextViewTest, ALongNoteOpensAtItsTopAndItsCaretIsThereWhenItIsNeeded) {
  std::u16string content;
  for (int line = 0; line < 4000; ++line) content += u"A line of a long note, which goes on and on.\n";
  open(content);
  text().setSelectedRange({content.size()});
  view.grab();
  EXPECT_EQ(user.page().lastBlock().layout()->lineCount(), 0) << "nobody looks there yet";
  EXPECT_EQ(user.widget().verticalScrollBar()->value(), 0);
  user.type(u"x");
  EXPECT_EQ(plain(), content + u"x");
  EXPECT_TRUE(user.widget().viewport()->rect().intersects(user.widget().cursorRect()));
  view.scrollRangeToVisible({content.size() / 2});
  const int middle = user.widget().verticalScrollBar()->value();
  EXPECT_GT(middle, 0);
  EXPECT_LT(middle, user.widget().verticalScrollBar()->maximum());
  open(content);
  EXPECT_EQ(user.widget().verticalScrollBar()->value(), 0) << "the next one as well";
}

}  // namespace
}  // namespace pell::testing
