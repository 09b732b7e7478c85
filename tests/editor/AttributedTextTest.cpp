#include <gtest/gtest.h>
#include <random>

#include "editor/AttributedText.h"
#include "editor/RichText.h"
#include "editor/Utf16.h"

namespace pell {
namespace {

/// The same by a unit and its attributes at a time.
struct Model {
  std::u16string text;
  std::vector<TextAttributes> attributes;

  void replace(TextRange range, const Model& with) {
    text.replace(range.location, range.length, with.text);
    const auto at = attributes.begin() + static_cast<std::ptrdiff_t>(range.location);
    const auto next = attributes.erase(at, at + static_cast<std::ptrdiff_t>(range.length));
    attributes.insert(next, with.attributes.begin(), with.attributes.end());
  }
  Model part(TextRange range) const {
    const auto at = attributes.begin() + static_cast<std::ptrdiff_t>(range.location);
    return {text.substr(range.location, range.length), {at, at + static_cast<std::ptrdiff_t>(range.length)}};
  }
  TextRange run(std::size_t position) const {
    std::size_t start = position;
    std::size_t end = position + 1;
    while (start > 0 && attributes[start - 1] == attributes[position]) --start;
    while (end < text.size() && attributes[end] == attributes[position]) ++end;
    return {.location = start, .length = end - start};
  }
  TextRange paragraph(TextRange range) const {
    std::size_t start = range.location;
    std::size_t end = range.length > 0 ? range.end() - 1 : range.location;
    while (start > 0 && text[start - 1] != u'\n') --start;
    while (end < text.size() && text[end] != u'\n') ++end;
    if (end < text.size()) ++end;
    return {.location = start, .length = end - start};
  }
};

class Both {
 public:
  explicit Both(unsigned seed) : random_(seed) {}

  void step() {
    switch (below(8)) {
      case 0:
        return change();
      case 1:
        return append();
      case 2: {  // a part of it, or the whole, elsewhere
        const TextRange from = range();
        const TextRange to = range();
        const bool isWhole = model.text.size() < 200 && below(4) == 0;
        const Model part = isWhole ? model : model.part(from);
        if (isWhole) {
          text.replace(to, text);
        } else {
          text.replace(to, text.subtext(from));
        }
        return model.replace(to, part);
      }
      case 3: {  // a copy is a value of its own
        const AttributedText copy = text;
        const Model before = model;
        change();
        append();
        text = copy;
        model = before;
        return;
      }
      default: {
        const TextRange to = below(3) == 0 ? range() : TextRange{.location = below(model.text.size() + 1)};
        const auto [with, same] = piece();
        text.replace(to, with);
        model.replace(to, same);
      }
    }
  }

  void compare() {
    ASSERT_EQ(text.text(), model.text);
    ASSERT_EQ(text.utf8(), utf8Of(model.text));
    std::size_t at = 0;
    std::size_t runs = 0;
    text.forEachRun({.location = 0, .length = text.length()}, [&](const AttributedText::Run& run) {
      ASSERT_EQ(run.range, model.run(at));
      ASSERT_TRUE(run.attributes == model.attributes[at]);
      at = run.range.end();
      ++runs;
    });
    ASSERT_EQ(at, text.length());
    ASSERT_EQ(text.runCount(), runs);
    const TextRange any = range();
    ASSERT_EQ(text.paragraphRange(any), model.paragraph(any));
    ASSERT_EQ(text.text(any), model.part(any).text);
    ASSERT_EQ(text.utf8(any), utf8Of(model.part(any).text));
    if (text.isEmpty()) return;
    const std::size_t position = below(text.length());
    ASSERT_EQ(text[position], model.text[position]);
    ASSERT_EQ(text.runAt(position).range, model.run(position));
    AttributedText again;
    for (std::size_t unit = 0; unit < model.text.size(); ++unit) {
      again.append(std::u16string_view(&model.text[unit], 1), model.attributes[unit]);
    }
    ASSERT_TRUE(again == text);
    again.changeAttributes({.location = position, .length = 1}, [](auto& with) { with.link = "elsewhere"; });
    ASSERT_FALSE(again == text);
  }

  AttributedText text;
  Model model;

