#include "editor/AttributedText.h"

#include <algorithm>
#include <unicode/utf16.h>
#include <unordered_map>

#include "editor/Utf16.h"

namespace pell {
namespace {

constexpr char16_t lineBreak = u'\n';
constexpr char16_t carriageReturn = u'\r';
constexpr char16_t paragraphSeparator = u'\u2029';
constexpr char16_t replacementCharacter = u'\uFFFD';

/// What stands for `unit` in a text of ours.
char16_t own(char16_t unit) {
  if (unit == carriageReturn || unit == paragraphSeparator) return lineBreak;
  return unit == u'\0' ? replacementCharacter : unit;
}

bool isForeign(char16_t unit) { return own(unit) != unit; }

std::u16string inOwnUnits(std::u16string_view text) {
  std::u16string result;
  result.reserve(text.size());
  for (std::size_t at = 0; at < text.size(); ++at) {
    if (text[at] == carriageReturn && at + 1 < text.size() && text[at + 1] == lineBreak) continue;
    result += own(text[at]);
  }
  return result;
}

bool areEqual(const AttributedText::SharedAttributes& left, const AttributedText::SharedAttributes& right) {
  return left == right || *left == *right;
}

}  // namespace

AttributedText::AttributedText(std::u16string_view text, TextAttributes attributes) {
  appendShared(text, std::make_shared<const TextAttributes>(std::move(attributes)));
}

std::size_t AttributedText::length() const { return text_.size(); }

char16_t AttributedText::operator[](std::size_t position) const { return text_[position]; }

std::u16string AttributedText::text() const { return text({.location = 0, .length = length()}); }

std::u16string AttributedText::text(TextRange range) const {
  const auto [front, back] = text_.pieces(range.location, range.length);
  std::u16string text;
  text.reserve(range.length);
  return text.append(front).append(back);
}

std::string AttributedText::utf8() const { return utf8({.location = 0, .length = length()}); }

std::string AttributedText::utf8(TextRange range) const {
  std::string text;
  text.reserve(range.length + range.length / 8);
  appendUtf8To(text, range);
  return text;
}

void AttributedText::appendUtf8To(std::string& utf8, TextRange range) const {
  auto [front, back] = text_.pieces(range.location, range.length);
  const bool cutsPair =
      !front.empty() && !back.empty() && U16_IS_LEAD(front.back()) && U16_IS_TRAIL(back.front());
  if (!cutsPair) {
    appendUtf8(utf8, front);
    appendUtf8(utf8, back);
    return;
  }
  const std::u16string pair{front.back(), back.front()};
  front.remove_suffix(1);
  back.remove_prefix(1);
  appendUtf8(utf8, front);
  appendUtf8(utf8, pair);
  appendUtf8(utf8, back);
}

std::pair<std::u16string_view, std::u16string_view> AttributedText::pieces() const { return text_.pieces(); }

AttributedText AttributedText::subtext(TextRange range) const {
  AttributedText part;
  if (range.length == 0) return part;
  part.text_.replace(0, 0, text(range));
  const std::size_t runs = runCount();
  for (std::size_t run = runIndex(range.location); run < runs && startOf(run) < range.end(); ++run) {
    const std::size_t start = std::max(startOf(run), range.location) - range.location;
    part.before_.push_back({.start = start, .attributes = sharedOf(run)});
  }
  return part;
}

AttributedText::Run AttributedText::runAt(std::size_t position) const {
  const std::size_t run = runIndex(position);
  const std::size_t start = startOf(run);
  return {.range = {.location = start, .length = startOf(run + 1) - start}, .attributes = *sharedOf(run)};
}

void AttributedText::forEachRun(TextRange range, const std::function<void(const Run&)>& visit) const {
  if (range.length == 0) return;
  std::size_t start = range.location;
  for (std::size_t run = runIndex(start); start < range.end(); ++run) {
    const std::size_t end = std::min(startOf(run + 1), range.end());
    visit({.range = {.location = start, .length = end - start}, .attributes = *sharedOf(run)});
    start = end;
  }
}

std::size_t AttributedText::runCount() const { return before_.size() + behind_.size(); }

void AttributedText::replace(TextRange range, const AttributedText& replacement) {
  if (&replacement == this) return replace(range, AttributedText(replacement));
  splitRuns(range.location);
  dropRunsUpTo(range.end());
  const auto [front, back] = replacement.pieces();
  text_.replace(range.location, range.length, front);
  if (!back.empty()) text_.replace(range.location + front.size(), 0, back);
  const std::size_t runs = replacement.runCount();
  for (std::size_t run = 0; run < runs; ++run) {
    putRun(range.location + replacement.startOf(run), replacement.sharedOf(run));
  }
  joinRuns();
}

void AttributedText::append(std::u16string_view text, const TextAttributes& attributes) {
  if (text.empty()) return;
  const std::size_t runs = runCount();
  if (runs > 0 && *sharedOf(runs - 1) == attributes)
    return appendShared(text, SharedAttributes(sharedOf(runs - 1)));
  appendShared(text, std::make_shared<const TextAttributes>(attributes));
}

void AttributedText::appendShared(std::u16string_view text, SharedAttributes attributes) {
  if (text.empty()) return;
  const std::size_t end = length();
  splitRuns(end);
  if (std::none_of(text.begin(), text.end(), isForeign)) {
    text_.replace(end, 0, text);
  } else {
    text_.replace(end, 0, inOwnUnits(text));
  }
  putRun(end, std::move(attributes));
}

bool AttributedText::changeAttributes(TextRange range, const std::function<void(TextAttributes&)>& change) {
  if (range.length == 0) return false;
  // By the attributes that were. What runs share before they share afterwards.
  std::unordered_map<const TextAttributes*, SharedAttributes> known;
  std::vector<Mark> changed;
  bool isOther = false;
  const std::size_t runs = runCount();
  for (std::size_t run = runIndex(range.location); run < runs && startOf(run) < range.end(); ++run) {
    const SharedAttributes& old = sharedOf(run);
    SharedAttributes& now = known[old.get()];
    if (!now) {
      TextAttributes attributes = *old;
      change(attributes);
      const bool isSame = attributes == *old;
      isOther |= !isSame;
      now = isSame ? old : std::make_shared<const TextAttributes>(std::move(attributes));
    }
    changed.push_back({.start = std::max(startOf(run), range.location), .attributes = now});
  }
  if (!isOther) return false;
  splitRuns(range.location);
  dropRunsUpTo(range.end());
  for (Mark& mark : changed) putRun(mark.start, std::move(mark.attributes));
  joinRuns();
  return true;
}

TextRange AttributedText::paragraphRange(TextRange range) const {
  const auto [front, back] = pieces();
  constexpr std::size_t none = std::u16string_view::npos;
  std::size_t start = 0;
  if (range.location > front.size()) {
    const std::size_t found = back.substr(0, range.location - front.size()).rfind(lineBreak);
    if (found != none) start = front.size() + found + 1;
  }
  if (start == 0) {
    const std::size_t found = front.substr(0, range.location).rfind(lineBreak);
    if (found != none) start = found + 1;
  }
  // A range that ends behind a line break does not touch the paragraph that follows.
  const std::size_t from = range.length > 0 ? range.end() - 1 : range.location;
  std::size_t end = none;
  if (from < front.size()) end = front.find(lineBreak, from);
  if (end == none) {
    end = back.find(lineBreak, std::max(from, front.size()) - front.size());
    if (end != none) end += front.size();
  }
  end = end == none ? length() : end + 1;
  return {.location = start, .length = end - start};
}

bool operator==(const AttributedText& left, const AttributedText& right) {
  const std::size_t runs = left.runCount();
  if (left.length() != right.length() || runs != right.runCount()) return false;
  for (std::size_t run = 0; run < runs; ++run) {
    if (left.startOf(run) != right.startOf(run) || !areEqual(left.sharedOf(run), right.sharedOf(run)))
      return false;
  }
  const auto [front, back] = left.pieces();
  const auto [rightFront, rightBack] = right.text_.pieces(0, front.size());
  const auto [nextFront, nextBack] = right.text_.pieces(front.size(), back.size());
  return front.substr(0, rightFront.size()) == rightFront && front.substr(rightFront.size()) == rightBack &&
         back.substr(0, nextFront.size()) == nextFront && back.substr(nextFront.size()) == nextBack;
}

/// Of the run behind the last one it is the end of the text.
std::size_t AttributedText::startOf(std::size_t run) const {
  if (run < before_.size()) return before_[run].start;
  const std::size_t behind = run - before_.size();
  if (behind == behind_.size()) return length();
  return length() - behind_[behind_.size() - 1 - behind].start;
}

const AttributedText::SharedAttributes& AttributedText::sharedOf(std::size_t run) const {
  if (run < before_.size()) return before_[run].attributes;
  return behind_[behind_.size() - 1 - (run - before_.size())].attributes;
}

std::size_t AttributedText::runIndex(std::size_t position) const {
  std::size_t low = 0;
  std::size_t high = runCount();
  while (high - low > 1) {
    const std::size_t middle = low + (high - low) / 2;
    (startOf(middle) <= position ? low : high) = middle;
  }
  return low;
}

/// Brings the runs that start before `position` to one side and the others to the other, a run over it in
/// two parts.
void AttributedText::splitRuns(std::size_t position) {
  const std::size_t end = length();
  while (!before_.empty() && before_.back().start >= position) {
    Mark& last = before_.back();
    behind_.push_back({.start = end - last.start, .attributes = std::move(last.attributes)});
    before_.pop_back();
  }
  while (!behind_.empty() && end - behind_.back().start < position) {
    Mark& next = behind_.back();
    before_.push_back({.start = end - next.start, .attributes = std::move(next.attributes)});
    behind_.pop_back();
  }
  const bool standsAtBorder =
      position == end || before_.empty() || (!behind_.empty() && end - behind_.back().start == position);
  if (!standsAtBorder) {
    behind_.push_back({.start = end - position, .attributes = before_.back().attributes});
  }
}

/// After a split: forgets the runs from there to `position`.
void AttributedText::dropRunsUpTo(std::size_t position) {
  const std::size_t end = length();
  SharedAttributes last;
  while (!behind_.empty() && end - behind_.back().start < position) {
    last = std::move(behind_.back().attributes);
    behind_.pop_back();
  }
  const std::size_t next = behind_.empty() ? end : end - behind_.back().start;
  if (last && position < next) behind_.push_back({.start = end - position, .attributes = std::move(last)});
}

void AttributedText::putRun(std::size_t start, SharedAttributes attributes) {
  if (!before_.empty() && areEqual(before_.back().attributes, attributes)) return;
  before_.push_back({.start = start, .attributes = std::move(attributes)});
}

/// Merges the runs on both sides of the last change.
void AttributedText::joinRuns() {
  if (before_.empty() || behind_.empty()) return;
  if (areEqual(before_.back().attributes, behind_.back().attributes)) behind_.pop_back();
}

}  // namespace pell
