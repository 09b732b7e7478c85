#include "localserver/SpokenMarks.h"

#include <algorithm>
#include <array>
#include <map>
#include <optional>
#include <utility>

#include "localserver/EnglishWords.h"
#include "localserver/SpokenPhrases.h"

namespace pell::localserver {
namespace {

constexpr auto numbers = std::to_array<std::string_view>(
    {"one", "two", "three", "four", "five", "six", "seven", "eight", "nine", "ten"});

bool isBeforeOnly(std::string_view tail) {
  return tail.find_first_of(")]}\"'") == tail.npos && tail.find("”") == tail.npos &&
         tail.find("’") == tail.npos;
}

/// A phrase that stands in the words at `at`.
struct Match {
  const SpokenPhrase* phrase;
  std::size_t end;
};

class Reader {
 public:
  Reader(const DraftWords& words, const Manner& manner, bool hindi)
      : words_(words), manner_(manner), hindi_(hindi) {
    keys_.reserve(words.size());
    for (const DraftWord& word : words) keys_.push_back(word.key());
    pairUp();
    numberItems();
  }

  DraftWords read() {
    for (at_ = 0; at_ < words_.size();) {
      if (const auto number = numbered_.find(at_); number != numbered_.end() && !isAfterMarker()) {
        startItem({.core = std::to_string(number->second), .tail = "."}, at_ + 2);
      } else if (const auto match = find(at_); !match || !take(*match)) {
        push(words_[at_++]);
      }
    }
    return std::move(done_);
  }

 private:
  bool joined(std::size_t at) const { return at < words_.size() && words_[at].gap == Gap::blank; }

  std::optional<Match> match(const SpokenPhrase& phrase, std::size_t at) const {
    std::string_view rest = phrase.words;
    for (std::size_t i = at; i < words_.size(); ++i) {
      const DraftWord& word = words_[i];
      if ((i > at && word.gap != Gap::blank) || !word.lead.empty() || !rest.starts_with(keys_[i])) return {};
      rest.remove_prefix(keys_[i].size());
      if (rest.empty()) return isBeforeOnly(word.tail) ? std::optional(Match{&phrase, i + 1}) : std::nullopt;
      if (!rest.starts_with(' ') || !word.tail.empty() || keys_[i].empty()) return {};
      rest.remove_prefix(1);
    }
    return {};
  }

  std::optional<Match> find(std::size_t at) const {
    if (keys_[at].empty()) return {};
    for (const SpokenPhrase& phrase : englishPhrases) {
      if (phrase.words.front() != keys_[at].front()) continue;
      if (const auto found = match(phrase, at)) return found;
    }
    for (const SpokenPhrase& phrase : hindiPhrases) {
      if (!hindi_) break;
      if (const auto found = match(phrase, at)) return found;
    }
    return {};
  }

  void pairUp();
  bool countsAt(std::size_t at) const;
  void numberItems();
  bool isSpokenOf(const Match& match, std::string_view before) const;
  bool isTimeSpan(const Match& match) const;
  bool take(const Match& match);
  bool takeMark(const Match& match);
  bool takeJoin(const Match& match);
  bool takeBreak(const Match& match);
  void startItem(DraftWord sign, std::size_t next);

  bool isAfterMarker() const {
    return !done_.empty() && pending_ == Gap::none && done_.back().marker && joined(at_);
  }

  /// The word before on this line with nothing between; null at a start.
  DraftWord* before() {
    if (done_.empty() || pending_ != Gap::none || !opened_.empty() || isAfterMarker() || !joined(at_)) {
      return nullptr;
    }
    return &done_.back();
  }

  void push(DraftWord word) {
    word.gap = done_.empty() ? Gap::none : std::max(word.gap, pending_);
    pending_ = Gap::none;
    if (!word.marker) word.lead.insert(0, std::exchange(opened_, {}));
    done_.push_back(std::move(word));
  }

  const DraftWords& words_;
  const Manner& manner_;
  const bool hindi_;
  std::vector<std::string> keys_;
  std::vector<bool> paired_;
  std::map<std::size_t, int> numbered_;

