#include <gtest/gtest.h>
#include <set>
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

TEST(StyleSeedsTest, LaterTablesWin) {
  const auto apps = StyleSeeds::appStyleRules();
  EXPECT_EQ(apps.size(), 19u);
  EXPECT_EQ(apps.at("com.apple.mail"), "gmail-email-v2");
  EXPECT_EQ(apps.at("com.microsoft.VSCode"), "code-comment-v2");
  const auto hosts = StyleSeeds::hostStyleRules();
  EXPECT_EQ(hosts.size(), 45u);
  EXPECT_EQ(hosts.at("linkedin.com"), "linkedin-post-v2");  // moved back by the third version
  EXPECT_EQ(hosts.at("github.com"), "github-v1");
  EXPECT_EQ(hosts.at("chatgpt.com"), "ai-prompt-v2");
  // Nothing new is given a style that has been replaced.
  for (const auto& rules : {apps, hosts}) {
    for (const auto& [key, style] : rules) {
      EXPECT_FALSE((std::set<std::string>{"gmail-email-v1", "linkedin-post-v1", "slack-message-v1",
                                          "ai-prompt-v1", "code-comment-v1"}
                        .contains(style)))
          << key;
    }
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
