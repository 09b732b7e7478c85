#include "styles/StyleSeeds.h"

#include <array>
#include <initializer_list>

namespace pell {
namespace {

using Style = StyleSeeds::Style;
using Rule = StyleSeeds::Rule;
using Upgrade = StyleSeeds::Upgrade;

constexpr std::array appV1{
    Rule{"com.apple.mail", Style::smart},
    Rule{"com.apple.MobileSMS", Style::smart},
    Rule{"com.apple.Notes", Style::smart},
    Rule{"com.apple.iWork.Pages", Style::smart},
    Rule{"net.whatsapp.WhatsApp", Style::smart},
    Rule{"com.tinyspeck.slackmacgap", Style::smart},
    Rule{"notion.id", Style::smart},
    Rule{"com.microsoft.VSCode", Style::basic},
    Rule{"com.apple.dt.Xcode", Style::basic},
    Rule{"com.apple.Terminal", Style::basic},
    Rule{"com.googlecode.iterm2", Style::basic},
};

constexpr std::array appV4{
    Rule{"com.tinyspeck.slackmacgap", Style::slackV1},
    Rule{"net.whatsapp.WhatsApp", Style::whatsApp},
    Rule{"com.apple.MobileSMS", Style::plainMessage},
    Rule{"com.anthropic.claudefordesktop", Style::aiPromptV1},
    Rule{"com.apple.Notes", Style::quickNote},
    Rule{"com.apple.TextEdit", Style::quickNote},
    Rule{"com.apple.mail", Style::email},
    Rule{"com.microsoft.Word", Style::document},
    Rule{"com.apple.iWork.Pages", Style::document},
    Rule{"com.microsoft.Excel", Style::spreadsheet},
    Rule{"com.apple.iWork.Numbers", Style::spreadsheet},
    Rule{"com.apple.iCal", Style::calendarEvent},
    Rule{"com.granola.app", Style::meetingNotes},
    Rule{"us.zoom.xos", Style::plainMessage},
    Rule{"notion.id", Style::markdownNote},
    Rule{"com.microsoft.VSCode", Style::codeCommentV1},
    Rule{"com.apple.dt.Xcode", Style::codeCommentV1},
    Rule{"com.apple.Terminal", Style::terminal},
    Rule{"com.googlecode.iterm2", Style::terminal},
};

constexpr std::array appV5{
    Rule{"com.tinyspeck.slackmacgap", Style::slack},
    Rule{"com.anthropic.claudefordesktop", Style::aiPrompt},
    Rule{"com.microsoft.VSCode", Style::codeComment},
    Rule{"com.apple.dt.Xcode", Style::codeComment},
};

constexpr std::array hostV1{
    Rule{"mail.google.com", Style::email},     //
    Rule{"outlook.office.com", Style::email},  //
    Rule{"linkedin.com", Style::linkedIn},     //
    Rule{"web.whatsapp.com", Style::smart},    //
    Rule{"docs.google.com", Style::smart},     //
    Rule{"github.com", Style::basic},
};

constexpr std::array hostV2{
    Rule{"mail.google.com", Style::emailV1},
    Rule{"outlook.office.com", Style::emailV1},
    Rule{"linkedin.com", Style::linkedInV1},
};

constexpr std::array hostV3{
    Rule{"mail.google.com", Style::email},
    Rule{"outlook.office.com", Style::email},
    Rule{"linkedin.com", Style::linkedIn},
};

constexpr std::array hostV4{
    Rule{"app.slack.com", Style::slackV1},
    Rule{"teams.microsoft.com", Style::teams},
    Rule{"teams.live.com", Style::teams},
    Rule{"web.whatsapp.com", Style::whatsApp},
    Rule{"web.telegram.org", Style::plainMessage},
    Rule{"messages.google.com", Style::plainMessage},
    Rule{"discord.com", Style::discord},
    Rule{"chatgpt.com", Style::aiPromptV1},
    Rule{"chat.openai.com", Style::aiPromptV1},
    Rule{"claude.ai", Style::aiPromptV1},
    Rule{"gemini.google.com", Style::aiPromptV1},
    Rule{"perplexity.ai", Style::aiPromptV1},
    Rule{"copilot.microsoft.com", Style::aiPromptV1},
    Rule{"aistudio.google.com", Style::aiPromptV1},
    Rule{"mail.google.com", Style::email},
    Rule{"outlook.office.com", Style::email},
    Rule{"outlook.live.com", Style::email},
    Rule{"mail.proton.me", Style::email},
    Rule{"app.intercom.com", Style::support},
    Rule{"linkedin.com", Style::linkedIn},
    Rule{"x.com", Style::xPost},
    Rule{"twitter.com", Style::xPost},
    Rule{"facebook.com", Style::facebook},
    Rule{"instagram.com", Style::instagram},
    Rule{"reddit.com", Style::reddit},
    Rule{"stackoverflow.com", Style::forum},
    Rule{"quora.com", Style::forum},
    Rule{"news.ycombinator.com", Style::forum},
    Rule{"github.com", Style::gitHub},
    Rule{"gitlab.com", Style::gitHub},
    Rule{"linear.app", Style::issueTracker},
    Rule{"app.asana.com", Style::issueTracker},
    Rule{"trello.com", Style::issueTracker},
    Rule{"app.clickup.com", Style::issueTracker},
    Rule{"app.hubspot.com", Style::crm},
    Rule{"lightning.force.com", Style::crm},
    Rule{"docs.google.com", Style::document},
    Rule{"notion.so", Style::markdownNote},
    Rule{"keep.google.com", Style::quickNote},
    Rule{"medium.com", Style::blogDraft},
    Rule{"substack.com", Style::blogDraft},
    Rule{"google.com", Style::searchQuery},
    Rule{"bing.com", Style::searchQuery},
    Rule{"duckduckgo.com", Style::searchQuery},
    Rule{"calendar.google.com", Style::calendarEvent},
};

constexpr std::array hostV5{
    Rule{"app.slack.com", Style::slack},
    Rule{"chatgpt.com", Style::aiPrompt},
    Rule{"chat.openai.com", Style::aiPrompt},
    Rule{"claude.ai", Style::aiPrompt},
    Rule{"gemini.google.com", Style::aiPrompt},
    Rule{"perplexity.ai", Style::aiPrompt},
    Rule{"copilot.microsoft.com", Style::aiPrompt},
    Rule{"aistudio.google.com", Style::aiPrompt},
};

constexpr std::array hostUpgradeList{Upgrade{2, hostV2}, Upgrade{3, hostV3}, Upgrade{4, hostV4},
                                     Upgrade{5, hostV5}};
// The applications' table did not change in versions 2 and 3.
constexpr std::array appUpgradeList{Upgrade{4, appV4}, Upgrade{5, appV5}};

void setRows(StyleSeeds::Rules& rules, StyleSeeds::Table table) {
  for (const Rule& rule : table) rules.insert_or_assign(std::string(rule.key), std::string(rule.style));
}

StyleSeeds::Rules merged(std::initializer_list<StyleSeeds::Table> tables) {
  StyleSeeds::Rules rules;
  for (const auto& table : tables) setRows(rules, table);
  return rules;
}

}  // namespace

constinit const StyleSeeds::Table StyleSeeds::appStyleRulesV1 = appV1;
constinit const StyleSeeds::Table StyleSeeds::appStyleRulesV4 = appV4;
constinit const StyleSeeds::Table StyleSeeds::appStyleRulesV5 = appV5;
constinit const StyleSeeds::Table StyleSeeds::hostStyleRulesV1 = hostV1;
constinit const StyleSeeds::Table StyleSeeds::hostStyleRulesV2 = hostV2;
constinit const StyleSeeds::Table StyleSeeds::hostStyleRulesV3 = hostV3;
constinit const StyleSeeds::Table StyleSeeds::hostStyleRulesV4 = hostV4;
constinit const StyleSeeds::Table StyleSeeds::hostStyleRulesV5 = hostV5;
constinit const StyleSeeds::Upgrades StyleSeeds::seedUpgrades = hostUpgradeList;
constinit const StyleSeeds::Upgrades StyleSeeds::appSeedUpgrades = appUpgradeList;

StyleSeeds::Rules StyleSeeds::appStyleRules() { return merged({appV1, appV4, appV5}); }

StyleSeeds::Rules StyleSeeds::hostStyleRules() { return merged({hostV1, hostV2, hostV3, hostV4, hostV5}); }

StyleSeeds::Rules StyleSeeds::applyingSeedUpgrades(Rules rules, std::int64_t from, Upgrades upgrades) {
  for (const Upgrade& upgrade : upgrades) {
    if (from < upgrade.version) setRows(rules, upgrade.rules);
  }
  return rules;
}

}  // namespace pell
