#include "localserver/SentenceLayout.h"

#include <algorithm>
#include <utility>

#include "localserver/EnglishWords.h"

namespace pell::localserver {
namespace {

bool startsLine(const DraftWords& words, std::size_t at) { return at == 0 || words[at].gap >= Gap::line; }

/// The index behind the line that holds words[at].
std::size_t endOfLine(const DraftWords& words, std::size_t at) {
  do ++at;
  while (at < words.size() && words[at].gap < Gap::line);
  return at;
}

std::size_t endOfParagraph(const DraftWords& words, std::size_t at) {
  do ++at;
  while (at < words.size() && words[at].gap < Gap::paragraph);
  return at;
}

/// Sentences that the marks within words [begin, end) tell apart.
int sentencesIn(const DraftWords& words, std::size_t begin, std::size_t end) {
  int count = 1;
  for (std::size_t at = begin; at + 1 < end; ++at) {
    if (endsSentence(words[at]) && !words[at].marker) ++count;
  }
  return count;
}

bool isLoneSentence(const DraftWords& words) {
  const bool lines = std::ranges::any_of(words, [](const DraftWord& word) { return word.gap >= Gap::line; });
  return !lines && sentencesIn(words, 0, words.size()) == 1;
}

void dropFullStop(DraftWord& word) {
  if (word.tail == "." && !word.core.empty() && endsSentence(word)) word.tail.clear();
}

/// Marks the end of the line [begin, end) unless it has a mark.
void markEnd(DraftWords& words, std::size_t begin, std::size_t end, bool statement) {
  DraftWord& last = words[end - 1];
  if (isMarked(last) || refusesMark(last)) return;
  std::size_t start = begin;
  for (std::size_t at = begin; at + 1 < end; ++at) {
    if (endsSentence(words[at])) start = at + 1;
  }
  if (english::isQuestion(std::span(words).subspan(start, end - start))) {
    last.tail += "?";
  } else if (statement) {
    last.tail += fullStopFor(last);
  }
}

/// The items after words[colon], as the indices behind each; empty where they make no list.
std::vector<std::size_t> itemsAfter(const DraftWords& words, std::size_t colon) {
  constexpr std::size_t longestItem = 5;
  std::vector<std::size_t> ends;
  std::size_t begin = colon + 1;
  for (std::size_t at = begin; at < words.size() && words[at].gap == Gap::blank; ++at) {
    const DraftWord& word = words[at];
    const std::string key = word.key();
    if (key == "and" || key == "or" || key == "और" || key == "या" || !word.lead.empty()) return {};
    if (at - begin >= longestItem) return {};
    const bool lineEnds = at + 1 == words.size() || words[at + 1].gap >= Gap::line;
    if (word.tail == ",") {
      ends.push_back(at + 1);
      begin = at + 1;
    } else if (word.tail == "." || word.tail == "।" || (word.tail.empty() && lineEnds)) {
      ends.push_back(at + 1);
      return ends.size() >= 3 ? ends : std::vector<std::size_t>();
    } else if (!word.tail.empty()) {
      return {};
    }
  }
  return {};
}

DraftWord itemSign(const Manner& manner, Gap gap) {
  return {.gap = gap, .core = std::string(manner.bullet), .marker = true};
}

}  // namespace

void listAfterColon(DraftWords& words, const Manner& manner) {
  DraftWords done;
  for (std::size_t at = 0; at < words.size();) {
    done.push_back(words[at++]);
    if (done.back().tail != ":" || done.back().marker) continue;
    const auto items = itemsAfter(words, at - 1);
    if (items.empty()) continue;
    for (const std::size_t end : items) {
      done.push_back(itemSign(manner, Gap::line));
      while (at < end) done.push_back(std::move(words[at++]));
      done.back().tail.clear();
    }
    if (at < words.size()) words[at].gap = std::max(words[at].gap, Gap::line);
  }
  words = std::move(done);
}

void separateSentences(DraftWords& words, const Manner& manner) {
  if (isLoneSentence(words)) return;
  const bool items = manner.shape == Shape::sentenceItems;
  DraftWords done;
  bool starts = true;
  for (DraftWord& word : words) {
    if (!done.empty() && starts) word.gap = std::max(word.gap, Gap::line);
    const bool lineStarts = done.empty() || word.gap >= Gap::line;
    // What a colon ends is the head of a list, not a point of it.
    if (items && lineStarts && !word.marker) {
      done.push_back(itemSign(manner, word.gap));
      word.gap = Gap::blank;
    }
    starts = !word.marker && endsSentence(word);
    done.push_back(std::move(word));
  }
  words = std::move(done);
}

void divideParagraphs(DraftWords& words, const Manner& manner, std::size_t end) {
  if (manner.hashtags && manner.lines == Lines::all && end == words.size()) {
    std::size_t tags = end;
    while (tags > 0 && words[tags - 1].core.starts_with('#') && words[tags - 1].lead.empty()) --tags;
    if (tags > 0 && tags < end && !words[tags - 1].marker) words[tags].gap = Gap::paragraph;
  }
  if (manner.longestParagraph == 0) return;
  for (std::size_t begin = 0; begin < end;) {
    const std::size_t behind = std::min(endOfParagraph(words, begin), end);
    const bool plain = endOfLine(words, begin) >= behind && !words[begin].marker;
    const int count = sentencesIn(words, begin, behind);
    const int parts = plain ? (count + manner.longestParagraph - 1) / manner.longestParagraph : 1;
    int sentence = 0;
    int part = 1;
    for (std::size_t at = begin; at + 1 < behind; ++at) {
      if (!endsSentence(words[at])) continue;
      ++sentence;
      if (part < parts && sentence * parts >= part * count) {
        words[at + 1].gap = Gap::paragraph;
        ++part;
      }
    }
    begin = behind;
  }
}

void endParagraphs(DraftWords& words, const Manner& manner, std::size_t end) {
  if (words.empty()) return;
  const bool lone = isLoneSentence(words);
  for (std::size_t begin = 0; begin < end;) {
    const std::size_t behind = std::min(endOfLine(words, begin), end);
    const bool paragraphEnds = behind == words.size() || words[behind].gap == Gap::paragraph;
    if (words[begin].marker) {
      // A point of a list is no sentence, unless it holds several.
      if (sentencesIn(words, begin, behind) == 1 && begin + 1 < behind) dropFullStop(words[behind - 1]);
    } else if (behind < end && words[behind].marker && !isMarked(words[behind - 1])) {
      words[behind - 1].tail += ":";
    } else if (manner.ends == Ends::none) {
      if (lone) dropFullStop(words[behind - 1]);
    } else if (paragraphEnds) {
      if (lone && manner.ends == Ends::casual) dropFullStop(words[behind - 1]);
      markEnd(words, begin, behind, !lone || manner.ends == Ends::full);
    }
    begin = behind;
  }
}

void setCapitals(DraftWords& words, const Manner& manner, bool english) {
  if (manner.capitals == Capitals::none) return;
  bool starts = true;
  for (std::size_t at = 0; at < words.size(); ++at) {
    DraftWord& word = words[at];
    starts = starts || startsLine(words, at);
    const bool first = starts && !word.core.empty() && !word.marker;
    if (first) capitalise(word);
    if (english && manner.capitals == Capitals::prose && word.lead.empty()) {
      const bool pronoun = word.core == "i" || word.core.starts_with("i'") || word.core.starts_with("i’");
      if (pronoun) word.core[0] = 'I';
      if (english::isDayOrMonth(word.core)) capitalise(word);
    }
    if (first) starts = false;
    if (!word.marker && endsSentence(word)) starts = true;
  }
}

}  // namespace pell::localserver
