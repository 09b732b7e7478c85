#include "editor/TextCounting.h"

#include <array>
#include <cstddef>
#include <string>
#include <unicode/uchar.h>
#include <unicode/utf8.h>

#include "editor/GraphemeClusters.h"
#include "stores/Text.h"

namespace pell {
namespace {

const std::uint8_t* bytesOf(std::string_view text) {
  return reinterpret_cast<const std::uint8_t*>(text.data());
}

enum class ByteKind : std::uint8_t {
  word,    // of a word, wherever it stands
  space,   // ASCII white space
  perhaps  // may begin white space beyond ASCII
};

constexpr std::array<ByteKind, 256> byteKinds = [] {
  std::array<ByteKind, 256> kinds{};
  for (const unsigned char byte : {' ', '\t', '\n', '\v', '\f', '\r'}) kinds[byte] = ByteKind::space;
  for (const unsigned char byte : {0xC2, 0xE1, 0xE2, 0xE3}) kinds[byte] = ByteKind::perhaps;
  return kinds;
}();

ByteKind kindAt(std::string_view text, std::size_t at) {
  return byteKinds[static_cast<unsigned char>(text[at])];
}

/// The end of the white space code point at `at`; `at` itself if there is none.
std::size_t endOfSpace(std::string_view text, std::size_t at) {
  UChar32 character;
  std::size_t end = at;
  U8_NEXT(bytesOf(text), end, text.size(), character);
  return character >= 0 && u_isUWhiteSpace(character) ? end : at;
}

/// White space that is a control code (a line break, a tab) joins nothing; a blank takes marks, and joins
/// a prepended sign before it.
bool isBlank(std::string_view space) {
  if (space.size() == 1) return space == " ";
  return space != "\xC2\x85" && space != "\xE2\x80\xA8" && space != "\xE2\x80\xA9";
}

bool isAfterPrependedSign(std::string_view text, std::size_t at) {
  if (at == 0 || U8_IS_SINGLE(text[at - 1])) return false;
  const std::size_t begin = at < U8_MAX_LENGTH ? 0 : at - U8_MAX_LENGTH;
  auto end = static_cast<int32_t>(at - begin);
  UChar32 character;
  U8_PREV(bytesOf(text) + begin, 0, end, character);
  return character >= 0 && u_getIntPropertyValue(character, UCHAR_GRAPHEME_CLUSTER_BREAK) == U_GCB_PREPEND;
}

std::size_t endOfMarks(std::string_view text, std::size_t at) {
  while (at < text.size() && !U8_IS_SINGLE(text[at])) {
    UChar32 character;
    std::size_t end = at;
    U8_NEXT(bytesOf(text), end, text.size(), character);
    if (character < 0) break;
    const auto value = u_getIntPropertyValue(character, UCHAR_GRAPHEME_CLUSTER_BREAK);
    if (value != U_GCB_EXTEND && value != U_GCB_SPACING_MARK && value != U_GCB_ZWJ) break;
    at = end;
  }
  return at;
}

/// The end of the separator at `at`; `at` itself if what stands there belongs to a word. A separator is a
/// character that begins with white space, so its marks are part of it.
std::size_t endOfSeparator(std::string_view text, std::size_t at) {
  const std::size_t end = endOfSpace(text, at);
  if (end == at || !isBlank(text.substr(at, end - at))) return end;
  return isAfterPrependedSign(text, at) ? at : endOfMarks(text, end);
}

bool isSeparator(std::string_view character) {
  return kindAt(character, 0) != ByteKind::word && endOfSpace(character, 0) > 0;
}

constexpr std::size_t block = 32;

bool isAsciiSpaceAt(std::string_view text, std::size_t at) {
  const auto byte = static_cast<unsigned char>(text[at]);
  return byte == ' ' || static_cast<unsigned char>(byte - '\t') < 5;
}

/// Whether nothing but ASCII stands from just before `at` to just after a block from there on, so that no
/// byte of the block has a neighbour to join.
bool isSimpleBlock(std::string_view text, std::size_t at) {
  if (at == 0 || at + block >= text.size() || !U8_IS_SINGLE(text[at])) return false;
  unsigned char bits = 0;
  for (std::size_t index = 0; index < block + 2; ++index) {
    bits |= static_cast<unsigned char>(text[at - 1 + index]);
  }
  return bits < 0x80;
}

/// The words that begin in a simple block: bytes of words after white space.
std::int64_t wordsBegunIn(std::string_view text, std::size_t at) {
  unsigned char begun = 0;
  for (std::size_t index = 0; index < block; ++index) {
    const bool spaceBefore = isAsciiSpaceAt(text, at + index - 1);
    const bool space = isAsciiSpaceAt(text, at + index);
    begun += static_cast<unsigned char>(spaceBefore & !space);
  }
  return begun;
}

}  // namespace

std::int64_t TextCounting::words(std::string_view text) {
  text = trimmed(text);
  std::int64_t words = 0;
  bool inWord = false;
  for (std::size_t at = 0; at < text.size();) {
    // A blank just before the block may belong to a sign, and so to a word.
    if (isSimpleBlock(text, at) && inWord != isAsciiSpaceAt(text, at - 1)) {
      words += wordsBegunIn(text, at);
      at += block;
      inWord = !isAsciiSpaceAt(text, at - 1);
      continue;
    }
    std::size_t end = at;
    if (kindAt(text, at) != ByteKind::word) end = endOfSeparator(text, at);
    const bool separated = end > at;
    words += !separated && !inWord;
    inWord = !separated;
    at = separated ? end : at + 1;
  }
  return words;
}

std::int64_t TextCounting::characters(std::string_view text) {
  std::int64_t characters = GraphemeClusters::count(text);
  // Every CR LF counts as the one LF for which it stands, and so joins a lone CR before it.
  constexpr std::string_view joining = "\r\r\n";
  for (auto at = text.find(joining); at != text.npos; at = text.find(joining, at + 1)) --characters;
  return characters;
}

TextStats TextCounting::stats(std::string_view text) {
  std::string withoutSpaces;
  withoutSpaces.reserve(text.size());
  GraphemeClusters clusters(text);
  for (auto character = clusters.next(); !character.empty(); character = clusters.next()) {
    if (!isSeparator(character)) withoutSpaces += character;
  }
  return {.words = words(text),
          .characters = characters(text),
          .charactersNoSpaces = GraphemeClusters::count(withoutSpaces)};
}

}  // namespace pell
