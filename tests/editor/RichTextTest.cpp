#include <gtest/gtest.h>

#include "editor/BlockStyle.h"
#include "editor/Face.h"
#include "editor/RichText.h"
#include "editor/Utf16.h"

namespace pell {
namespace {

TEST(RichText, ParagraphsOfASelection) {
  struct Case {
    const char* text;
    TextRange range;
    std::vector<TextRange> paragraphs;
  };
  const std::vector<Case> cases{
      {"", {}, {{0, 0}}},
      {"one", {.location = 3}, {{0, 3}}},
      {"one\n", {.location = 4}, {{4, 0}}},
      {"one\n", {.location = 0, .length = 4}, {{0, 4}}},
      {"one\ntwo\nthree\n", {.location = 1, .length = 8}, {{0, 4}, {4, 4}, {8, 6}}},
      {"one\ntwo\n", {.location = 0, .length = 4}, {{0, 4}}},
      {"one\ntwo", {.location = 0, .length = 5}, {{0, 4}, {4, 3}}},
      {"one\ntwo", {.location = 4}, {{4, 3}}},
      {"\n\n", {.location = 0, .length = 2}, {{0, 1}, {1, 1}}},
      {"\n\n", {.location = 1}, {{1, 1}}},
  };
  for (const Case& one : cases) {
    EXPECT_EQ(RichText::paragraphRanges(RichText::bodyParagraph(one.text), one.range), one.paragraphs)
        << one.text << one.range.location << "+" << one.range.length;
  }
}

TEST(RichText, TellsAQuoteByItsShape) {
  EXPECT_FALSE(RichText::isQuote(std::nullopt));
  EXPECT_FALSE(RichText::isQuote(RichText::paragraphStyle(22)));
  EXPECT_FALSE(RichText::isQuote(RichText::listParagraphStyle()));
  EXPECT_TRUE(RichText::isQuote(RichText::quoteParagraphStyle(0)));
}

TEST(RichText, BringsForeignFontsIntoTheTextFamily) {
  struct Case {
    std::optional<Font> before;
    std::optional<Font> after;
    BlockStyle style;
  };
  const auto text = [](double size, int weight, bool italic) {
    return Font{.family = "IBM Plex Sans", .size = size, .weight = weight, .italic = italic};
  };
  const std::vector<Case> cases{
      {Font{.family = "Helvetica", .size = 12}, text(12, 400, false), BlockStyle::body},
      {Font{.family = "Times", .size = 22, .weight = 700}, text(22, 700, false), BlockStyle::title},
      {Font{.family = "Times", .size = 15, .italic = true}, text(15, 400, true), BlockStyle::body},
      {Font{.family = "", .size = 9, .weight = 600, .italic = true}, text(9, 600, true),
       BlockStyle::subheading},
      {std::nullopt, std::nullopt, BlockStyle::body},
      {text(19.9, 400, false), text(19.9, 400, false), BlockStyle::heading},
      {text(20, 400, false), text(20, 400, false), BlockStyle::title},
      {text(16.4, 400, false), text(16.4, 400, false), BlockStyle::body},
      {text(16.5, 700, false), text(16.5, 700, false), BlockStyle::heading},
  };
  AttributedText note;
  std::string place;
  for (const Case& one : cases) {
    TextAttributes attributes;
    attributes.font = one.before;
    attributes.link = place += "x";
    note.append(u"x", attributes);
  }
  RichText::remapToTextFamily(note);
  for (std::size_t at = 0; at < cases.size(); ++at) {
    EXPECT_EQ(note.attributesAt(at).font, cases[at].after) << at;
    EXPECT_EQ(blockStyleOf(cases[at].after.value_or(Font())), cases[at].style) << at;
  }
  AttributedText none;
  RichText::remapToTextFamily(none);
  EXPECT_TRUE(none.isEmpty());
  for (const BlockStyle style : allBlockStyles) EXPECT_EQ(blockStyleOf(font(style)), style);
}

TEST(RichText, OpensWhatWasStored) {
  TextAttributes heading = RichText::bodyAttributes();
  heading.font = font(BlockStyle::heading);
  TextAttributes quote = RichText::bodyAttributes();
  quote.paragraphStyle = RichText::quoteParagraphStyle();
  quote.foreground = PaletteColour::muted;
  quote.background = PaletteColour::quote;
  TextAttributes item = RichText::bodyAttributes();
  item.paragraphStyle = RichText::listParagraphStyle();
  item.link = "https://example.org/?q=पृष्ठ";
  item.font->italic = true;
  AttributedText note(u"Heading\n", heading);
  note.append(u"said {so}\\\n", quote);
  note.append(u"•\titem 🎙\n", item);
  note.append(RichText::bodyParagraph("बस\n\n"));
  for (const std::size_t length : {note.length(), std::size_t{13}, std::size_t{1}, std::size_t{0}}) {
    AttributedText wanted = note.subtext({.location = 0, .length = length});
    const AttributedText stored = wanted;
    wanted.changeAttributes({.location = 0, .length = length},
                            [](auto& with) { with.foreground = PaletteColour::ink; });
    EXPECT_TRUE(RichText::attributed(RichText::rtf(stored)) == wanted) << length;
  }

  const AttributedText foreign = RichText::attributed(
      "{\\rtf1\\ansi{\\fonttbl{\\f0 Times;}}{\\colortbl;\\red255\\green0\\blue0;}"
      "\\f0\\fs44\\b\\cf1 Title\\par\\b0\\i\\fs24\\cf0 text}");
  EXPECT_EQ(foreign.utf8(), "Title\ntext");
  EXPECT_EQ(foreign.attributesAt(0).font, Face::nsText(22, Font::bold));
  EXPECT_TRUE(foreign.attributesAt(9).font && foreign.attributesAt(9).font->italic);
  for (const std::size_t at : {0, 9}) {
    EXPECT_EQ(foreign.attributesAt(at).foreground, TextColour(PaletteColour::ink));
  }
  for (const char* other : {"", "hello", "{\\rt"})
    EXPECT_TRUE(RichText::attributed(other).isEmpty()) << other;
}

TEST(RichText, TellsDamagedBytesByTheText) {
  struct Case {
    const char* rtf;
    std::string text;
    bool isIntact;
    const char* shown;
  };
  const std::vector<Case> cases{
      {"{\\rtf1 one {\\b two}\\par}", "one two", true, "one two\n"},
      {"{\\rtf1 one\\par two}", "\none\r\ntwo \n", true, "one\ntwo"},
      {"{\\rtf1 a\\u0?b}", {"a\0b", 3}, true, "a\uFFFDb"},
      {"{\\rtf1 stored}", " \n", true, "stored"},
      {"{\\rtf1 one", "one two", false, "one two"},
      {"{\\rtf1 one\\par}", "one\ntwo", false, "one\ntwo"},
      {"{\\rtf1 one two}", "one", false, "one"},
      {"", "one", false, "one"},
      {"none", "one", false, "one"},
      {"none", " \n", false, ""},
  };
  for (const Case& one : cases) {
    EXPECT_EQ(RichText::intact(one.rtf, one.text).has_value(), one.isIntact) << one.rtf;
    EXPECT_EQ(RichText::document(one.rtf, one.text).utf8(), one.shown) << one.rtf;
  }
  std::u16string all = u"x";  // what the editor itself stores is never taken for damaged
  for (char16_t unit = 0xFFFF; unit > 0; --unit) all += unit;
  const AttributedText text(all + u"x", RichText::bodyAttributes());
  EXPECT_TRUE(RichText::intact(RichText::rtf(text), text.utf8()));
}

}  // namespace
}  // namespace pell
