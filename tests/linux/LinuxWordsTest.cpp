#include <algorithm>
#include <filesystem>
#include <fstream>
#include <gtest/gtest.h>
#include <regex>
#include <set>
#include <sstream>
#include <string>
#include <vector>

#include "SourceTree.h"
#include "platform/linux/LinuxWords.h"

namespace pell::testing {
namespace {

namespace fs = std::filesystem;

/// What a user of this platform has never seen.
const std::vector<std::string> foreign = {
    "⌘", "⌥", "⌃", "System Settings", "macOS", "this Mac", "your Mac", "Your Mac", "globe"};

bool isForeign(const std::string& text) {
  return std::any_of(foreign.begin(), foreign.end(),
                     [&](const auto& sign) { return text.find(sign) != std::string::npos; });
}

/// The string literals of the product's sources, adjacent ones joined; the table itself is left out.
std::set<std::string> literalsOfTheSources() {
  const fs::path sources = testing::sourceTree() / "src";
  const std::regex comment(R"(//[^\n"]*\n)");
  const std::regex seam(R"("\s*\n\s*")");
  const std::regex literal(R"re("((?:[^"\\\n]|\\.)*)")re");
  std::set<std::string> literals;
  for (const auto& entry : fs::recursive_directory_iterator(sources)) {
    const auto extension = entry.path().extension();
    if ((extension != ".cpp" && extension != ".h") || entry.path().stem() == "LinuxWords") continue;
    std::stringstream content;
    content << std::ifstream(entry.path()).rdbuf();
    std::string text = std::regex_replace(content.str(), comment, "\n");
    text = std::regex_replace(text, seam, "");
    for (std::sregex_iterator at(text.begin(), text.end(), literal), end; at != end; ++at) {
      literals.insert((*at)[1]);
    }
  }
  return literals;
}

TEST(LinuxWordsTest, NoTextOfAnotherPlatformReachesTheUser) {
  const auto words = linuxWords();
  const auto literals = literalsOfTheSources();
  ASSERT_GT(literals.size(), 100u) << "the sources were not found";
  for (const auto& text : literals) {
    if (isForeign(text)) {
      EXPECT_FALSE(isForeign(words(text))) << text;
    }
  }
}

TEST(LinuxWordsTest, TheTableHoldsOnlyTextsThatAreSaid) {
  const auto words = linuxWords();
  const auto literals = literalsOfTheSources();
  for (const auto& wording : linuxWordings()) {
    EXPECT_TRUE(literals.contains(std::string(wording.product))) << "no source says: " << wording.product;
    EXPECT_EQ(words(wording.product), wording.here) << "an earlier line has the same text";
    EXPECT_NE(wording.product, wording.here);
  }
}

}  // namespace
}  // namespace pell::testing
