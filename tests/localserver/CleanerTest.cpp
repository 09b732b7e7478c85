// Cleanup by rules: what each style makes of what was said, and what holds for all of them.
#include <gtest/gtest.h>
#include <map>
#include <random>
#include <set>

#include "localserver/DraftWords.h"
#include "localserver/RuleCleaner.h"
#include "styles/StyleSeeds.h"

namespace pell::localserver {
namespace {

std::string cleaned(std::string_view style, const std::string& text, const std::string& language = "multi") {
  RuleCleaner cleaner;
  return cleaner.clean({.style = *StyleCatalogue::find(style), .text = text, .language = language});
}

struct Case {
  std::string style, before, after;
};

const std::vector<Case> styleCases = {
    {"basic-cleanup-v1", "um i think comma uh we should go period we have bullet point tea",
     "I think, we should go. We have bullet point tea."},
    {"basic-cleanup-v1", "number one is milk. B. C. D. E. F. G.", "Number one is milk. B. C. D. E. F. G."},
    {"improved-writing-and-formatting-v1", "we need number one milk number two eggs and bread",
     "We need:\n1. Milk\n2. Eggs and bread"},
    {"improved-writing-and-formatting-v1", "one two. three four. five six. seven eight. nine ten. more.",
     "One two. Three four. Five six.\n\nSeven eight. Nine ten. More."},
    {"gmail-email-v2",
     "hi ann can you send me the report by friday i need it for the board period thanks comma bob",
     "Hi Ann,\n\nCan you send me the report by Friday I need it for the board.\n\nThanks,\nBob"},
    {"gmail-email-v2", "Dear Mr. Smith, thank you. One more. And another. A fourth. Best regards, Bob Jones.",
     "Dear Mr. Smith,\n\nThank you. One more. And another. A fourth.\n\nBest regards,\nBob Jones"},
    {"gmail-email-v1", "hello everyone the meeting is at noon best regards ann",
     "Hello everyone,\n\nThe meeting is at noon.\n\nBest regards,\nAnn"},
    {"gmail-email-v2", "hello world programs are fun. Thanks Ann.",
     "Hello world programs are fun. Thanks Ann."},
    {"support-reply-v1", "hello ms jones i am sorry. Restart it. Then sign in. yours sincerely bob",
     "Hello Ms Jones,\n\nI am sorry. Restart it.\n\nThen sign in.\n\nYours sincerely,\nBob"},
    {"slack-message-v2", "Sounds good.", "Sounds good"},
    {"slack-message-v1", "we need bullet point milk bullet point eggs new paragraph see you",
     "We need:\n• Milk\n• Eggs\n\nSee you."},
    {"teams-message-v1", "sounds good new paragraph see you bullet point at noon",
     "Sounds good\nSee you:\n- At noon"},
    {"whatsapp-message-v1", "on my way new paragraph see you", "On my way\nSee you."},
    {"plain-message-v1", "are you coming", "Are you coming?"},
    {"discord-message-v1", "bullet point first bullet point second new paragraph that's all",
     "- First\n- Second\n\nThat's all."},
    {"linkedin-post-v2", "we shipped. It took a year. Thank you all. hashtag shipping hashtag joy",
     "We shipped. It took a year.\n\nThank you all.\n\n#shipping #joy"},
    {"linkedin-post-v1", "we need bullet point focus", "We need:\n• Focus"},
    {"x-post-v1", "we shipped new paragraph hashtag joy bullet point", "We shipped\n#joy bullet point."},
    {"facebook-post-v1", "one two. three. four. five. six. bullet point hashtag joy",
     "One two. Three. Four. Five. Six.\n- #joy"},
    {"instagram-caption-v1", "sunset hashtag sea bullet point", "Sunset #sea bullet point"},
    {"instagram-caption-v1", "one. two. three. hashtag sea", "One. Two.\n\nThree.\n\n#sea"},
    {"reddit-post-v1", "a underscore bb. hashtag cc. dd. ee. ff.",
     "A underscore bb. Hashtag cc. Dd.\n\nEe. Ff."},
    {"forum-answer-v1", "you can bullet point restart it bullet point wait",
     "You can:\n- Restart it\n- Wait"},
    {"issue-tracker-v1", "max underscore size is ignored bullet point always",
     "max_size is ignored:\n- Always"},
    {"github-v1", "number one open the file number two close it", "1. Open the file\n2. Close it"},
    {"crm-note-v1", "called ann. she wants a quote. follow up friday",
     "Called ann.\nShe wants a quote.\nFollow up Friday."},
    {"document-v1", "she said open quote yes close quote em dash and left", "She said “yes” — and left."},
    {"document-v1", "a one. a two. a three. a four.", "A one. A two. A three. A four."},
    {"blog-draft-v1", "a one. a two. a three. a four.", "A one. A two.\n\nA three. A four."},
    {"quick-note-v1", "shopping list colon milk comma eggs comma bread",
     "Shopping list:\n- Milk\n- Eggs\n- Bread"},
    {"quick-note-v1", "call ann.", "Call ann"},
    {"markdown-note-v1", "to do colon call ann comma pay rent comma sleep. then rest",
     "To do:\n- Call ann\n- Pay rent\n- Sleep\nThen rest."},
    {"meeting-notes-v1", "ann sends the report period bob books the room period",
     "- Ann sends the report\n- Bob books the room"},
    {"ai-prompt-v2", "rename foo underscore bar. one more. two. three. four. five. bullet point keep tests",
     "Rename foo_bar. One more. Two. Three. Four. Five.\n- Keep tests"},
    {"ai-prompt-v1", "write a. B is. C is. D is. E is. F is. G is.",
     "Write a. B is. C is. D is.\n\nE is. F is. G is."},
    {"code-comment-v2", "loop over i until foo underscore bar is null new paragraph iPhone stays",
     "Loop over i until foo_bar is null\niPhone stays."},
    {"code-comment-v1", "returns e.g. the size", "Returns e.g. the size."},
    {"terminal-command-v1", " git commit dash m um comma new line\n", "git commit dash m um comma new line"},
    {"search-query-v1", "what is a comma", "what is a comma"},
    {"spreadsheet-cell-v1", "total amount new line in euros.", "total amount, in euros"},
    {"calendar-event-v1", "lunch with ann at noon.", "Lunch with ann at noon"},
    {"short-field-v1", "re colon the plan\nfor monday", "Re: the plan for monday"},
};

TEST(RuleCleaner, EachStyleWritesInItsWay) {
  std::set<std::string> tried;
  for (const auto& [style, before, after] : styleCases) {
    ASSERT_TRUE(StyleCatalogue::find(style)) << style;
    EXPECT_EQ(cleaned(style, before), after) << style;
    tried.insert(style);
  }
  for (const CleanupStyle& style : StyleCatalogue::styles()) {
    EXPECT_TRUE(tried.contains(std::string(style.id))) << style.id;
    EXPECT_TRUE(style.supersedes.empty() || tried.contains(std::string(style.supersedes)))
        << style.supersedes;
  }
}

/// Styles of which no text can be told apart by the rules; a language model is told different things of them.
const std::vector<std::set<std::string_view>> alike = {
    {"whatsapp-message-v1", "plain-message-v1"}, {"reddit-post-v1", "forum-answer-v1"},
    {"issue-tracker-v1", "github-v1"},           {"calendar-event-v1", "short-field-v1"},
    {"terminal-command-v1", "search-query-v1"},
};

TEST(RuleCleaner, NoTwoOtherStylesWriteAlike) {
  std::map<std::vector<std::string>, std::set<std::string_view>> byOutput;
  for (const CleanupStyle& style : StyleCatalogue::styles()) {
    std::vector<std::string> output;
    for (const Case& c : styleCases) output.push_back(cleaned(style.id, c.before));
    byOutput[output].insert(style.id);
  }
  for (const auto& [output, styles] : byOutput) {
    const bool named = std::find(alike.begin(), alike.end(), styles) != alike.end();
    EXPECT_TRUE(styles.size() == 1 || named) << *styles.begin() << " and " << *styles.rbegin();
  }
  EXPECT_EQ(byOutput.size(), StyleCatalogue::styles().size() - alike.size());
}

TEST(RuleCleaner, WordsAreTakenAsTheyWereMeant) {
  const std::vector<std::pair<std::string, std::string>> cases = {
      // Marks that were spoken, and marks that were spoken of.
      {"hello comma how are you question mark i'm fine period", "Hello, how are you? I'm fine."},
      {"Hello, comma, how are you? Question mark. Fine, full stop.", "Hello, how are you? Fine."},
      {"the comma after a long period of rest is an oxford comma",
       "The comma after a long period of rest is an oxford comma."},
      {"the trial period ends in that period drama", "The trial period ends in that period drama."},
      {"The deal is off. Period.", "The deal is off. Period."},
      {"a new line of products is our new line", "A new line of products is our new line."},
      {"colon cancer and comma separated lists", "Colon cancer and comma separated lists."},
      {"open quote is not closed", "Open quote is not closed."},
      {"a well hyphen known open paren old close paren fact and forward slash or 5 percent sign",
       "A well-known (old) fact and/or 5%."},
      {"wait dot dot dot what exclamation mark", "Wait… what!"},
      // Fillers, and what only looks like one.
      {"Um, well, uh, yes. Er, no um.", "Well, yes. No."},
      {"uh huh the er and the ER of the word um", "Uh huh the er and the ER of the word um."},
      // Lines, as recognisers break them and as they were said.
      {"I went to the\nstore and\n\nbought milk.\nThen", "I went to the store and.\n\nBought milk.\nThen."},
      {"first new line second new line new line third", "First\nSecond.\n\nThird."},
      // Spacing, capitals, ends.
      {" so ,  he( said ) :) yes,but  no ... ", "So, he( said) :) yes, but no..."},
      {"see https://a.org/b, iPhone or x.y e.g. this. node.js is i think good",
       "See https://a.org/b, iPhone or x.y e.g. this. node.js is I think good."},
      {"mail me at bob@example.org", "Mail me at bob@example.org"},
      {"great 😀", "Great 😀"},
      {"what is the plan", "What is the plan?"},
      {"what a day", "What a day."},
      // Hindi stays to the letter; its sentences end in a danda.
      {"मैं ठीक हूँ और विद्यालय जाता हूँ", "मैं ठीक हूँ और विद्यालय जाता हूँ।"},
      {"क्षेत्र का प्रश्\u200dन।  राष्\u200cट्र ?", "क्षेत्र का प्रश्\u200dन। राष्\u200cट्र?"},
      {"नमस्ते अल्पविराम कैसे हैं प्रश्न चिह्न ठीक पूर्ण विराम पूर्ण विराम का नियम", "नमस्ते, कैसे हैं? ठीक। पूर्ण विराम का नियम।"},
      {"meeting कल है", "Meeting कल है।"},
      {"um", ""},
      {"", ""},
  };
  for (const auto& [before, after] : cases) EXPECT_EQ(cleaned("basic-cleanup-v1", before), after);
  EXPECT_EQ(cleaned("basic-cleanup-v1", "eu um comma i", "pt"), "Eu um comma i.") << "Portuguese";
  EXPECT_EQ(cleaned("basic-cleanup-v1", "पूर्ण विराम", "en"), "पूर्ण विराम।");
}

/// Words, marks and phrases that care for what stands beside them.
std::string randomText(std::mt19937& random, const std::vector<std::string>& pieces) {
  std::string text;
  for (auto length = 1 + random() % 25; length > 0; --length) text += pieces[random() % pieces.size()] + " ";
  return text;
}

const std::vector<std::string> plain = {
    "milk", "Eggs", "ann", "hello",        "thanks",  "best", "the",     "of",  "is",     "can", "you",
    "how",  "मैं",    "हूँ।",  "iPhone",       "foo_bar", "e.g.", "😀",      ":)",  "—",      "x,",  "y.",
    "z?",   "w:",   "50%", "http://a.b/c", "ß",       "i",    "i'm",     "(q)", "\"r\"",  "\n",  "\n\n",
    "1.",   "-",    "B.",  "a-b",          "क्षेत्र",    "dear", "regards", "and", "friday", "हाँ।", "数"};

const std::vector<std::string> commands = {"comma",
                                           "period",
                                           "Period",
                                           "full stop",
                                           "question mark",
                                           "colon",
                                           "ellipsis",
                                           "hyphen",
                                           "underscore",
                                           "percent sign",
                                           "em dash",
                                           "hashtag",
                                           "open quote",
                                           "close quote",
                                           "open paren",
                                           "close paren",
                                           "new line",
                                           "new paragraph",
                                           "bullet point",
                                           "number one",
                                           "number two",
                                           "number three",
                                           "um",
                                           "uh",
                                           "er",
                                           "huh",
                                           "word",
                                           "a",
                                           "trial",
                                           "पूर्ण विराम",
                                           "नई लाइन",
                                           "new",
                                           "point",
                                           "mark",
                                           "full",
                                           ".",
                                           ",",
                                           "(",
                                           ")",
                                           "a,b"};

std::multiset<std::string> wordsIn(const std::string& text) {
  std::multiset<std::string> found;
  for (const DraftWord& word : wordsOf(text)) {
    const std::string key = word.key();
    const bool sign = key.empty() || key == "-" || key == "•" || key == "1";
    if (!sign) found.insert(key);
  }
  return found;
}

TEST(RuleCleaner, CleanTextStaysAndNoWordIsLost) {
  std::mt19937 random(11);
  std::vector<std::string> everything = plain;
  everything.insert(everything.end(), commands.begin(), commands.end());
  for (int round = 0; round < 60; ++round) {
    const std::string text = randomText(random, plain);
    const std::string dictated = randomText(random, everything);
    for (const CleanupStyle& style : StyleCatalogue::styles()) {
      const std::string once = cleaned(style.id, dictated);
      ASSERT_EQ(cleaned(style.id, once), once) << style.id << ": " << dictated;
      const std::string kept = cleaned(style.id, text);
      ASSERT_EQ(cleaned(style.id, kept), kept) << style.id << ": " << text;
      ASSERT_EQ(wordsIn(kept), wordsIn(text)) << style.id << ": " << text << "\n" << kept;
    }
  }
}

TEST(StyleCatalogue, HasEveryStyleThatRulesOfClientsName) {
  const nlohmann::json reply = StyleCatalogue::reply();
  std::set<std::string> known;
  const std::set<std::string> groups = reply["groups"];
  for (const auto& style : reply["styles"]) {
    EXPECT_TRUE(known.insert(style["id"]).second) << style["id"];
    EXPECT_TRUE(groups.contains(style["group"])) << style["id"];
    if (!style.contains("supersedes")) continue;
    for (const auto& retired : style["supersedes"]) EXPECT_TRUE(known.insert(retired).second) << retired;
  }
  EXPECT_TRUE(known.contains(reply["serverDefault"]));
  for (const auto& table :
       {StyleSeeds::appStyleRulesV1, StyleSeeds::appStyleRulesV4, StyleSeeds::appStyleRulesV5,
        StyleSeeds::hostStyleRulesV1, StyleSeeds::hostStyleRulesV2, StyleSeeds::hostStyleRulesV3,
        StyleSeeds::hostStyleRulesV4, StyleSeeds::hostStyleRulesV5}) {
    for (const auto& rule : table) EXPECT_TRUE(known.contains(std::string(rule.style))) << rule.style;
  }
}

}  // namespace
}  // namespace pell::localserver
