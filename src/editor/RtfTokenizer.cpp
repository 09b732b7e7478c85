#include "editor/RtfTokenizer.h"

#include <algorithm>
#include <array>
#include <limits>

namespace pell {
namespace {

bool isLetter(char c) { return (c | 0x20) >= 'a' && (c | 0x20) <= 'z'; }
bool isDigit(char c) { return c >= '0' && c <= '9'; }

constexpr std::uint8_t endsText = 1;
constexpr std::uint8_t notPlain = 2;

constexpr std::array<std::uint8_t, 256> kindsOfBytes = [] {
  std::array<std::uint8_t, 256> kinds{};
  for (std::size_t byte = 0; byte < kinds.size(); ++byte)
    kinds[byte] = byte < ' ' || byte > '~' ? notPlain : 0;
  for (const unsigned char byte : {'\\', '{', '}', '\r', '\n'}) kinds[byte] |= endsText;
  return kinds;
}();

constexpr std::size_t blockSize = 16;

/// Whether all bytes of a block are printable ASCII that no text ends at. Without branches, so that a
/// compiler looks at them at once.
bool isPlainBlock(const char* bytes) {
  unsigned odd = 0;
  for (std::size_t at = 0; at < blockSize; ++at) {
    const auto byte = static_cast<unsigned char>(bytes[at]);
    odd |= static_cast<unsigned>(byte < ' ') | static_cast<unsigned>(byte > '~') |
           static_cast<unsigned>(byte == '\\') | static_cast<unsigned>(byte == '{') |
           static_cast<unsigned>(byte == '}');
  }
  return odd == 0;
}

std::uint8_t kindOf(char byte) { return kindsOfBytes[static_cast<unsigned char>(byte)]; }

/// The value of a hexadecimal digit; -1 for anything else.
int digitValue(char c) {
  if (isDigit(c)) return c - '0';
  if (c >= 'a' && c <= 'f') return c - 'a' + 10;
  if (c >= 'A' && c <= 'F') return c - 'A' + 10;
  return -1;
}

}  // namespace

RtfToken RtfTokenizer::next() {
  while (at_ < document_.size() && (document_[at_] == '\n' || document_[at_] == '\r')) ++at_;
  if (at_ == document_.size()) return {};
  switch (document_[at_]) {
    case '{':
      ++at_;
      return {.kind = RtfToken::Kind::open};
    case '}':
      ++at_;
      return {.kind = RtfToken::Kind::close};
    case '\\':
      ++at_;
      return control();
    default:
      return text();
  }
}

RtfToken RtfTokenizer::text() {
  const std::size_t begin = at_;
  std::size_t end = at_;
  std::uint8_t kinds = 0;
  while (end + blockSize <= document_.size() && isPlainBlock(document_.data() + end)) end += blockSize;
  for (; end < document_.size() && (kindOf(document_[end]) & endsText) == 0; ++end)
    kinds |= kindOf(document_[end]);
  at_ = end;
  return {.kind = RtfToken::Kind::text,
          .isPlain = (kinds & notPlain) == 0,
          .text = document_.substr(begin, end - begin)};
}

bool RtfTokenizer::skipTextByte() {
  if (at_ == document_.size() || (kindOf(document_[at_]) & endsText) != 0) return false;
  ++at_;
  return true;
}

RtfToken RtfTokenizer::control() {
  if (at_ == document_.size()) return {};
  if (isLetter(document_[at_])) return word();
  const RtfToken symbol{.kind = RtfToken::Kind::symbol, .text = document_.substr(at_, 1)};
  ++at_;
  return symbol.text == "'" ? hexByte() : symbol;
}

RtfToken RtfTokenizer::hexByte() {
  RtfToken token{.kind = RtfToken::Kind::byte, .hasParameter = true};
  int digits = 0;
  while (digits < 2 && at_ < document_.size() && digitValue(document_[at_]) >= 0) {
    token.parameter = token.parameter * 16 + digitValue(document_[at_++]);
    ++digits;
  }
  if (digits == 2) return token;
  return {.kind = RtfToken::Kind::symbol, .text = "'"};  // damaged
}

RtfToken RtfTokenizer::word() {
  std::size_t end = at_;
  while (end < document_.size() && isLetter(document_[end])) ++end;
  RtfToken token{.kind = RtfToken::Kind::word, .text = document_.substr(at_, end - at_)};
  at_ = endOfParameter(token, end);
  if (at_ < document_.size() && document_[at_] == ' ') ++at_;
  if (token.text == "bin") {
    skipBinary(token);
    token.kind = RtfToken::Kind::binary;
  }
  return token;
}

/// Reads the number that may stand at `begin`.
std::size_t RtfTokenizer::endOfParameter(RtfToken& token, std::size_t begin) const {
  constexpr std::int64_t most = std::numeric_limits<std::int32_t>::max();
  std::size_t digit = begin;
  const bool negative = digit < document_.size() && document_[digit] == '-';
  if (negative) ++digit;
  if (digit == document_.size() || !isDigit(document_[digit])) return begin;
  std::int64_t value = 0;
  for (; digit < document_.size() && isDigit(document_[digit]); ++digit) {
    value = std::min(value * 10 + (document_[digit] - '0'), most);
  }
  token.hasParameter = true;
  token.parameter = static_cast<std::int32_t>(negative ? -value : value);
  return digit;
}

void RtfTokenizer::skipBinary(const RtfToken& token) {
  if (token.parameter <= 0) return;
  at_ += std::min(static_cast<std::size_t>(token.parameter), document_.size() - at_);
}

void RtfTokenizer::skipGroup() {
  std::size_t depth = 0;
  while (at_ < document_.size()) {
    const char c = document_[at_];
    if (c == '}' && depth == 0) return;
    ++at_;
    if (c == '{') {
      ++depth;
    } else if (c == '}') {
      --depth;
    } else if (c == '\\') {
      control();  // a bracket behind it is text; raw data may hold anything
    }
  }
}

}  // namespace pell
