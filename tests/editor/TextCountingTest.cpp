#include <gtest/gtest.h>
#include <string>
#include <unicode/uchar.h>
#include <unicode/utf8.h>
#include <vector>

#include "editor/GraphemeClusters.h"
#include "editor/IcuClusters.h"
#include "editor/RandomText.h"
#include "editor/TextCounting.h"
#include "stores/Text.h"

namespace pell {
namespace {

TEST(TextCountingTest, Counts) {
  struct Case {
    std::string text;
    TextStats stats;
  };
  const std::vector<Case> cases{
      {"", TextStats::empty},
      {" \t\r\n\u2003 ", {0, 5, 0}},
      {"one  two\nthree", {3, 14, 11}},
      {"one  two\r\nthree", {3, 14, 11}},
      {"well - done, e-mail", {4, 19, 16}},  // punctuation goes with its word; a lone dash is one
      {"a\r\r\nb", {2, 3, 2}},               // the pair becomes one line feed, which joins the CR before it
      {"a\r\r\r\nb\r\r\n", {2, 5, 2}},
      {"मैं हिंदी में लिखता हूँ।", {5, 13, 9}},
      {"我今天很高兴。", {1, 7, 7}},
      {"अ आ", {2, 3, 2}},
      {"no\u00A0break\u3000wide\u2028line\u0085next", {5, 23, 19}},
      {"zero\u200Bwidth", {1, 10, 10}},  // no white space
      {"👨‍👩‍👧 🇩🇪🇫🇷 👋🏽", {3, 6, 4}},
      {"a \u0301b", {2, 3, 2}},   // a mark on a blank goes with the blank
      {"a\n\u0301b", {2, 4, 2}},  // none on a line break; without that it joins the letter
      {"a\u0600 b", {1, 3, 3}},   // the sign takes the blank for its letter
      {"🇩 🇪", {2, 3, 1}},         // neighbours join once the blank is gone
      {"\xFF \xC3", {2, 3, 2}},
  };
  for (const Case& c : cases) {
    const TextStats stats = TextCounting::stats(c.text);
    EXPECT_EQ(stats.words, c.stats.words) << c.text;
    EXPECT_EQ(stats.characters, c.stats.characters) << c.text;
    EXPECT_EQ(stats.charactersNoSpaces, c.stats.charactersNoSpaces) << c.text;
  }
}

bool isSeparator(std::string_view character) {
  UChar32 first;
  std::size_t at = 0;
  U8_NEXT(reinterpret_cast<const std::uint8_t*>(character.data()), at, character.size(), first);
  return first >= 0 && u_isUWhiteSpace(first);
}

/// The same, slowly and with ICU alone.
TextStats plainStats(std::string text) {
  for (std::size_t at = 0; (at = text.find("\r\n", at)) != std::string::npos; ++at) text.erase(at, 1);
  TextStats stats;
  bool inWord = false;
  for (const auto character : testing::icuClusters(trimmed(text))) {
    stats.words += !isSeparator(character) && !inWord;
    inWord = !isSeparator(character);
  }
  std::string kept;
  const auto characters = testing::icuClusters(text);
  for (const auto character : characters) {
    if (!isSeparator(character)) kept += character;
  }
  stats.characters = static_cast<std::int64_t>(characters.size());
  stats.charactersNoSpaces = static_cast<std::int64_t>(testing::icuClusters(kept).size());
  return stats;
}

void expectClustersOfIcu(std::string_view text) {
  const auto expected = testing::icuClusters(text);
  std::vector<std::string_view> clusters;
  GraphemeClusters walk(text);
  for (auto next = walk.next(); !next.empty(); next = walk.next()) clusters.push_back(next);
  ASSERT_EQ(clusters, expected);
  ASSERT_EQ(GraphemeClusters::count(text), static_cast<std::int64_t>(expected.size()));
  std::size_t length = 0;
  for (std::size_t limit = 0; limit < std::min<std::size_t>(expected.size(), 60); ++limit) {
    ASSERT_EQ(GraphemeClusters::prefix(text, static_cast<std::int64_t>(limit)).size(), length);
    length += expected[limit].size();
  }
}

/// Plain stretches, which are counted in blocks, with something delicate before, between and behind.
TEST(TextCountingTest, PlainStretchesAsWithIcuAlone) {
  const std::vector<std::string> pieces{"\u0600 ", " \u0301", "\u0301", "é", "\u00A0", "\r\n", "\u0600"};
  for (unsigned seed = 1; seed <= 1500; ++seed) {
    testing::RandomText random(seed);
    std::string text;
    for (unsigned stretch = 0; stretch < 4; ++stretch) {
      for (unsigned length = random.below(80); length > 0; --length) {
        text += "ab \t\n\x0E"[random.below(6)];
      }
      text += pieces[random.below(static_cast<unsigned>(pieces.size()))];
    }
    ASSERT_EQ(TextCounting::stats(text), plainStats(text)) << "seed " << seed << ": " << text;
    ASSERT_NO_FATAL_FAILURE(expectClustersOfIcu(text)) << "seed " << seed;
  }
}

TEST(TextCountingTest, RandomTextsAsWithIcuAlone) {
  for (unsigned seed = 1; seed <= 4000; ++seed) {
    SCOPED_TRACE(seed);
    testing::RandomText random(seed);
    const std::string text = random.text(static_cast<int>(1 + random.below(40)));
    ASSERT_EQ(TextCounting::stats(text), plainStats(text)) << text;
    ASSERT_EQ(TextCounting::words(text), TextCounting::stats(text).words);
    ASSERT_NO_FATAL_FAILURE(expectClustersOfIcu(text));
  }
}

/// Each code point of the tables between two neighbours of each kind.
TEST(TextCountingTest, EveryNeighbourAsWithIcuAlone) {
  const std::vector<UChar32> neighbours{'a', ' ', '\r', 0x301, 0x915, 0x94D, 0x200D, 0x600, 0x1F469};
  for (UChar32 character = 0; character < 0x2070; character == 0x97F ? character = 0x2000 : ++character) {
    std::string text;
    for (const UChar32 before : neighbours) {
      for (const UChar32 after : neighbours) {
        for (const UChar32 each : {before, character, after}) testing::RandomText::append(text, each);
        text += '\n';
      }
    }
    SCOPED_TRACE(character);
    ASSERT_NO_FATAL_FAILURE(expectClustersOfIcu(text));
  }
}

}  // namespace
}  // namespace pell
