#include <cmath>
#include <fstream>
#include <gtest/gtest.h>
#include <map>
#include <random>
#include <set>
#include <sstream>
#include <string>
#include <unicode/unistr.h>
#include <utility>
#include <vector>

#include "SourceTree.h"
#include "editor/Described.h"
#include "editor/RandomText.h"
#include "editor/RtfReader.h"
#include "editor/RtfSamples.h"
#include "editor/RtfTokenizer.h"
#include "editor/RtfWords.h"
#include "editor/RtfWriter.h"

namespace pell {
namespace {

using testing::described;

TEST(RtfTest, ReadsWhatProgramsWriteAndWhatIsLeftOfIt) {
  for (const auto& sample : testing::rtfSamples()) {
    const auto text = readRtf(sample.rtf);
    ASSERT_TRUE(text) << sample.rtf;
    EXPECT_EQ(described(*text), sample.described) << sample.rtf;
    EXPECT_EQ(described(*readRtf(writeRtf(*text))), sample.described) << sample.rtf;
  }
  for (const char* other : {"", " ", "hello", "{\\rt", "\\rtf1 a", "{\\b\\rtf1 a}"}) {
    EXPECT_FALSE(readRtf(other)) << other;
  }
}

/// Documents that hold whatever a text can carry.
class RandomDocuments {
 public:
  explicit RandomDocuments(unsigned seed) : texts_(seed) {}

  AttributedText next() {
    AttributedText document;
    for (unsigned left = texts_.below(6); left > 0; --left) {
      const auto style = paragraphStyle();
      for (unsigned run = texts_.below(5); run > 0; --run) document.append(characters(), attributes(style));
      if (left > 1 || texts_.below(2) == 0) document.append(u"\n", attributes(style));
    }
    return document;
  }

 private:
  std::u16string characters() {
    static const std::vector<std::u16string> tricky{
        u"\\{}",   u"\t",    u"•\t",   u"12.\t",         u"?", u"\u2028",
        u"\\par ", {0xD83D}, {0xDE00}, {0xDE00, 0xD83D}, {0},  u"\uF0B7"};
    std::u16string text;
    for (unsigned piece = texts_.below(4); piece > 0; --piece) {
      const auto wide = icu::UnicodeString::fromUTF8(texts_.text(static_cast<int>(texts_.below(12))));
      for (int at = 0; at < wide.length(); ++at) {
        if (wide[at] != '\n' && wide[at] != '\r' && wide[at] != 0x2029) text += wide[at];
      }
      if (texts_.below(2) == 0) text += tricky[texts_.below(static_cast<unsigned>(tricky.size()))];
    }
    return text;
  }

  TextAttributes attributes(const std::optional<ParagraphStyle>& style) {
    static const std::vector<std::string> links{"https://example.org/?a=1&b=%20", "C:\\notes\\\"x\"",
                                                "पृष्ठ {1};\n"};
    TextAttributes made{.paragraphStyle = style};
    if (texts_.below(4) != 0) made.font = font();
    if (texts_.below(2) == 0) made.foreground = colour();
    if (texts_.below(4) == 0) made.background = colour();
    if (texts_.below(4) == 0) made.underline = 1;
    if (texts_.below(4) == 0) made.strikethrough = 1;
    if (texts_.below(3) == 0) made.link = links[texts_.below(3)];
    return made;
  }

  Font font() {
    static const std::vector<std::string> families{"IBM Plex Sans", "Noto Sans देवनागरी", "a;b\\c{d}"};
    static const std::vector<double> sizes{15, 22, 9.5, 9.75, 10.33, 0.01};
    return {.family = families[texts_.below(3)],
            .size = sizes[texts_.below(6)],
            .weight = 100 + 50 * static_cast<int>(texts_.below(17)),
            .italic = texts_.below(2) == 0};
  }

  TextColour colour() {
    if (texts_.below(2) == 0)
      return Rgb{.red = 1, .green = 2, .blue = static_cast<std::uint8_t>(texts_.below(9))};
    static const std::vector<PaletteColour> names{PaletteColour::ink, PaletteColour::muted,
                                                  PaletteColour::quote};
    return names[texts_.below(3)];
  }

  std::optional<ParagraphStyle> paragraphStyle() {
    static const std::vector<std::optional<ParagraphStyle>> styles{
        std::nullopt, ParagraphStyle{.lineHeight = 283, .spacing = 6},
        ParagraphStyle{.lineHeight = 283,
                       .spacing = 6,
                       .firstLineIndent = 11,
                       .headIndent = 33,
                       .tabStops = {33},
                       .defaultTabInterval = 33},
        ParagraphStyle{.lineHeight = 283, .firstLineIndent = 22, .headIndent = 22, .tailIndent = -22},
        ParagraphStyle{.spacing = 0.05, .firstLineIndent = -7.35, .tailIndent = 300, .tabStops = {1.5, 400}}};
    return styles[texts_.below(static_cast<unsigned>(styles.size()))];
  }

