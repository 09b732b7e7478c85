// How punctuation and line breaks are called when they are spoken.
#pragma once

#include <array>
#include <string_view>

namespace pell::localserver {

/// What a phrase does to the words around it.
enum class SpokenKind {
  mark,    // ends the word before
  period,  // a mark as well, but also a span of time
  open,    // stands before the next word
  close,
  join,     // makes one word of two
  percent,  // belongs to a figure
  apart,    // stands between blanks
  tag,      // becomes part of the next word
  line,
  paragraph,
  item,  // of a list
};

struct SpokenPhrase {
  std::string_view words;
  SpokenKind kind;
  std::string_view sign;
};

// Of two that begin alike the longer comes first.
inline constexpr auto englishPhrases = std::to_array<SpokenPhrase>({
    {"comma", SpokenKind::mark, ","},
    {"period", SpokenKind::period, "."},
    {"full stop", SpokenKind::mark, "."},
    {"question mark", SpokenKind::mark, "?"},
    {"exclamation mark", SpokenKind::mark, "!"},
    {"exclamation point", SpokenKind::mark, "!"},
    {"colon", SpokenKind::mark, ":"},
    {"semicolon", SpokenKind::mark, ";"},
    {"semi colon", SpokenKind::mark, ";"},
    {"ellipsis", SpokenKind::mark, "…"},
    {"dot dot dot", SpokenKind::mark, "…"},
    {"hyphen", SpokenKind::join, "-"},
    {"forward slash", SpokenKind::join, "/"},
    {"underscore", SpokenKind::join, "_"},
    {"percent sign", SpokenKind::percent, "%"},
    {"em dash", SpokenKind::apart, "—"},
    {"ampersand", SpokenKind::apart, "&"},
    {"hashtag", SpokenKind::tag, "#"},
    {"open quotes", SpokenKind::open, "\""},
    {"open quote", SpokenKind::open, "\""},
    {"close quotes", SpokenKind::close, "\""},
    {"close quote", SpokenKind::close, "\""},
    {"open parenthesis", SpokenKind::open, "("},
    {"open parentheses", SpokenKind::open, "("},
    {"open paren", SpokenKind::open, "("},
    {"open bracket", SpokenKind::open, "("},
    {"close parenthesis", SpokenKind::close, ")"},
    {"close parentheses", SpokenKind::close, ")"},
    {"close paren", SpokenKind::close, ")"},
    {"close bracket", SpokenKind::close, ")"},
    {"new line", SpokenKind::line, ""},
    {"newline", SpokenKind::line, ""},
    {"next line", SpokenKind::line, ""},
    {"new paragraph", SpokenKind::paragraph, ""},
    {"next paragraph", SpokenKind::paragraph, ""},
    {"new bullet point", SpokenKind::item, ""},
    {"next bullet point", SpokenKind::item, ""},
    {"new bullet", SpokenKind::item, ""},
    {"next bullet", SpokenKind::item, ""},
    {"bullet point", SpokenKind::item, ""},
});

inline constexpr auto hindiPhrases = std::to_array<SpokenPhrase>({
    {"पूर्ण विराम", SpokenKind::mark, "।"},
    {"पूर्णविराम", SpokenKind::mark, "।"},
    {"अल्प विराम", SpokenKind::mark, ","},
    {"अल्पविराम", SpokenKind::mark, ","},
    {"प्रश्नवाचक चिह्न", SpokenKind::mark, "?"},
    {"प्रश्न चिह्न", SpokenKind::mark, "?"},
    {"प्रश्नवाचक चिन्ह", SpokenKind::mark, "?"},
    {"प्रश्न चिन्ह", SpokenKind::mark, "?"},
    {"विस्मयादिबोधक चिह्न", SpokenKind::mark, "!"},
    {"नई लाइन", SpokenKind::line, ""},
    {"नई पंक्ति", SpokenKind::line, ""},
    {"नया पैराग्राफ", SpokenKind::paragraph, ""},
    {"नया अनुच्छेद", SpokenKind::paragraph, ""},
});

// What shows that the words before are a thing: "colon cancer", "new line of products", "bullet point list",
// "पूर्ण विराम का".
struct SpokenContinuation {
  std::string_view phrase;
  std::string_view next;
};
inline constexpr auto continuations = std::to_array<SpokenContinuation>({
    {"comma", "separated"},  {"comma", "splice"},      {"comma", "delimited"},     {"colon", "cancer"},
    {"hyphen", "separated"}, {"new line", "of"},       {"new line", "item"},       {"new line", "items"},
    {"new line", "manager"}, {"new line", "break"},    {"new line", "character"},  {"next line", "of"},
    {"new paragraph", "of"}, {"new paragraph", "is"},  {"new paragraph", "about"}, {"next paragraph", "is"},
    {"bullet point", "is"},  {"bullet point", "list"}, {"bullet point", "of"},     {"newline", "character"},
    {"पूर्ण विराम", "का"},     {"पूर्ण विराम", "की"},      {"पूर्ण विराम", "के"},         {"पूर्ण विराम", "को"},
    {"अल्प विराम", "का"},     {"अल्प विराम", "की"},      {"अल्प विराम", "के"},         {"अल्प विराम", "को"},
    {"नई लाइन", "में"},        {"नई पंक्ति", "में"},         {"नई लाइन", "का"},          {"नई पंक्ति", "का"},
});

}  // namespace pell::localserver
