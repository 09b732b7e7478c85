#include "localserver/Text.h"

#include <memory>
#include <stdexcept>
#include <unicode/brkiter.h>
#include <unicode/uchar.h>
#include <unicode/unistr.h>

namespace pell::localserver {
namespace {

std::string utf8(const icu::UnicodeString& text) {
  std::string result;
  text.toUTF8String(result);
  return result;
}

bool isBlank(UChar32 c) { return u_isUWhiteSpace(c); }

bool endsParagraph(UChar32 c) { return c == '\n' || c == '\r' || c == 0x85 || c == 0x2028 || c == 0x2029; }

icu::UnicodeString trimmedUnicode(const icu::UnicodeString& text) {
  std::int32_t begin = 0;
  std::int32_t end = text.length();
  // White space lies in the basic plane, so code units will do.
  while (begin < end && isBlank(text[begin])) ++begin;
  while (end > begin && isBlank(text[end - 1])) --end;
  return text.tempSubStringBetween(begin, end);
}

}  // namespace

std::string repairedUtf8(const std::string& text) { return utf8(icu::UnicodeString::fromUTF8(text)); }

std::string trimmed(const std::string& text) {
  return utf8(trimmedUnicode(icu::UnicodeString::fromUTF8(text)));
}

std::int64_t wordCount(const std::string& text) {
  const auto unicode = icu::UnicodeString::fromUTF8(text);
  std::int64_t count = 0;
  bool inWord = false;
  for (std::int32_t i = 0; i < unicode.length(); ++i) {
    const bool blank = isBlank(unicode[i]);
    if (!blank && !inWord) ++count;
    inWord = !blank;
  }
  return count;
}

std::int64_t characterCount(const std::string& text) {
  const auto unicode = icu::UnicodeString::fromUTF8(text);
  UErrorCode status = U_ZERO_ERROR;
  const std::unique_ptr<icu::BreakIterator> characters(
      icu::BreakIterator::createCharacterInstance(icu::Locale::getRoot(), status));
  if (U_FAILURE(status)) throw std::runtime_error("Unicode data is missing.");
  characters->setText(unicode);
  std::int64_t count = 0;
  while (characters->next() != icu::BreakIterator::DONE) ++count;
  return count;
}

std::vector<std::string> paragraphsOf(const std::string& text) {
  const auto unicode = icu::UnicodeString::fromUTF8(text);
  std::vector<std::string> paragraphs;
  std::int32_t begin = 0;
  for (std::int32_t i = 0; i <= unicode.length(); ++i) {
    if (i < unicode.length() && !endsParagraph(unicode[i])) continue;
    const auto piece = trimmedUnicode(unicode.tempSubStringBetween(begin, i));
    if (!piece.isEmpty()) paragraphs.push_back(utf8(piece));
    begin = i + 1;
  }
  return paragraphs;
}

}  // namespace pell::localserver
