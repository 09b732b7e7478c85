// The rules for styles that a new user starts with, and what later versions of them changed.
#pragma once

#include <cstdint>
#include <map>
#include <span>
#include <string>
#include <string_view>

#include "platform/StyleRule.h"

namespace pell {

/// Plain data. Rules name applications by bundle identifier and sites by host in the normal form of
/// `StyleResolver::normaliseHost`; the styles are the server's.
struct StyleSeeds {
  /// Identifiers of styles.
  struct Style {
    static constexpr std::string_view basic = "basic-cleanup-v1";
    static constexpr std::string_view smart = "improved-writing-and-formatting-v1";
    static constexpr std::string_view email = "gmail-email-v2";
    static constexpr std::string_view linkedIn = "linkedin-post-v2";
    static constexpr std::string_view slack = "slack-message-v2";
    static constexpr std::string_view teams = "teams-message-v1";
    static constexpr std::string_view whatsApp = "whatsapp-message-v1";
    static constexpr std::string_view plainMessage = "plain-message-v1";
    static constexpr std::string_view discord = "discord-message-v1";
    static constexpr std::string_view aiPrompt = "ai-prompt-v2";
    static constexpr std::string_view xPost = "x-post-v1";
    static constexpr std::string_view facebook = "facebook-post-v1";
    static constexpr std::string_view instagram = "instagram-caption-v1";
    static constexpr std::string_view reddit = "reddit-post-v1";
    static constexpr std::string_view forum = "forum-answer-v1";
    static constexpr std::string_view support = "support-reply-v1";
    static constexpr std::string_view issueTracker = "issue-tracker-v1";
    static constexpr std::string_view gitHub = "github-v1";
    static constexpr std::string_view crm = "crm-note-v1";
    static constexpr std::string_view document = "document-v1";
    static constexpr std::string_view markdownNote = "markdown-note-v1";
    static constexpr std::string_view quickNote = "quick-note-v1";
    static constexpr std::string_view meetingNotes = "meeting-notes-v1";
    static constexpr std::string_view blogDraft = "blog-draft-v1";
    static constexpr std::string_view codeComment = "code-comment-v2";
    static constexpr std::string_view terminal = "terminal-command-v1";
    static constexpr std::string_view searchQuery = "search-query-v1";
    static constexpr std::string_view spreadsheet = "spreadsheet-cell-v1";
    static constexpr std::string_view calendarEvent = "calendar-event-v1";
    static constexpr std::string_view shortField = "short-field-v1";
    static constexpr std::string_view emailV1 = "gmail-email-v1";
    static constexpr std::string_view linkedInV1 = "linkedin-post-v1";
    static constexpr std::string_view slackV1 = "slack-message-v1";
    static constexpr std::string_view aiPromptV1 = "ai-prompt-v1";
    static constexpr std::string_view codeCommentV1 = "code-comment-v1";
  };

  using Rules = std::map<std::string, std::string>;

  using Rule = StyleRule;
  using Table = std::span<const Rule>;

  static const Table appStyleRulesV1;
  static const Table appStyleRulesV4;
  static const Table appStyleRulesV5;

  static const Table hostStyleRulesV1;
  static const Table hostStyleRulesV2;
  static const Table hostStyleRulesV3;
  static const Table hostStyleRulesV4;
  static const Table hostStyleRulesV5;

  /// All tables of a kind, the later ones merged over the earlier.
  static Rules appStyleRules();
  static Rules hostStyleRules();

  /// What one version changed.
  struct Upgrade {
    int version;
    Table rules;
  };
  using Upgrades = std::span<const Upgrade>;

  static const Upgrades seedUpgrades;     // of the sites
  static const Upgrades appSeedUpgrades;  // of the applications
  static constexpr int currentSeedVersion = 5;

  /// The version that brought the rules which a platform adds for its own applications.
  static constexpr int supplementVersion = 5;

  /// The rules, which are at version `from`, with every row of the newer tables set, whatever stood there.
  /// Other rows stay as they are.
  static Rules applyingSeedUpgrades(Rules rules, std::int64_t from, Upgrades upgrades = seedUpgrades);
};

}  // namespace pell
