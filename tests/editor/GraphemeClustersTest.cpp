#include <fstream>
#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <sstream>

#include "editor/GraphemeClusters.h"
#include "editor/IcuClusters.h"
#include "editor/RandomText.h"

namespace pell {
namespace {

using testing::icuClusters;
using testing::RandomText;

std::vector<std::string_view> ourClusters(std::string_view text) {
  std::vector<std::string_view> clusters;
  GraphemeClusters walk(text);
  for (auto next = walk.next(); !next.empty(); next = walk.next()) clusters.push_back(next);
  return clusters;
}

/// The published cases: hexadecimal code points, ÷ where a boundary is and × where none is.
TEST(GraphemeClustersTest, UnicodesOwnCases) {
  const char* path = "/usr/share/unicode/auxiliary/GraphemeBreakTest.txt";
  std::ifstream file(path);
  ASSERT_TRUE(file) << path << " is missing: install the package unicode-data";
  int cases = 0;
  for (std::string line; std::getline(file, line);) {
    std::istringstream fields(line.substr(0, line.find('#')));
    std::vector<std::string> expected;
    for (std::string field; fields >> field;) {
      if (field == "÷") {
        expected.emplace_back();
      } else if (field != "×") {
        RandomText::append(expected.back(), static_cast<UChar32>(std::stoul(field, nullptr, 16)));
      }
    }
    if (expected.empty()) continue;
    expected.pop_back();  // the boundary at the end begins nothing
    std::string text;
    for (const auto& cluster : expected) text += cluster;
    const auto found = ourClusters(text);
    EXPECT_EQ(std::vector<std::string>(found.begin(), found.end()), expected) << line;
    EXPECT_EQ(GraphemeClusters::count(text), static_cast<std::int64_t>(expected.size())) << line;
    ++cases;
  }
  EXPECT_GT(cases, 500);
}

TEST(GraphemeClustersTest, SyllablesOfDevanagari) {
  using ::testing::ElementsAre;
  struct Case {
    const char* text;
    std::vector<std::string_view> clusters;
  };
  const std::vector<Case> cases{
      {"नमस्ते", {"न", "म", "स्ते"}},
      {"स्त्री", {"स्त्री"}},
      {"हिंदी में", {"हिं", "दी", " ", "में"}},
      {"राष्ट्र", {"रा", "ष्ट्र"}},
      {"ड़्क", {"ड़्क"}},                  // the dot below does not part them
      {"क्\u200Dष", {"क्\u200Dष"}},      // asked to show the half form
      {"क्\u200Cष", {"क्\u200C", "ष"}},  // asked not to join
      {"कं्क", {"कं्", "क"}},              // a vowel's sign between consonant and virama
      {"अ्क", {"अ्", "क"}},              // a vowel has no conjuncts
      {"a्क", {"a्", "क"}},              // nor has a Latin letter
      {"क् क", {"क्", " ", "क"}},        //
      {"क्ক", {"क्ক"}},                  // ICU joins across scripts
      {"क्😀", {"क्", "😀"}},            //
      {"१२।", {"१", "२", "।"}},
  };
  for (const Case& c : cases) {
    EXPECT_EQ(ourClusters(c.text), c.clusters) << c.text;
    EXPECT_EQ(icuClusters(c.text), c.clusters) << c.text;
  }
}

}  // namespace
}  // namespace pell
