#include <fstream>
#include <gtest/gtest.h>
#include <nlohmann/json.hpp>
#include <sstream>

#include "SourceTree.h"
#include "platform/portable/JsonUserDefaults.h"
#include "stores/AppSettings.h"
#include "support/MemoryLog.h"
#include "support/MemoryServices.h"
#include "support/TemporaryDirectory.h"

namespace pell::testing {
namespace {

namespace fs = std::filesystem;
using Rules = StyleSeeds::Rules;

Rules with(Rules rules, const Rules& changes) {
  for (const auto& [key, style] : changes) rules[key] = style;
  return rules;
}

Rules without(Rules rules, const std::string& key) {
  rules.erase(key);
  return rules;
}

/// The file that an earlier (or later, or careless) program left, as this version takes it over.
TEST(StyleSeedUpgradesTest, OfFilesFromEachVersion) {
  TemporaryDirectory directory;
  const fs::path file = directory.path() / "defaults.json";
  MemoryLog sink;
  MemoryLoginItem loginItem;
  // The platform's own rules.
  const Rules own{{"org.gnome.gedit", "markdown-note-v1"}, {"org.example.Mail", "gmail-email-v2"}};
  std::vector<StyleRule> supplement;
  for (const auto& [key, style] : own) supplement.push_back({.key = key, .style = style});
  const auto launch = [&] {
    JsonUserDefaults defaults(file, Log(sink));
    const AppSettings settings(defaults, loginItem, Log(sink), supplement);
  };
  const auto content = [&] {
    std::ostringstream text;
    text << std::ifstream(file, std::ios::binary).rdbuf();
    return text.str();
  };
  const Rules apps = with(StyleSeeds::appStyleRules(), own);
  const Rules hosts = StyleSeeds::hostStyleRules();
  struct Case {
    std::string file;
    Rules apps;
    Rules hosts;
  };
  const std::vector<Case> cases{
      {"version-1", apps, hosts},
      // A rule that was removed or changed comes back with the table that names it anew, the platform's too.
      {"version-2", apps, hosts},
      {"version-3", apps, with(hosts, {{"forum.example.org", "forum-answer-v1"}})},
      {"version-4", with(apps, {{"com.apple.Notes", "markdown-note-v1"}}), without(hosts, "google.com")},
      {"version-4-emptied",
       with(own, {{"com.tinyspeck.slackmacgap", "slack-message-v2"},
                  {"com.anthropic.claudefordesktop", "ai-prompt-v2"},
                  {"com.microsoft.VSCode", "code-comment-v2"},
                  {"com.apple.dt.Xcode", "code-comment-v2"}}),
       {{"app.slack.com", "slack-message-v2"},
        {"chatgpt.com", "ai-prompt-v2"},
        {"chat.openai.com", "ai-prompt-v2"},
        {"claude.ai", "ai-prompt-v2"},
        {"gemini.google.com", "ai-prompt-v2"},
        {"perplexity.ai", "ai-prompt-v2"},
        {"copilot.microsoft.com", "ai-prompt-v2"},
        {"aistudio.google.com", "ai-prompt-v2"}}},
      {"version-7",
       {{"com.microsoft.VSCode", "code-comment-v4"}, {"org.example.Future", "future-v1"}},
       {{"chatgpt.com", "ai-prompt-v4"}}},
      {"wrong-types", apps, hosts},
      {"wrong-types-seeded", apps, hosts},
  };
  for (const Case& c : cases) {
    const fs::path old = testing::sourceTree() / "tests/fixtures/defaults" / (c.file + ".json");
    ASSERT_TRUE(fs::exists(old)) << old;
    fs::copy_file(old, file, fs::copy_options::overwrite_existing);
    auto expected = nlohmann::json::parse(content());
    expected["appStyleRules"] = c.apps;
    expected["hostStyleRules"] = c.hosts;
    expected["styleRulesSeeded"] = true;
    expected["styleRulesSeedVersion"] = 5;
    launch();
    const std::string upgraded = content();
    EXPECT_EQ(nlohmann::json::parse(upgraded), expected) << c.file;
    launch();
    EXPECT_EQ(content(), upgraded) << c.file;
  }
  EXPECT_TRUE(sink.lines().empty());
}

}  // namespace
}  // namespace pell::testing
