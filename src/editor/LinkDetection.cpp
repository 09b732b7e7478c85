#include "editor/LinkDetection.h"

#include <algorithm>
#include <array>
#include <unicode/uchar.h>

#include "editor/Utf16.h"

namespace pell {
namespace {

constexpr std::u16string_view openers = u"([{<\"'\u00AB\u2018\u201C";
constexpr std::u16string_view closers = u".,;:!?]}>\"'\u00BB\u2019\u201D\u2026";
constexpr std::u16string_view www = u"www.";

constexpr std::array<std::u16string_view, 4> starts{u"https://", u"http://", u"mailto:", www};

bool startsWith(std::u16string_view word, std::u16string_view start) {
  return word.size() >= start.size() &&
         std::ranges::equal(word.substr(0, start.size()), start, [](auto a, auto b) {
           return (a >= u'A' && a <= u'Z' ? a - u'A' + u'a' : a) == b;
         });
}

/// A closing bracket belongs to the address that has opened it.
bool endsInStrayBracket(std::u16string_view word) {
  return word.ends_with(u')') && std::ranges::count(word, u'(') < std::ranges::count(word, u')');
}

}  // namespace

std::optional<LinkDetection::Found> LinkDetection::atEnd(std::u16string_view line) {
  std::size_t begin = line.size();
  while (begin > 0 && !u_isUWhiteSpace(line[begin - 1])) --begin;
  std::u16string_view word = line.substr(begin);
  if (word.size() > longest) return std::nullopt;
  const auto isOneOf = [](char16_t unit, std::u16string_view set) { return set.find(unit) != set.npos; };
  while (!word.empty() && isOneOf(word.front(), openers)) word.remove_prefix(1);
  const std::size_t fromEnd = word.size();
  while (!word.empty() && (isOneOf(word.back(), closers) || endsInStrayBracket(word))) word.remove_suffix(1);
  const auto start = std::ranges::find_if(starts, [&](auto each) { return startsWith(word, each); });
  if (start == starts.end() || word.size() == start->size()) return std::nullopt;
  const std::u16string_view rest = word.substr(start->size());
  if (*start == www && rest.find(u'.') == rest.npos) return std::nullopt;
  if (*start == u"mailto:" && rest.find(u'@') == rest.npos) return std::nullopt;
  const std::string prefix = *start == www ? "https://" : "";
  return Found{.fromEnd = fromEnd, .length = word.size(), .target = prefix + utf8Of(word)};
}

}  // namespace pell
