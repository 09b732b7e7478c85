#include <gtest/gtest.h>
#include <nlohmann/json.hpp>

#include "app/NoteFiles.h"
#include "app/NotesListing.h"
#include "editor/RichText.h"

namespace pell {
namespace {

using namespace std::string_literals;

std::string importedText(std::string_view bytes) {
  const auto read = NoteFiles::read(bytes);
  const auto* content = std::get_if<NoteFiles::Content>(&read);
  if (!content) return "refused: " + std::get<NoteFiles::Refusal>(read).reason;
  EXPECT_EQ(RichText::attributed(content->rtf).utf8(), content->text);
  return content->text;
}

TEST(NoteFilesTest, ReadsRtfAndTextWholeAndRefusesTheRest) {
  const std::pair<std::string, std::string_view> cases[]{
      {"", ""},
      {"one\r\ntwo\rthree\n", "one\ntwo\nthree\n"},
      {"\xEF\xBB\xBFmark", "mark"},
      {"\xFF\xFE"s + "h\0\x3D\xD8\0\xDE"s, "h\U0001F600"},
      {"\xFE\xFF\x09\x15"s, "क"},
      {"{\\rtf1\\ansi one\\par {\\b two} \\'e9}", "one\ntwo é"},
      {"{braces}", "{braces}"},
      {"caf\xE9", "refused: this is neither RTF nor text in UTF-8 or UTF-16"},
      {"a\0b"s, "refused: this is no text"},
      {"\xFF\xFEh", "refused: its UTF-16 is cut off"},
      {"{\\rtf1{\\pict 00}}", "refused: no text could be found in this RTF"},
  };
  for (const auto& [bytes, expected] : cases) EXPECT_EQ(importedText(bytes), expected);
}

TEST(NoteFilesTest, WritesWhatIsThereWhereTheRichBytesAreDamagedToo) {
  const Note note{.id = "A", .title = "T", .rtf = "{\\rtf1 {\\b bold} text}", .text = "bold text"};
  EXPECT_EQ(NoteFiles::content(note, NoteFormat::rtf), note.rtf);
  EXPECT_EQ(NoteFiles::content(note, NoteFormat::text), "bold text");
  EXPECT_EQ(NoteFiles::content(note, NoteFormat::markdown), "**bold** text\n");
  for (const char* rtf : {"", "no rtf", "{\\rtf1 all th"}) {
    const Note damaged{.id = "A", .title = "T", .rtf = rtf, .text = "all the words"};
    EXPECT_EQ(NoteFiles::content(damaged, NoteFormat::rtf),
              RichText::rtf(RichText::bodyParagraph("all the words")));
    EXPECT_EQ(NoteFiles::content(damaged, NoteFormat::text), "all the words");
    EXPECT_EQ(NoteFiles::content(damaged, NoteFormat::markdown), "all the words\n");
  }
}

TEST(NoteFilesTest, ImportsRtfInTheLooksOfANote) {
  const auto read = NoteFiles::read(
      "{\\rtf1{\\colortbl;\\red255\\green255\\blue255;}\\fs36\\cf1\\cb1\\li2000 Loud\\par \\bullet\\tab "
      "item}");
  const AttributedText note = RichText::attributed(std::get<NoteFiles::Content>(read).rtf);
  EXPECT_EQ(note.attributesAt(0).font->size, 18);
  EXPECT_EQ(note.attributesAt(0).background, std::nullopt);
  EXPECT_EQ(note.attributesAt(0).paragraphStyle, RichText::paragraphStyle(0));
  EXPECT_EQ(note.attributesAt(5).paragraphStyle, RichText::listParagraphStyle());
}

TEST(NoteFilesTest, NamesFilesSafelyAfterTitles) {
  const std::string longTitle(300, 'x');
  const std::tuple<std::string, int, std::string> cases[]{
      {"Plain title", 1, "Plain title.md"},
      {"Plain title", 3, "Plain title 3.md"},
      {"../etc/pass\nwd\x1b", 1, "etc pass wd.md"},
      {"-rf .", 1, "rf.md"},
      {"///", 1, "Note.md"},
      {"क्या?", 1, "क्या.md"},
      {longTitle, 1, longTitle.substr(0, 200) + ".md"},
  };
  for (const auto& [title, attempt, expected] : cases) {
    EXPECT_EQ(NoteFiles::fileName({.id = "A", .title = title}, NoteFormat::markdown, attempt), expected);
  }
}

TEST(NotesListingTest, NewestStandsLastAndEscapesDoNotReachTheTerminal) {
  const NoteSummary newest{.id = "B", .title = "two\x1b[2J", .preview = "p", .text = "t\xff"};
  const auto time = [](Date) { return std::string("now"); };
  EXPECT_EQ(notesText({newest, {.id = "A", .title = "one"}}, time), "A  now  one\nB  now  two\\x1b[2J\n");
  const auto parsed = nlohmann::json::parse(notesJson({newest}));
  EXPECT_EQ(parsed[0]["title"], "two\x1b[2J");
  EXPECT_EQ(parsed[0]["text"], "t\uFFFD");
  EXPECT_EQ(parsed[0]["created_at"], 0.0);
}

}  // namespace
}  // namespace pell
