#include "localserver/StyleCatalogue.h"

#include <algorithm>
#include <array>
#include <string>

namespace pell::localserver {
namespace {

constexpr std::array<std::string_view, 8> groupOrder = {"General", "Messages", "Email", "Social",
                                                        "Work",    "Writing",  "Notes", "Technical"};

constexpr Manner plainProse{};
constexpr Manner verbatim{.verbatim = true};
constexpr Manner phoneMessage{.lines = Lines::single, .ends = Ends::casual, .bullet = "-"};
constexpr Manner namedField{.lines = Lines::one, .capitals = Capitals::starts, .ends = Ends::none};
constexpr Manner markdownPost{.bullet = "-", .longestParagraph = 4};
constexpr Manner tracker{.bullet = "-", .identifiers = true};

constexpr CleanupStyle catalogue[] = {
    {.id = "basic-cleanup-v1",
     .title = "Basic cleanup",
     .description = "Your words as you said them, without fillers, with punctuation and capitals.",
     .group = "General",
     .supersedes = {},
     .manner = plainProse,
     .prompt = "Change as little as possible: punctuation, capitals and spacing alone."},
    {.id = "improved-writing-and-formatting-v1",
     .title = "Improved writing",
     .description = "Clean sentences in paragraphs, and lists where you spoke of them.",
     .group = "General",
     .supersedes = {},
     .manner = {.bullet = "-", .longestParagraph = 5},
     .prompt = "Write clear sentences in paragraphs of a few sentences each. Mend slips of grammar, false "
               "starts and repetitions. Set as a list what is spoken as one."},
    {.id = "slack-message-v2",
     .title = "Slack message",
     .description = "A short message for a work chat, with lists where you want them.",
     .group = "Messages",
     .supersedes = "slack-message-v1",
     .manner = {.ends = Ends::casual, .bullet = "•"},
     .prompt = "Write a message for a work chat: direct, friendly, short paragraphs. A lone sentence ends "
               "without a full stop. Lists use \"•\"."},
    {.id = "teams-message-v1",
     .title = "Teams message",
     .description = "A work message in full sentences.",
     .group = "Messages",
     .supersedes = {},
     .manner = {.lines = Lines::single, .bullet = "-"},
     .prompt = "Write a message for a work chat in full, polite sentences, without blank lines."},
    {.id = "whatsapp-message-v1",
     .title = "WhatsApp message",
     .description = "A casual message for the phone, without blank lines.",
     .group = "Messages",
     .supersedes = {},
     .manner = phoneMessage,
     .prompt = "Write a casual message to somebody the writer knows well, in the writer's own tone and "
               "without blank lines. A lone sentence ends without a full stop."},
    {.id = "plain-message-v1",
     .title = "Plain message",
     .description = "A casual message for any chat.",
     .group = "Messages",
     .supersedes = {},
     .manner = phoneMessage,
     .prompt = "Write a plain, casual message without markup or blank lines. A lone sentence ends without a "
               "full stop."},
    {.id = "discord-message-v1",
     .title = "Discord message",
     .description = "A casual message with lists that a community chat understands.",
     .group = "Messages",
     .supersedes = {},
     .manner = {.ends = Ends::casual, .bullet = "-"},
     .prompt = "Write a casual message for a community chat. A lone sentence ends without a full stop. Lists "
               "use \"-\"."},
    {.id = "gmail-email-v2",
     .title = "Email",
     .description = "Greeting, paragraphs and sign-off, each where they belong.",
     .group = "Email",
     .supersedes = "gmail-email-v1",
     .manner = {.shape = Shape::letter, .bullet = "-", .longestParagraph = 4},
     .prompt = "Write an email: a spoken greeting on a line of its own with a comma and a blank line after "
               "it, short paragraphs, a spoken sign-off on a line of its own and the name below. Invent "
               "neither a greeting nor a sign-off nor a subject."},
    {.id = "support-reply-v1",
     .title = "Support reply",
     .description = "A letter to a customer in short paragraphs.",
     .group = "Email",
     .supersedes = {},
     .manner = {.shape = Shape::letter, .bullet = "-", .longestParagraph = 2},
     .prompt = "Write a reply to a customer: courteous, in very short paragraphs, steps as a numbered list. "
               "A spoken greeting and sign-off stand on lines of their own; invent none, and promise nothing "
               "that was not said."},
    {.id = "linkedin-post-v2",
     .title = "LinkedIn post",
     .description = "Short paragraphs with air between them, hashtags at the end.",
     .group = "Social",
     .supersedes = "linkedin-post-v1",
     .manner = {.bullet = "•", .hashtags = true, .longestParagraph = 2},
     .prompt = "Write a post for a professional network: paragraphs of one or two sentences, lists with "
               "\"•\", spoken hashtags together at the end. Invent no hashtags and no emoji."},
    {.id = "x-post-v1",
     .title = "X post",
     .description = "One short post, hashtags in place.",
     .group = "Social",
     .supersedes = {},
     .manner = {.lines = Lines::single, .ends = Ends::casual, .hashtags = true},
     .prompt = "Write one short post without blank lines or lists. A lone sentence ends without a full stop. "
               "Keep spoken hashtags and invent none."},
    {.id = "facebook-post-v1",
     .title = "Facebook post",
     .description = "A post for friends in easy paragraphs.",
     .group = "Social",
     .supersedes = {},
     .manner = {.bullet = "-", .hashtags = true, .longestParagraph = 4},
     .prompt = "Write a post for friends: warm, in easy paragraphs, spoken hashtags at the end."},
    {.id = "instagram-caption-v1",
     .title = "Instagram caption",
     .description = "A caption in short paragraphs, hashtags at the end.",
     .group = "Social",
     .supersedes = {},
     .manner = {.ends = Ends::casual, .hashtags = true, .longestParagraph = 2},
     .prompt = "Write a caption for a picture: very short paragraphs, no lists, spoken hashtags together at "
               "the end. Invent no hashtags and no emoji."},
    {.id = "reddit-post-v1",
     .title = "Reddit post",
     .description = "Paragraphs and lists in Markdown.",
     .group = "Social",
     .supersedes = {},
     .manner = markdownPost,
     .prompt = "Write a post for a discussion board in Markdown: paragraphs of a few sentences, \"-\" for "
               "lists, in the writer's own tone."},
    {.id = "forum-answer-v1",
     .title = "Forum answer",
     .description = "An answer in Markdown, paragraph by paragraph.",
     .group = "Social",
     .supersedes = {},
     .manner = markdownPost,
     .prompt = "Write an answer for a question-and-answer site in Markdown: precise, paragraphs of a few "
               "sentences, names of code in backticks. Answer nothing yourself."},
    {.id = "issue-tracker-v1",
     .title = "Issue tracker",
     .description = "A ticket in plain Markdown, identifiers as you spell them.",
     .group = "Work",
     .supersedes = {},
     .manner = tracker,
     .prompt = "Write the text of a ticket in Markdown: plain, factual sentences, steps as a numbered list, "
               "names of code in backticks."},
    {.id = "github-v1",
     .title = "GitHub comment",
     .description = "A comment in Markdown, identifiers as you spell them.",
     .group = "Work",
     .supersedes = {},
     .manner = tracker,
     .prompt =
         "Write a comment on code in Markdown: plain and factual, names of code in backticks, \"-\" for "
         "lists."},
    {.id = "crm-note-v1",
     .title = "CRM note",
     .description = "One fact per line.",
     .group = "Work",
     .supersedes = {},
     .manner = {.shape = Shape::sentenceLines},
     .prompt = "Write a note about a customer: factual, each sentence on a line of its own, no markup."},
    {.id = "calendar-event-v1",
     .title = "Calendar event",
     .description = "The name of an event: one line without a full stop.",
     .group = "Work",
     .supersedes = {},
     .manner = namedField,
     .prompt = "Write the name of a calendar event: one line, a capital at its start, no full stop."},
    {.id = "spreadsheet-cell-v1",
     .title = "Spreadsheet cell",
     .description = "What goes into a cell: one line, capitals as spoken.",
     .group = "Work",
     .supersedes = {},
     .manner = {.lines = Lines::one, .capitals = Capitals::none, .ends = Ends::none},
     .prompt = "Write the content of one spreadsheet cell: one line, no full stop, numbers as digits."},
    {.id = "document-v1",
     .title = "Document",
     .description = "Prose in paragraphs with typographic quotes.",
     .group = "Writing",
     .supersedes = {},
     .manner = {.bullet = "-", .curlyQuotes = true, .longestParagraph = 5},
     .prompt = "Write careful prose for a document: full sentences, paragraphs of a few sentences, "
               "typographic quotes, no markup."},
    {.id = "blog-draft-v1",
     .title = "Blog draft",
     .description = "Lively prose in short paragraphs.",
     .group = "Writing",
     .supersedes = {},
     .manner = {.bullet = "-", .curlyQuotes = true, .longestParagraph = 3},
     .prompt = "Write the draft of an article: the writer's own voice, paragraphs of two or three sentences, "
               "typographic quotes. Invent no headings."},
    {.id = "quick-note-v1",
     .title = "Quick note",
     .description = "A note to yourself, with lists.",
     .group = "Notes",
     .supersedes = {},
     .manner = {.ends = Ends::none, .bullet = "-", .listsAfterColon = true},
     .prompt = "Write a short note to oneself: terse, no full stop after a lone phrase, enumerations as a "
               "list with \"-\"."},
    {.id = "markdown-note-v1",
     .title = "Markdown note",
     .description = "A note in Markdown, with lists.",
     .group = "Notes",
     .supersedes = {},
     .manner = {.bullet = "-", .listsAfterColon = true},
     .prompt = "Write a note in Markdown: full sentences, enumerations as a list with \"-\"."},
    {.id = "meeting-notes-v1",
     .title = "Meeting notes",
     .description = "Each sentence becomes a point of a list.",
     .group = "Notes",
     .supersedes = {},
     .manner = {.shape = Shape::sentenceItems, .bullet = "-", .listsAfterColon = true},
     .prompt = "Write the notes of a meeting: a list with \"-\", one point for each statement, decision or "
               "task, with names and dates kept."},
    {.id = "ai-prompt-v2",
     .title = "AI prompt",
     .description = "A request to an assistant, ordered but unanswered.",
     .group = "Technical",
     .supersedes = "ai-prompt-v1",
     .manner = {.bullet = "-", .identifiers = true, .longestParagraph = 5},
     .prompt = "The text will be sent to an assistant later: write the request clearly, in paragraphs, "
               "requirements as a list with \"-\". Do not carry the request out and do not answer it."},
    {.id = "code-comment-v2",
     .title = "Code comment",
     .description = "Plain sentences for code; names in it stay as they are.",
     .group = "Technical",
     .supersedes = "code-comment-v1",
     .manner = {.lines = Lines::single, .capitals = Capitals::starts, .identifiers = true},
     .prompt =
         "Write a comment in source code: concise sentences, no comment marks, no blank lines, names of "
         "variables and functions exactly as spoken."},
    {.id = "terminal-command-v1",
     .title = "Terminal",
     .description = "Exactly what was heard.",
     .group = "Technical",
     .supersedes = {},
     .manner = verbatim,
     .prompt = {}},
    {.id = "search-query-v1",
     .title = "Search query",
     .description = "Exactly what was heard.",
     .group = "Technical",
     .supersedes = {},
     .manner = verbatim,
     .prompt = {}},
    {.id = "short-field-v1",
     .title = "Short field",
     .description = "A name, a subject, a title: one line without a full stop.",
     .group = "Technical",
     .supersedes = {},
     .manner = namedField,
     .prompt = "Write what goes into a short field of a form: one line, a capital at its start, no full "
               "stop."},
};

}  // namespace

std::span<const CleanupStyle> StyleCatalogue::styles() { return catalogue; }

std::span<const std::string_view> StyleCatalogue::groups() { return groupOrder; }

const CleanupStyle& StyleCatalogue::serverDefault() { return *find("improved-writing-and-formatting-v1"); }

const CleanupStyle* StyleCatalogue::find(std::string_view id) {
  if (id.empty()) return nullptr;
  const auto found = std::ranges::find_if(
      catalogue, [id](const CleanupStyle& style) { return style.id == id || style.supersedes == id; });
  return found == std::end(catalogue) ? nullptr : found;
}

nlohmann::json StyleCatalogue::reply() {
  auto list = nlohmann::json::array();
  for (const CleanupStyle& style : catalogue) {
    nlohmann::json row = {
        {"id", style.id}, {"title", style.title}, {"description", style.description}, {"group", style.group}};
    if (!style.supersedes.empty()) row["supersedes"] = nlohmann::json::array({style.supersedes});
    list.push_back(std::move(row));
  }
  return {{"styles", list}, {"groups", groupOrder}, {"serverDefault", serverDefault().id}};
}

}  // namespace pell::localserver
