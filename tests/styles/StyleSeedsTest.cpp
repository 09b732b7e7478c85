#include <gtest/gtest.h>
#include <vector>

#include "styles/StyleResolver.h"
#include "styles/StyleSeeds.h"

namespace pell {
namespace {

TEST(StyleSeedsTest, HostsAreInTheFormThatIsLookedUp) {
  for (const auto& [host, style] : StyleSeeds::hostStyleRules()) {
    EXPECT_EQ(StyleResolver::normaliseHost(host), host);
  }
}

TEST(StyleSeedsTest, UpgradesSetTheRowsOfNewerTablesAlone) {
  struct Case {
    std::int64_t from;
    StyleSeeds::Upgrades upgrades;
    std::size_t rows;  // of an empty map
    std::string mail;  // of these rows "absent" is one that no newer table names
    std::string gitHub;
  };
  const std::vector<Case> cases{
      {-1, StyleSeeds::seedUpgrades, 45, "gmail-email-v2", "github-v1"},
      {0, StyleSeeds::seedUpgrades, 45, "gmail-email-v2", "github-v1"},
      {2, StyleSeeds::seedUpgrades, 45, "gmail-email-v2", "github-v1"},
      {4, StyleSeeds::seedUpgrades, 8, "absent", "absent"},
      {5, StyleSeeds::seedUpgrades, 0, "absent", "absent"},
      {9, StyleSeeds::seedUpgrades, 0, "absent", "absent"},
      {1, StyleSeeds::seedUpgrades.first(1), 3, "gmail-email-v1", "absent"},
      {1, StyleSeeds::seedUpgrades.first(2), 3, "gmail-email-v2", "absent"},
      {3, StyleSeeds::appSeedUpgrades, 19, "absent", "absent"},
      {4, StyleSeeds::appSeedUpgrades, 4, "absent", "absent"},
  };
  for (const Case& c : cases) {
    const auto added = StyleSeeds::applyingSeedUpgrades({}, c.from, c.upgrades);
    EXPECT_EQ(added.size(), c.rows) << c.from;
    auto rules = StyleSeeds::applyingSeedUpgrades(
        {{"mail.google.com", "absent"}, {"github.com", "absent"}, {"mine.example", "kept"}}, c.from,
        c.upgrades);
    EXPECT_EQ(rules["mail.google.com"], c.mail) << c.from;
    EXPECT_EQ(rules["github.com"], c.gitHub) << c.from;
    EXPECT_EQ(rules["mine.example"], "kept") << c.from;
  }
}

}  // namespace
}  // namespace pell