 private:
  std::size_t below(std::size_t limit) { return random_() % limit; }
  TextRange range() {
    const std::size_t location = below(model.text.size() + 1);
    return {.location = location,
            .length = below(std::min<std::size_t>(model.text.size() - location, 40) + 1)};
  }
  TextAttributes attributes() {
    TextAttributes any;
    if (below(2) == 0) any.underline = static_cast<int>(below(2));
    if (below(3) == 0) any.link = "https://example.org";
    return any;
  }
  std::u16string units() {
    static constexpr char16_t alphabet[] = {u'a', u'\n', u'é', u'ह', 0xD83C, 0xDF99, u'\u2028', u'\v'};
    std::u16string units;
    for (std::size_t left = below(6); left > 0; --left) units += alphabet[below(std::size(alphabet))];
    return units;
  }
  void append() {
    const std::u16string more = units();
    const TextAttributes with = attributes();
    text.append(more, with);
    model.replace({.location = model.text.size()}, {more, std::vector<TextAttributes>(more.size(), with)});
  }
  void change() {
    const TextRange where = range();
    const TextAttributes with = attributes();
    bool isOther = false;
    for (std::size_t at = where.location; at < where.end(); ++at) {
      isOther |= model.attributes[at].underline != with.underline;
      model.attributes[at].underline = with.underline;
    }
    EXPECT_EQ(text.changeAttributes(where, [&](auto& old) { old.underline = with.underline; }), isOther);
  }
  std::pair<AttributedText, Model> piece() {
    Both made(static_cast<unsigned>(random_()));
    for (std::size_t runs = below(4); runs > 0; --runs) made.append();
    return {made.text, made.model};
  }

  std::mt19937 random_;
};

TEST(AttributedText, DoesWhatAPlainListOfUnitsDoes) {
  for (unsigned seed = 0; seed < 40; ++seed) {
    Both both(seed);
    for (int step = 0; step < 150; ++step) {
      both.step();
      both.compare();
      if (::testing::Test::HasFatalFailure()) FAIL() << "seed " << seed << ", step " << step;
    }
  }
}

TEST(AttributedText, HasOneLineBreakOnlyAndNoNul) {
  const std::vector<std::pair<std::u16string, std::u16string>> cases{
      {u"a\r\nb", u"a\nb"},
      {u"a\rb\r", u"a\nb\n"},
      {u"\r\n\r\n", u"\n\n"},
      {u"\n\r", u"\n\n"},
      {u"a\u2029b", u"a\nb"},
      {u"\r\u2029\n", u"\n\n\n"},
      {u"a\u2028b\v\f", u"a\u2028b\v\f"},
      {std::u16string(u"a\0b\0", 4), u"a\uFFFDb\uFFFD"},
  };
  for (const auto& [foreign, own] : cases) {
    EXPECT_EQ(AttributedText(foreign).text(), own);
    AttributedText text(u"x");
    text.append(foreign, TextAttributes());
    EXPECT_EQ(text.text(), u"x" + own);
  }
}

TEST(AttributedText, IsEmptyWhenItWasMovedFrom) {
  AttributedText text(u"abc");
  text.append(u"d", TextAttributes());
  const AttributedText taken = std::move(text);
  EXPECT_EQ(text.length(), 0u);
  text.append(u"b", TextAttributes());
  EXPECT_EQ(text.text(), u"b");
}

TEST(AttributedText, ConvertsWhatIsNoUnicodeToReplacementCharacters) {
  const AttributedText text(std::u16string{u'a', 0xDC00, u'b', 0xD800});
  EXPECT_EQ(text.utf8(), "a\uFFFDb\uFFFD");
  EXPECT_EQ(text.text(), (std::u16string{u'a', 0xDC00, u'b', 0xD800}));
  EXPECT_EQ(utf16Of("a\xFF\xE0\xA4"), u"a\uFFFD\uFFFD");
  std::u16string pairs(1, u'.');  // so that pairs lie over the borders of pieces
  while (pairs.size() < 150'000) pairs += u"🎙";
  EXPECT_EQ(utf16Of(utf8Of(pairs)), pairs);
}

}  // namespace
}  // namespace pell
