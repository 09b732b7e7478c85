#include "editor/RtfTokenizer.h"

#include <algorithm>
#include <array>
#include <limits>

namespace pell {
namespace {

bool isLetter(char c) { return (c >= 'a' && c <= 'z') || (c >= 'A' && c <= 'Z'); }
bool isDigit(char c) { return c >= '0' && c <= '9'; }

/// Of the bytes, those that end a stretch of text.
constexpr std::array<bool, 256> endsText = [] {
  std::array<bool, 256> ends{};
  for (const unsigned char byte : {'\\', '{', '}', '\r', '\n'}) ends[byte] = true;
  return ends;
}();

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
  while (at_ < document_.size() && !endsText[static_cast<unsigned char>(document_[at_])]) ++at_;
  return {.kind = RtfToken::Kind::text, .text = document_.substr(begin, at_ - begin)};
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
  const std::size_t begin = at_;
  while (at_ < document_.size() && isLetter(document_[at_])) ++at_;
  RtfToken token{.kind = RtfToken::Kind::word, .text = document_.substr(begin, at_ - begin)};
  readParameter(token);
  if (at_ < document_.size() && document_[at_] == ' ') ++at_;
  if (token.text == "bin") {
    skipBinary(token);
    token.kind = RtfToken::Kind::binary;
  }
  return token;
}

void RtfTokenizer::readParameter(RtfToken& token) {
  constexpr std::int64_t most = std::numeric_limits<std::int32_t>::max();
  std::size_t digit = at_;
  const bool negative = digit < document_.size() && document_[digit] == '-';
  if (negative) ++digit;
  if (digit == document_.size() || !isDigit(document_[digit])) return;
  std::int64_t value = 0;
  for (; digit < document_.size() && isDigit(document_[digit]); ++digit) {
    value = std::min(value * 10 + (document_[digit] - '0'), most);
  }
  token.hasParameter = true;
  token.parameter = static_cast<std::int32_t>(negative ? -value : value);
  at_ = digit;
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