  testing::RandomText texts_;
};

TEST(RtfTest, WhatIsWrittenIsReadAgain) {
  RandomDocuments documents(1);
  for (int round = 0; round < 400; ++round) {
    const AttributedText document = documents.next();
    const std::string rtf = writeRtf(document);
    const auto read = readRtf(rtf);
    ASSERT_TRUE(read);
    ASSERT_TRUE(*read == document) << described(document) << "\n" << described(*read) << "\n" << rtf;
    EXPECT_EQ(writeRtf(*read), rtf);
    EXPECT_EQ(rtf.find_first_not_of("\n"), 0U);
    for (const char byte : rtf) ASSERT_TRUE(byte == '\n' || (byte >= ' ' && byte < 0x7F));
  }
}

TEST(RtfTest, WhatRtfCannotHoldComesBackAsTheNearest) {
  const auto font = [](double size, int weight) {
    return TextAttributes{.font = Font{.family = "A", .size = size, .weight = weight}};
  };
  ParagraphStyle style{.lineHeight = -1, .spacing = 1e9, .tabStops = {90, 20, 20}};
  style.tabStops.resize(40, 30);
  const std::string longName(300, 'x');
  const std::vector<std::pair<TextAttributes, std::string>> rows{
      {font(0, 400), "A 12 400"},
      {font(-3, 0), "A 12 1"},
      {font(std::nan(""), -7), "A 12 1"},
      {font(1e9, 5000), "A 10000 1000"},
      {{.font = Font{.family = longName, .size = 9}}, longName.substr(0, 256) + " 9 400"},
      {{.underline = 7, .strikethrough = -1}, "under 1, through 1"},
      {{.underline = 0, .strikethrough = 0}, ""},
      {{.link = std::string(8192, 'x')}, "to " + std::string(8192, 'x')},
      {{.link = std::string(8193, 'x')}, ""},
      {{.link = "a\xFF"}, "to a\uFFFD"},
      {{.paragraphStyle = style}, "line 0 after 50000 indent 0 0 0 tabs [20, 30, 90] every 0"}};
  for (const auto& [attributes, back] : rows) {
    AttributedText text;
    text.append(u"a", attributes);
    EXPECT_EQ(described(*readRtf(writeRtf(text))), "a" + (back.empty() ? back : '<' + back + '>'));
  }
}

TEST(RtfTest, AnUnfinishedDocumentIsReadAsFarAsItGoes) {
  RandomDocuments documents(2);
  for (int round = 0; round < 10; ++round) {
    const AttributedText document = documents.next();
    const std::u16string whole = document.text();
    const std::string rtf = writeRtf(document);
    std::u16string text;
    for (std::size_t length = 5; length < rtf.size(); ++length) {
      const std::size_t before = text.size();
      text = readRtf(std::string_view(rtf).substr(0, length))->text();
      // What stands last may be half a word, which may mean a character and a line break that the whole does
      // not.
      ASSERT_GE(text.size() + 2, before) << rtf.substr(0, length);
      const std::size_t sure = text.empty() ? 0 : text.size() - 1;
      ASSERT_EQ(text.substr(0, sure), whole.substr(0, sure)) << rtf.substr(0, length);
    }
    EXPECT_EQ(text, whole);
  }
}

TEST(RtfTest, DocumentsThatAskForTooMuchKeepTheirText) {
  std::string deep = "{\\rtf1 a";
  for (int depth = 0; depth < 200'000; ++depth) deep += "{\\b b";
  EXPECT_EQ(readRtf(deep)->length(), 10'000U);
  std::string restless =
      R"({\rtf1{\field{\*\fldinst HYPERLINK ")" + std::string(8000, 'x') + R"("}{\fldrslt )";
  for (int run = 0; run < 60'000; ++run) restless += "\\fs" + std::to_string(1 + run % 20) + " a";
  const auto text = readRtf(restless + "}}}");
  EXPECT_EQ(text->length(), 60'000U);
  std::size_t runs = 0;
  text->forEachRun({.length = text->length()}, [&](const AttributedText::Run&) { ++runs; });
  EXPECT_LT(runs, 35'000U);  // of 8 kB each
  for (const std::string& greedy : testing::greedyRtf(5000)) {
    const auto read = readRtf(greedy);
    const std::string written = writeRtf(*read);
    EXPECT_LT(written.size(), 64 * greedy.size()) << greedy.substr(greedy.size() - 50);
    EXPECT_TRUE(*readRtf(written) == *read) << greedy.substr(greedy.size() - 50);
  }
}

/// The control words of a document with nothing left out.
std::set<std::string> wordsOf(std::string_view rtf) {
  std::set<std::string> words;
  RtfTokenizer tokens(rtf);
  for (auto token = tokens.next(); token.kind != RtfToken::Kind::end; token = tokens.next()) {
    if (token.kind == RtfToken::Kind::word) words.emplace(token.text);
  }
  return words;
}

/// Word by word, as docs/rtf.md has it: what is done with it, and what becomes of it.
std::map<std::string, std::string> documentedWords() {
  std::map<std::string, std::string> rows;
  std::ifstream file(testing::sourceTree() / "docs/rtf.md");
  for (std::string line; std::getline(file, line);) {
    if (!line.starts_with("| `")) continue;
    const std::size_t end = line.find(" | ");
    std::istringstream names(line.substr(2, end - 2));
    for (std::string name; names >> name;) rows[name.substr(1, name.size() - 2)] = line.substr(end + 3);
  }
  return rows;
}

TEST(RtfTest, TheTableOfWordsHoldsForWriterAndManual) {
  std::set<std::string> written;
  RandomDocuments documents(3);
  for (int round = 0; round < 100; ++round) written.merge(wordsOf(writeRtf(documents.next())));
  std::set<std::string> known;
  std::map<std::string, std::string> rows;
  for (const RtfWordEntry& entry : rtfWords()) {
    std::istringstream names{std::string(entry.names)};
    for (std::string name; names >> name;) {
      EXPECT_EQ(&findRtfWord(name), &entry) << name;
      if (entry.written) known.insert(name);
      const bool isLost = entry.word == RtfWord::ignored;
      const std::string use = isLost ? "ignored" : entry.word == RtfWord::skipped ? "skipped" : "read";
      rows[name] =
          fmt::format("{} | {} |", entry.written ? isLost ? "written" : "read, written" : use, entry.meaning);
    }
  }
  EXPECT_EQ(written, known);
  EXPECT_EQ(documentedWords(), rows);
}

}  // namespace
}  // namespace pell