  std::size_t at_ = 0;
  DraftWords done_;
  Gap pending_ = Gap::none;
  std::string opened_;
};

/// Opening signs count only with their closing ones: "open quote" alone may be anything.
void Reader::pairUp() {
  paired_.assign(words_.size(), false);
  std::map<char, std::vector<std::size_t>> open;
  for (std::size_t at = 0; at < words_.size(); ++at) {
    if (keys_[at] != "open" && keys_[at] != "close") continue;
    const auto found = find(at);
    if (!found || (joined(at) && at > 0 && english::announcesNoun(keys_[at - 1]))) continue;
    const bool quote = found->phrase->sign == "\"";
    auto& waiting = open[quote ? '"' : '('];
    if (found->phrase->kind == SpokenKind::open && words_[found->end - 1].tail.empty() &&
        joined(found->end)) {
      waiting.push_back(at);
    } else if (found->phrase->kind == SpokenKind::close && !waiting.empty() && waiting.back() + 2 < at) {
      paired_[waiting.back()] = paired_[at] = true;
      waiting.pop_back();
    }
  }
}

/// Whether "number" and a count stand at `at`, with something after them, and are no rank ("he is number
/// one").
bool Reader::countsAt(std::size_t at) const {
  if (keys_[at] != "number" || !joined(at + 1) || !joined(at + 2)) return false;
  if (!words_[at].tail.empty() || !words_[at].lead.empty() || !isBeforeOnly(words_[at + 1].tail))
    return false;
  if (at == 0 || !joined(at)) return true;
  constexpr auto linking = std::to_array<std::string_view>({"is", "are", "was", "were", "and", "in", "at"});
  const std::string& before = keys_[at - 1];
  return !words_[at - 1].marker && !english::announcesNoun(before) && !before.ends_with("'s") &&
         !before.ends_with("'re") && !before.ends_with("'m") &&
         std::ranges::find(linking, before) == linking.end();
}

/// "Number one ... number two ..." is a list; a single one is not.
void Reader::numberItems() {
  if (manner_.bullet.empty()) return;
  std::vector<std::size_t> found;
  const auto flush = [&] {
    for (std::size_t i = 0; found.size() > 1 && i < found.size(); ++i)
      numbered_[found[i]] = static_cast<int>(i) + 1;
    found.clear();
  };
  for (std::size_t at = 0; at + 2 < words_.size(); ++at) {
    if (!countsAt(at) || (!found.empty() && found.back() + 2 == at)) continue;
    if (keys_[at + 1] == "one") flush();
    if (found.size() < numbers.size() && keys_[at + 1] == numbers[found.size()]) found.push_back(at);
  }
  flush();
}

bool Reader::isSpokenOf(const Match& match, std::string_view before) const {
  if (english::announcesNoun(before)) return true;
  const bool bare = words_[match.end - 1].tail.empty() && joined(match.end);
  std::string_view next = bare ? std::string_view(keys_[match.end]) : std::string_view();
  next = next.substr(0, next.find_first_of("-/_"));
  if (match.phrase->kind == SpokenKind::period && english::continuesPeriod(next)) return true;
  return std::ranges::any_of(continuations, [&](const SpokenContinuation& known) {
    return known.next == next && known.phrase == match.phrase->words;
  });
}

/// "the trial period", "during that period".
bool Reader::isTimeSpan(const Match& match) const {
  if (match.phrase->kind != SpokenKind::period || done_.empty()) return false;
  const std::string last = done_.back().key();
  if (english::describesPeriod(last)) return true;
  if (done_.size() < 2 || (last != "this" && last != "that" && last != "which" && last != "one"))
    return false;
  const DraftWord& earlier = done_[done_.size() - 2];
  return done_.back().gap == Gap::blank && earlier.tail.empty() &&
         english::isPrepositionOfTime(earlier.key());
}

bool Reader::take(const Match& match) {
  const DraftWord* last = before();
  // A word that joins have made longer than any in the lists is not copied each time that it grows.
  constexpr std::size_t longestWord = 40;
  const bool bare = last && last->tail.empty() && last->core.size() <= longestWord;
  const std::string key = bare ? last->key() : std::string();
  if (isSpokenOf(match, key)) return false;
  const SpokenKind kind = match.phrase->kind;
  if (isAfterMarker() && kind != SpokenKind::open && kind != SpokenKind::tag) return false;
  switch (kind) {
    case SpokenKind::mark:
    case SpokenKind::period:
      return takeMark(match);
    case SpokenKind::join:
    case SpokenKind::percent:
    case SpokenKind::apart:
    case SpokenKind::tag:
      return takeJoin(match);
    case SpokenKind::open:
      if (!paired_[at_]) return false;
      opened_ += match.phrase->sign == "(" ? "(" : manner_.curlyQuotes ? "“" : "\"";
      if (pending_ == Gap::none) pending_ = words_[at_].gap == Gap::blank ? Gap::none : words_[at_].gap;
      break;
    case SpokenKind::close:
      if (!paired_[at_] || !last) return false;
      done_.back().tail += match.phrase->sign == ")" ? ")" : manner_.curlyQuotes ? "”" : "\"";
      done_.back().tail += words_[match.end - 1].tail;
      break;
    default:
      return takeBreak(match);
  }
  at_ = match.end;
  return true;
}

bool Reader::takeMark(const Match& match) {
  DraftWord* last = before();
  if (!last || last->core.empty()) return false;
  // With a capital it is a name, or said for emphasis.
  if (match.phrase->kind == SpokenKind::period && words_[at_].core != keys_[at_]) return false;
  if (last->tail.empty() && isTimeSpan(match)) return false;
  const std::string_view sign = match.phrase->sign;
  const bool stop = sign == "." || sign == "।";
  std::string& tail = last->tail;
  if (endsSentence(*last) || tail.ends_with("…") || tail.ends_with("..")) {
    // The recogniser has set a mark of its own, and what it wrote with a capital it took for a sentence.
    const bool sentence = words_[at_].core != keys_[at_];
    if (sign == "?" || sign == "!") {
      if (tail == ".") tail.clear();
      if (!tail.ends_with(sign)) tail += sign;
    } else if (!stop || sentence) {
      return false;
    }
  } else if (!stop || !tail.ends_with('.')) {
    if (tail.ends_with(',') || tail.ends_with(';') || tail.ends_with(':')) tail.pop_back();
    tail += sign;
  }
  at_ = match.end;
  return true;
}

bool Reader::takeJoin(const Match& match) {
  DraftWord* last = before();
  const std::string_view sign = match.phrase->sign;
  if (match.phrase->kind == SpokenKind::percent) {
    if (!last || !last->tail.empty() || last->core.empty() || last->core.back() < '0' ||
        last->core.back() > '9')
      return false;
    last->core += sign;
    last->tail = words_[match.end - 1].tail;
    at_ = match.end;
    return true;
  }
  if (!words_[match.end - 1].tail.empty() || !joined(match.end)) return false;
  DraftWord next = words_[match.end];
  if (next.core.empty() || !next.lead.empty()) return false;
  if (match.phrase->kind == SpokenKind::tag) {
    if (!manner_.hashtags) return false;
    next.core.insert(0, sign);
    next.gap = words_[at_].gap;
    push(std::move(next));
  } else if (match.phrase->kind == SpokenKind::apart) {
    if (!last) return false;
    push({.core = std::string(sign)});
    at_ = match.end;
    return true;
  } else {
    if (!last || !last->tail.empty() || last->core.empty() || (sign == "_" && !manner_.identifiers))
      return false;
    last->core += sign;
    last->core += next.core;
    last->tail = next.tail;
  }
  at_ = match.end + 1;
  return true;
}

bool Reader::takeBreak(const Match& match) {
  if (match.phrase->kind == SpokenKind::item) {
    if (manner_.bullet.empty() || !joined(match.end)) return false;
    startItem({.core = std::string(manner_.bullet)}, match.end);
  } else if (manner_.lines == Lines::one) {
    // Something has to keep the two lines apart.
    if (!done_.empty() && match.end < words_.size() && !isMarked(done_.back())) done_.back().tail += ",";
  } else {
    // Said twice, a line break leaves a blank line.
    const bool paragraph = match.phrase->kind == SpokenKind::paragraph || pending_ >= Gap::line;
    pending_ = paragraph && manner_.lines == Lines::all ? Gap::paragraph : Gap::line;
  }
  at_ = match.end;
  return true;
}

void Reader::startItem(DraftWord sign, std::size_t next) {
  pending_ = std::max({pending_, Gap::line, words_[at_].gap});
  sign.marker = true;
  push(std::move(sign));
  at_ = next;
}

}  // namespace

DraftWords withSpokenMarks(const DraftWords& words, const Manner& manner, bool hindi) {
  return Reader(words, manner, hindi).read();
}

}  // namespace pell::localserver
