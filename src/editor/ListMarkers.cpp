#include "editor/ListMarkers.h"

#include <algorithm>
#include <charconv>
#include <limits>

#include "editor/AttributedText.h"
#include "editor/RichText.h"

namespace pell {
namespace {

bool isDigit(char16_t unit) { return unit >= u'0' && unit <= u'9'; }

constexpr std::size_t tailLength = 2;  // point and tab

}  // namespace

std::optional<std::size_t> ListMarkers::orderedMarkerLength(std::u16string_view line) {
  const auto end = std::ranges::find_if_not(line, isDigit);
  const auto digits = static_cast<std::size_t>(end - line.begin());
  if (digits == 0 || line.substr(digits, tailLength) != u".\t") return std::nullopt;
  return digits + tailLength;
}

ListKind ListMarkers::listKind(std::u16string_view line) {
  if (line.starts_with(RichText::bulletMarker)) return ListKind::bullet;
  return orderedMarkerLength(line) ? ListKind::ordered : ListKind::none;
}

std::size_t ListMarkers::markerLength(std::u16string_view line) {
  if (line.starts_with(RichText::bulletMarker)) return RichText::bulletMarker.size();
  return orderedMarkerLength(line).value_or(0);
}

std::u16string ListMarkers::lead(const AttributedText& text, TextRange paragraph) {
  std::size_t end = paragraph.location;
  while (end < paragraph.end() && isDigit(text[end])) ++end;
  end = std::min(end + tailLength, paragraph.end());
  return text.text({.location = paragraph.location, .length = end - paragraph.location});
}

std::u16string ListMarkers::next(std::u16string_view line) {
  if (listKind(line) == ListKind::bullet) return std::u16string(RichText::bulletMarker);
  const auto digits = line.substr(0, markerLength(line) - tailLength);
  const std::string ascii(digits.begin(), digits.end());
  std::int64_t number = 0;
  const auto parsed = std::from_chars(ascii.data(), ascii.data() + ascii.size(), number);
  const bool countsOn = parsed.ec == std::errc() && number < std::numeric_limits<std::int64_t>::max();
  return ordered(countsOn ? number + 1 : 2);
}

std::u16string ListMarkers::ordered(std::int64_t number) {
  const std::string digits = std::to_string(number);
  return std::u16string(digits.begin(), digits.end()) + u".\t";
}

}  // namespace pell
