#include "editor/RunningStats.h"

#include <algorithm>
#include <cstring>
#include <iterator>
#include <unicode/uchar.h>
#include <unicode/utf8.h>

namespace pell {
namespace {

constexpr std::size_t block = 256;

std::size_t commonPrefix(std::string_view left, std::string_view right) {
  const std::size_t limit = std::min(left.size(), right.size());
  std::size_t length = 0;
  while (length + block <= limit && std::memcmp(&left[length], &right[length], block) == 0) length += block;
  while (length < limit && left[length] == right[length]) ++length;
  return length;
}

std::size_t commonSuffix(std::string_view left, std::string_view right) {
  const std::size_t limit = std::min(left.size(), right.size());
  const char* leftEnd = left.data() + left.size();
  const char* rightEnd = right.data() + right.size();
  std::size_t length = 0;
  while (length + block <= limit &&
         std::memcmp(leftEnd - length - block, rightEnd - length - block, block) == 0) {
    length += block;
  }
  while (length < limit && leftEnd[-1 - static_cast<std::ptrdiff_t>(length)] ==
                               rightEnd[-1 - static_cast<std::ptrdiff_t>(length)]) {
    ++length;
  }
  return length;
}

bool isSpace(char byte) { return byte == ' ' || (byte >= '\t' && byte <= '\r'); }

/// Whether a code point makes a character of its own beside any other of which this holds.
bool standsAlone(UChar32 character) {
  if (character > ' ' && character < 0x7F) return true;
  if (character < 0xA0) return false;
  switch (u_getIntPropertyValue(character, UCHAR_GRAPHEME_CLUSTER_BREAK)) {
    case U_GCB_OTHER:
      return !u_isUWhiteSpace(character);
    case U_GCB_LV:
    case U_GCB_LVT:
      return true;
    default:
      return false;
  }
}

/// Whether the counts of what stands before and behind `at` add up to those of the whole: white space stands
/// before it, and neither there nor once the white space is left out can characters join.
bool isSeam(std::string_view text, std::size_t at) {
  if (!isSpace(text[at - 1])) return false;
  const auto* bytes = reinterpret_cast<const std::uint8_t*>(text.data());
  UChar32 character = 0;
  std::size_t next = at;
  U8_NEXT(bytes, next, text.size(), character);
  if (!standsAlone(character)) return false;
  std::size_t end = at;
  while (end > 0 && isSpace(text[end - 1])) --end;
  if (end == 0) return false;
  // A step back takes a place of 32 bits.
  const std::size_t begin = end < U8_MAX_LENGTH ? 0 : end - U8_MAX_LENGTH;
  auto place = static_cast<std::int32_t>(end - begin);
  U8_PREV(bytes + begin, 0, place, character);
  return standsAlone(character);
}

TextStats sum(TextStats left, const TextStats& right) {
  left.words += right.words;
  left.characters += right.characters;
  left.charactersNoSpaces += right.charactersNoSpaces;
  return left;
}

}  // namespace

/// `end` is the text's or a seam.
std::vector<RunningStats::Piece> RunningStats::counted(std::string_view text, std::size_t begin,
                                                       std::size_t end) const {
  std::vector<Piece> pieces;
  while (begin < end) {
    // The rest is not left over as a small piece, or they would become many.
    std::size_t next = end - begin < 2 * pieceLength_ ? end : begin + pieceLength_;
    while (next < end && !isSeam(text, next)) ++next;
    const std::string_view piece = text.substr(begin, next - begin);
    pieces.push_back({.length = piece.size(), .stats = TextCounting::stats(piece)});
    begin = next;
  }
  return pieces;
}

TextStats RunningStats::update(std::string_view text) {
  const std::size_t prefix = commonPrefix(text_, text);
  const std::size_t suffix = commonSuffix(std::string_view(text_).substr(prefix), text.substr(prefix));

  // What is kept in front: pieces that are all in the prefix, up to the last one that still ends at a seam.
  std::size_t begin = 0;
  auto front = pieces_.begin();
  while (front != pieces_.end() && begin + front->length <= prefix) begin += (front++)->length;
  while (front != pieces_.begin() && begin < text.size() && !isSeam(text, begin)) {
    begin -= (--front)->length;
  }
  // And behind: pieces that are all in the suffix, from the first one that begins at a seam.
  std::size_t end = text.size();
  auto back = pieces_.end();
  while (back != front && text.size() - end + std::prev(back)->length <= suffix) end -= (--back)->length;
  while (back != pieces_.end() && end > begin && !isSeam(text, end)) end += (back++)->length;

  auto pieces = counted(text, begin, end);
  pieces.insert(pieces.begin(), pieces_.begin(), front);
  pieces.insert(pieces.end(), back, pieces_.end());
  pieces_ = std::move(pieces);
  text_ = text;
  TextStats stats;
  for (const Piece& piece : pieces_) stats = sum(stats, piece.stats);
  return stats;
}

}  // namespace pell
