#include "stores/Text.h"

#include <cstdint>
#include <cstring>
#include <unicode/locid.h>
#include <unicode/uchar.h>
#include <unicode/unistr.h>
#include <unicode/utf8.h>

namespace pell {
namespace {

icu::UnicodeString decoded(std::string_view text) {
  return icu::UnicodeString::fromUTF8(icu::StringPiece(text.data(), static_cast<int32_t>(text.size())));
}

/// How many bytes from the start are plain ASCII, eight at a time; history is mostly that.
std::size_t asciiPrefix(std::string_view text) {
  constexpr std::uint64_t highBits = 0x8080808080808080;
  std::size_t at = 0;
  for (; at + 8 <= text.size(); at += 8) {
    std::uint64_t word;
    std::memcpy(&word, text.data() + at, sizeof word);
    if (word & highBits) break;
  }
  return at;
}

template <class IsBlank>
std::string_view trimmedOf(std::string_view text, IsBlank isBlank) {
  const auto* bytes = reinterpret_cast<const uint8_t*>(text.data());
  int32_t begin = 0;
  auto end = static_cast<int32_t>(text.size());
  for (int32_t next = begin; begin < end; begin = next) {
    UChar32 character;
    U8_NEXT(bytes, next, end, character);
    if (!isBlank(character)) break;
  }
  for (int32_t previous = end; end > begin; end = previous) {
    UChar32 character;
    U8_PREV(bytes, begin, previous, character);
    if (!isBlank(character)) break;
  }
  return text.substr(static_cast<std::size_t>(begin), static_cast<std::size_t>(end - begin));
}

}  // namespace

bool isUtf8(std::string_view text) {
  const auto* bytes = reinterpret_cast<const uint8_t*>(text.data());
  const std::size_t size = text.size();
  for (std::size_t at = asciiPrefix(text); at < size;) {
    UChar32 character;
    U8_NEXT(bytes, at, size, character);
    if (character < 0) return false;
  }
  return true;
}

std::string repairedUtf8(std::string_view text) {
  if (isUtf8(text)) return std::string(text);
  std::string repaired;
  decoded(text).toUTF8String(repaired);
  return repaired;
}

std::string_view trimmed(std::string_view text) {
  return trimmedOf(text, [](UChar32 character) { return character >= 0 && u_isUWhiteSpace(character); });
}

std::string_view trimmedLine(std::string_view line) {
  return trimmedOf(line, [](UChar32 character) {
    return character == '\t' || (character >= 0 && u_charType(character) == U_SPACE_SEPARATOR);
  });
}

std::string lowercased(std::string_view text) {
  std::string lower;
  decoded(text).toLower(icu::Locale::getRoot()).toUTF8String(lower);
  return lower;
}

}  // namespace pell
