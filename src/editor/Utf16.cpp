#include "editor/Utf16.h"

#include <algorithm>
#include <cstddef>
#include <cstdint>
#include <unicode/ustring.h>
#include <unicode/utf16.h>
#include <unicode/utf8.h>

namespace pell {
namespace {

constexpr UChar32 replacementCharacter = 0xFFFD;
// ICU counts in 32 bits; and what a piece may need at most is a moderate scratch.
constexpr std::size_t pieceUnits = 1U << 16U;

}  // namespace

std::u16string utf16Of(std::string_view utf8) {
  std::u16string text(utf8.size(), u'\0');  // no character has more units than bytes
  std::size_t units = 0;
  for (std::size_t at = 0; at < utf8.size();) {
    UChar32 character = 0;
    U8_NEXT_OR_FFFD(utf8.data(), at, utf8.size(), character);
    U16_APPEND_UNSAFE(text, units, character);
  }
  text.resize(units);
  return text;
}

std::string utf8Of(std::u16string_view utf16) {
  std::string text;
  appendUtf8(text, utf16);
  return text;
}

void appendUtf8(std::string& utf8, std::u16string_view utf16) {
  utf8.reserve(utf8.size() + utf16.size());
  while (!utf16.empty()) {
    std::size_t units = std::min(pieceUnits, utf16.size());
    if (units < utf16.size() && U16_IS_LEAD(utf16[units - 1])) --units;
    const std::size_t before = utf8.size();
    utf8.resize(before + units * 3);
    std::int32_t written = 0;
    UErrorCode error = U_ZERO_ERROR;
    u_strToUTF8WithSub(utf8.data() + before, static_cast<std::int32_t>(units * 3), &written, utf16.data(),
                       static_cast<std::int32_t>(units), replacementCharacter, nullptr, &error);
    utf8.resize(before + static_cast<std::size_t>(written));
    utf16.remove_prefix(units);
  }
}

}  // namespace pell
