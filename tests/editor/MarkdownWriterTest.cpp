#include <gtest/gtest.h>
#include <vector>

#include "editor/BlockStyle.h"
#include "editor/MarkdownWriter.h"
#include "editor/RichText.h"

namespace pell {
namespace {

struct Piece {
  std::u16string_view text;
  std::string_view
      looks;  // letters: b bold, i italic, s strikethrough, l a link, 1 to 3 a heading, q a quote
};

TextAttributes attributes(std::string_view looks) {
  TextAttributes result = RichText::bodyAttributes();
  for (char look : looks) {
    if (look >= '1' && look <= '3') result.font = font(allBlockStyles[static_cast<std::size_t>(look - '1')]);
    if (look == 'q') result.paragraphStyle = RichText::quoteParagraphStyle();
    if (look == 'b') result.font->weight = Font::bold;
    if (look == 'i') result.font->italic = true;
    if (look == 's') result.strikethrough = 1;
    if (look == 'l') result.link = "https://example.org/a (b)";
  }
  return result;
}

std::string markdown(const std::vector<Piece>& pieces) {
  AttributedText text;
  for (const Piece& piece : pieces) text.append(piece.text, attributes(piece.looks));
  return MarkdownWriter::write(text);
}

TEST(MarkdownWriterTest, BlocksAreTheParagraphs) {
  EXPECT_EQ(markdown({}), "");
  EXPECT_EQ(markdown({{u"Top #\n", "1"}, {u"Sub\n\n\n", "2"}, {u"Least\n", "3"}, {u"body"}}),
            "# Top \\#\n\n## Sub\n\n### Least\n\nbody\n");
  EXPECT_EQ(markdown({{u"•\tone\n•\ttwo\u2028more\n12.\tthree\n•\t\n"}, {u"end"}}),
            "- one\n- two\\\n  more\n12. three\n- \n\nend\n");
  EXPECT_EQ(markdown({{u"a\u2028b\n", "q"}, {u"c\n", "q"}, {u"d"}}), "> a\\\n> b\n>\n> c\n\nd\n");
  // Bold of ordinary size is a heading only of a whole paragraph.
  EXPECT_EQ(markdown({{u"all\n", "b"}, {u"part", "b"}, {u" of it"}}), "### all\n\n**part** of it\n");
}

TEST(MarkdownWriterTest, EmphasisHoldsWhereverItStands) {
  const std::pair<std::vector<Piece>, std::string_view> cases[]{
      {{{u"a "}, {u" b ", "b"}, {u"c"}}, "a  **b** c\n"},
      {{{u"x"}, {u"bold", "b"}, {u"y"}}, "x**bold**y\n"},
      {{{u"x "}, {u"all", "bis"}}, "x ~~***all***~~\n"},
      {{{u"x "}, {u"a", "b"}, {u"b", "i"}}, "x **a**<em>b</em>\n"},
      {{{u"x"}, {u"“a”", "b"}, {u" y"}}, "x<strong>“a”</strong> y\n"},
      {{{u"x "}, {u"\U0001F600", "i"}, {u"y"}}, "x <em>\U0001F600</em>y\n"},
      {{{u"x"}, {u" \t ", "b"}, {u"y"}}, "x \t y\n"},
      {{{u"see!"}, {u"the ", "l"}, {u"page", "li"}, {u"."}},
       "see\\![the *page*](https://example.org/a%20%28b%29).\n"},
  };
  for (const auto& [pieces, expected] : cases) EXPECT_EQ(markdown(pieces), expected);
}

TEST(MarkdownWriterTest, TextThatLooksLikeMarkupStaysText) {
  const std::pair<std::u16string_view, std::string_view> cases[]{
      {u"*a* _b_ `c` [d](e) <f> &amp; ~~g~~ h|i \\",
       "\\*a\\* \\_b\\_ \\`c\\` \\[d\\](e) \\<f\\> \\&amp; "
       "\\~\\~g\\~\\~ h\\|i \\\\\n"},
      {u"# no - heading", "\\# no - heading\n"},
      {u"- no item", "\\- no item\n"},
      {u"+ no item", "\\+ no item\n"},
      {u"> no quote", "\\> no quote\n"},
      {u"12. no item, 3. nor this", "12\\. no item, 3. nor this\n"},
      {u"7) no item", "7\\) no item\n"},
      {u"\tno code", "&#9;no code\n"},
      {u"     no code", "&#32;    no code\n"},
      {u"a\u2028===", "a\\\n\\===\n"},
      {u"•\t- nor within", "- \\- nor within\n"},
      {u"a\xD800z", "a\uFFFDz\n"},
  };
  for (const auto& [text, expected] : cases) EXPECT_EQ(markdown({{text}}), expected);
}

}  // namespace
}  // namespace pell
