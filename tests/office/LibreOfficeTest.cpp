#include <QFile>
#include <fstream>
#include <gtest/gtest.h>
#include <sstream>

#include "editor/Described.h"
#include "editor/RichText.h"
#include "editor/RtfReader.h"
#include "editor/RtfWriter.h"
#include "office/FlatOdt.h"
#include "support/TemporaryDirectory.h"

namespace pell {
namespace {

using testing::described;

/// A note with every attribute that one can have.
AttributedText note() {
  const TextAttributes body = RichText::bodyAttributes();
  const auto with = [&](auto change) {
    TextAttributes attributes = body;
    attributes.font->family = "IBM Plex Sans";
    change(attributes);
    return attributes;
  };
  const auto plain = with([](TextAttributes&) {});
  const auto list = with([](auto& a) { a.paragraphStyle = RichText::listParagraphStyle(); });
  const auto quote = with([](auto& a) {
    a.paragraphStyle = RichText::quoteParagraphStyle();
    a.foreground = PaletteColour::muted;
    a.background = PaletteColour::quote;
  });
  AttributedText text(u"Title: {braces} & \\\n",
                      with([](auto& a) { a.font->size = 22, a.font->weight = Font::bold; }));
  text.append(u"Subheading\n", with([](auto& a) { a.font->weight = Font::semibold; }));
  text.append(u"plain, ", plain);
  text.append(u"bold, ", with([](auto& a) { a.font->weight = Font::bold; }));
  text.append(u"italic, ", with([](auto& a) { a.font->italic = true; }));
  text.append(u"underlined, ", with([](auto& a) { a.underline = 1; }));
  text.append(u"struck, ", with([](auto& a) { a.strikethrough = 1; }));
  text.append(u"red", with([](auto& a) { a.foreground = PaletteColour::danger; }));
  text.append(u" on", with([](auto& a) { a.background = Rgb{.red = 1, .green = 2, .blue = 3}; }));
  text.append(u" in Mono 9.5\n",
              with([](auto& a) { a.font = Font{.family = "IBM Plex Mono", .size = 9.5}; }));
  text.append(u"see ", plain);
  text.append(u"this\nand ", with([](auto& a) { a.link = "https://example.org/?a=1&b=%20#c"; }));
  text.append(u"नमस्ते",
              with([](auto& a) { a.link = "https://example.org/?a=1&b=%20#c", a.font->italic = true; }));
  text.append(u" 👋🏽 a  b\u2028c\td\n\n", plain);
  text.append(u"•\tmilk\n12.\tbread\n", list);
  text.append(u"A quote.\n", quote);
  text.append(u"The end.\n", plain);
  return text;
}

/// What an eye, and LibreOffice, make of it: colours are fixed, a weight is bold or it is not, line heights
/// are whole percents, a tab interval belongs to the document. A break has its paragraph's style only.
AttributedText seen(const AttributedText& text) {
  constexpr int lineHeightOfPercents = 280;  // for 283
  const auto fix = [](std::optional<TextColour>& colour) {
    if (colour && colour->index() == 0) colour = rgb(std::get<PaletteColour>(*colour), Appearance::light);
  };
  AttributedText result;
  text.forEachRun({.length = text.length()}, [&](const AttributedText::Run& run) {
    TextAttributes attributes = run.attributes;
    if (attributes.font) attributes.font->weight = attributes.font->isBold() ? Font::bold : Font::regular;
    fix(attributes.foreground);
    fix(attributes.background);
    if (!attributes.paragraphStyle) attributes.paragraphStyle.emplace();
    attributes.paragraphStyle->defaultTabInterval = 0;
    if (attributes.paragraphStyle->lineHeight == 283)
      attributes.paragraphStyle->lineHeight = lineHeightOfPercents;
    const TextAttributes ofBreak{.paragraphStyle = attributes.paragraphStyle};
    for (const char16_t unit : text.text(run.range))
      result.append({&unit, 1}, unit == '\n' ? ofBreak : attributes);
  });
  return result;
}

class LibreOfficeTest : public ::testing::Test {
 protected:
  /// The file in another format, by LibreOffice in a home of its own.
  std::string converted(const std::string& contents, const std::string& from, const std::string& to) {
    const std::string folder = folder_.path();
    std::ofstream(folder + "/note." + from, std::ios::binary) << contents;
    const std::string command =
        "cd '" + folder + "' && HOME='" + folder + "' timeout 240 soffice '-env:UserInstallation=file://" +
        folder + "/profile' --headless --norestore --convert-to " + to + " note." + from + " >log 2>&1";
    EXPECT_EQ(std::system(command.c_str()), 0);
    std::ostringstream result;
    result << std::ifstream(folder + "/note." + to, std::ios::binary).rdbuf();
    return result.str();
  }

 private:
  testing::TemporaryDirectory folder_;
};

TEST_F(LibreOfficeTest, ShowsWhatANoteHasAndGivesItBack) {
  const std::string expected = described(seen(note()));
  const std::string odt = converted(writeRtf(note()), "rtf", "fodt");
  // Its last paragraph, which is empty, ends with no break in a note.
  AttributedText shown = testing::FlatOdt(QByteArray::fromStdString(odt)).text;
  ASSERT_FALSE(shown.isEmpty());
  shown.replace({.location = shown.length() - 1, .length = 1}, {});
  EXPECT_EQ(described(seen(shown)), expected);

  const auto back = readRtf(converted(odt, "fodt", "rtf"));
  ASSERT_TRUE(back);
  EXPECT_EQ(described(seen(*back)), expected);
}

}  // namespace
}  // namespace pell
