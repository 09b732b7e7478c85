#include "localserver/DraftWords.h"

#include <algorithm>
#include <array>
#include <unicode/uchar.h>
#include <unicode/uscript.h>
#include <unicode/utf8.h>

namespace pell::localserver {
namespace {

constexpr std::u32string_view openers = U"([{\"'“‘«¿¡";
constexpr std::u32string_view closers = U")]}\"'”’»";
constexpr std::u32string_view marks = U".,;:!?…।॥。！？，、";
constexpr std::u32string_view sentenceMarks = U".!?।॥。！？";

bool isOneOf(char32_t c, std::u32string_view set) { return set.find(c) != set.npos; }

/// The code point at `at`, which moves behind it.
char32_t next(std::string_view text, std::size_t& at) {
  auto i = static_cast<std::int32_t>(at);
  UChar32 c = 0;
  U8_NEXT_OR_FFFD(text.data(), i, static_cast<std::int32_t>(text.size()), c);
  at = static_cast<std::size_t>(i);
  return static_cast<char32_t>(c);
}

/// The code point before `end`, which moves in front of it.
char32_t previous(std::string_view text, std::size_t& end) {
  auto i = static_cast<std::int32_t>(end);
  UChar32 c = 0;
  U8_PREV_OR_FFFD(text.data(), 0, i, c);
  end = static_cast<std::size_t>(i);
  return static_cast<char32_t>(c);
}

bool isBlank(char32_t c) { return u_isUWhiteSpace(static_cast<UChar32>(c)); }
bool isBreak(char32_t c) { return (c >= 0x0A && c <= 0x0D) || c == 0x85 || c == 0x2028 || c == 0x2029; }

/// Letters with all that may be joined to them.
bool isPartOfWord(char32_t c) {
  return (U_GET_GC_MASK(static_cast<UChar32>(c)) & (U_GC_L_MASK | U_GC_M_MASK)) || c == 0x200C ||
         c == 0x200D || c == '\'' || c == U'’';
}

DraftWord split(std::string_view text, Gap gap) {
  std::size_t begin = 0;
  for (std::size_t at = 0; at < text.size() && isOneOf(next(text, at), openers);) begin = at;
  std::size_t end = text.size();
  for (std::size_t at = end; at > begin;) {
    const char32_t c = previous(text, at);
    if (!isOneOf(c, closers) && !isOneOf(c, marks)) break;
    end = at;
  }
  return {.gap = gap,
          .lead = std::string(text.substr(0, begin)),
          .core = std::string(text.substr(begin, end - begin)),
          .tail = std::string(text.substr(end))};
}

/// Where a word goes on after a mark with no blank between ("yes,but"); empty for anything that is no plain
/// word.
std::vector<std::size_t> missingBlanks(std::string_view text) {
  std::vector<std::size_t> found;
  for (std::size_t at = 0; at < text.size();) {
    const std::size_t before = at;
    const char32_t c = next(text, at);
    if (isOneOf(c, U",;!?।")) {
      if (before > 0 && at < text.size()) found.push_back(at);
    } else if (!isPartOfWord(c)) {
      return {};
    }
  }
  return found;
}

bool isItemSign(std::string_view core) { return core == "-" || core == "*" || core == "•"; }

bool isLooseMark(const DraftWord& word) {
  if (!word.lead.empty() || !word.core.empty()) return false;
  if (word.tail == ")" || word.tail == "]" || word.tail == "”" || word.tail == "»") return true;
  for (std::size_t at = 0; at < word.tail.size();) {
    if (!isOneOf(next(word.tail, at), marks)) return false;
  }
  return true;
}

bool isLooseOpener(const DraftWord& word) {
  return word.core.empty() && word.tail.empty() && word.lead != "\"" && word.lead != "'";
}

void addSplit(DraftWords& words, std::string_view text, Gap gap) {
  DraftWord whole = split(text, gap);
  const auto blanks = missingBlanks(whole.core);
  if (blanks.empty()) {
    words.push_back(std::move(whole));
    return;
  }
  const std::string_view core = whole.core;
  std::size_t begin = 0;
  for (const std::size_t blank : blanks) {
    words.push_back(split(core.substr(begin, blank - begin), begin == 0 ? gap : Gap::blank));
    if (begin == 0) words.back().lead.insert(0, whole.lead);
    begin = blank;
  }
  words.push_back(split(core.substr(begin), Gap::blank));
  words.back().tail += whole.tail;
}

constexpr auto abbreviations = std::to_array<std::string_view>(
    {"mr", "mrs", "ms", "dr", "prof", "st", "vs", "e.g", "i.e", "approx", "p.m", "a.m", "etc", "डॉ"});

bool isAbbreviation(const DraftWord& word) {
  if (word.tail != ".") return false;
  const std::string key = word.key();
  // "J. Smith"; but "so do I." ends.
  const bool initial = key.size() == 1 && key[0] >= 'a' && key[0] <= 'z' && key != "i";
  return initial || std::ranges::find(abbreviations, key) != abbreviations.end();
}

}  // namespace

std::string DraftWord::key() const {
  std::string lower = core;
  for (char& c : lower) {
    if (c >= 'A' && c <= 'Z') c = static_cast<char>(c - 'A' + 'a');
  }
  return lower;
}

DraftWords wordsOf(const std::string& text) {
  DraftWords words;
  Gap gap = Gap::none;
  for (std::size_t at = 0; at < text.size();) {
    const std::size_t begin = at;
    char32_t c = next(text, at);
    if (isBlank(c)) {
      if (!words.empty()) gap = std::max(gap, Gap::blank);
      if (!words.empty() && isBreak(c)) gap = gap >= Gap::line ? Gap::paragraph : Gap::line;
      if (c == '\r' && at < text.size() && text[at] == '\n') ++at;
      continue;
    }
    std::size_t end = at;
    while (at < text.size()) {
      c = next(text, at);
      if (isBlank(c)) break;
      end = at;
    }
    at = end;
    addSplit(words, std::string_view(text).substr(begin, end - begin), gap);
    gap = Gap::none;
  }
  return words;
}

void joinLooseMarks(DraftWords& words) {
  DraftWords joined;
  joined.reserve(words.size());
  for (DraftWord& word : words) {
    const bool follows = !joined.empty() && word.gap == Gap::blank;
    if (follows && isLooseMark(word) && !isItemSign(joined.back().core)) {
      joined.back().tail += word.tail;
      continue;
    }
    if (follows && isLooseOpener(joined.back())) {
      word.gap = joined.back().gap;
      joined.back().lead += word.lead;
      word.lead = std::move(joined.back().lead);
      joined.pop_back();
    }
    joined.push_back(std::move(word));
  }
  words = std::move(joined);
}

std::string textOf(std::span<const DraftWord> words) {
  std::string text;
  for (const DraftWord& word : words) {
    if (!text.empty()) {
      text += word.gap == Gap::paragraph ? "\n\n" : word.gap == Gap::line ? "\n" : " ";
    }
    text += word.lead;
    text += word.core;
    text += word.tail;
  }
  return text;
}

char32_t lastMark(std::string_view tail) {
  for (std::size_t end = tail.size(); end > 0;) {
    const char32_t c = previous(tail, end);
    if (isOneOf(c, marks)) return c;
  }
  return 0;
}

bool isMarked(const DraftWord& word) { return lastMark(word.tail) != 0; }

bool endsSentence(const DraftWord& word) {
  const char32_t mark = lastMark(word.tail);
  if (mark == '.' && word.tail.find("..") != std::string::npos) return false;
  return isOneOf(mark, sentenceMarks) && mark != 0 && !isAbbreviation(word);
}

void findItems(DraftWords& words) {
  for (std::size_t at = 0; at + 1 < words.size(); ++at) {
    DraftWord& word = words[at];
    const bool number = !word.core.empty() && word.core.size() <= 3 &&
                        word.core.find_first_not_of("0123456789") == std::string::npos;
    const bool sign =
        number ? word.tail == "." || word.tail == ")" : isItemSign(word.core) && word.tail.empty();
    const bool starts = at == 0 || word.gap >= Gap::line;
    word.marker = sign && starts && word.lead.empty() && words[at + 1].gap == Gap::blank;
  }
}

bool takesCapital(const DraftWord& word) {
  std::size_t at = 0;
  if (word.core.empty()) return false;
  const auto first = static_cast<UChar32>(next(word.core, at));
  if (!u_islower(first) || u_totitle(first) == first) return false;
  while (at < word.core.size()) {
    const char32_t c = next(word.core, at);
    if (!isPartOfWord(c) && c != '-') return false;
    if (u_isupper(static_cast<UChar32>(c))) return false;
  }
  return true;
}

void capitalise(DraftWord& word) {
  if (!takesCapital(word)) return;
  std::size_t at = 0;
  const UChar32 first = u_totitle(static_cast<UChar32>(next(word.core, at)));
  char bytes[U8_MAX_LENGTH];
  std::int32_t size = 0;
  U8_APPEND_UNSAFE(bytes, size, first);
  word.core.replace(0, at, bytes, static_cast<std::size_t>(size));
}

bool refusesMark(const DraftWord& word) {
  const std::string_view core = word.core;
  if (core.empty() || core.starts_with('#') || core.starts_with("www.")) return true;
  if (core.find("://") != core.npos || core.find('@') != core.npos) return true;
  std::size_t end = core.size();
  const auto last = static_cast<UChar32>(previous(core, end));
  return !u_isalnum(last) && !(U_GET_GC_MASK(last) & U_GC_M_MASK) && last != '%';
}

std::string_view fullStopFor(const DraftWord& word) {
  UErrorCode status = U_ZERO_ERROR;
  for (std::size_t end = word.core.size(); end > 0;) {
    switch (uscript_getScript(static_cast<UChar32>(previous(word.core, end)), &status)) {
      case USCRIPT_INHERITED:
        continue;
      case USCRIPT_DEVANAGARI:
        return "।";
      case USCRIPT_HAN:
      case USCRIPT_HIRAGANA:
      case USCRIPT_KATAKANA:
        return "。";
      case USCRIPT_COMMON:
      case USCRIPT_LATIN:
      case USCRIPT_GREEK:
      case USCRIPT_CYRILLIC:
        return ".";
      default:
        return "";
    }
  }
  return "";
}

}  // namespace pell::localserver
