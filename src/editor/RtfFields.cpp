#include "editor/RtfFields.h"

#include <algorithm>
#include <cstddef>

#include "editor/Utf16.h"

namespace pell {
namespace {

constexpr std::u16string_view hyperlink = u"HYPERLINK";

/// The words of an instruction: blanks part them but in quotes, and within quotes a backslash takes a quote
/// or a backslash as it stands.
class Words {
 public:
  explicit Words(std::u16string_view instruction) : rest_(instruction) {}

  bool next() {
    rest_.remove_prefix(std::min(rest_.find_first_not_of(u' '), rest_.size()));
    word.clear();
    isQuoted = !rest_.empty() && rest_.front() == '"';
    if (isQuoted) return readQuoted();
    const std::size_t length = std::min(rest_.find(u' '), rest_.size());
    word = rest_.substr(0, length);
    rest_.remove_prefix(length);
    return length > 0;
  }

  std::u16string word;
  bool isQuoted = false;

 private:
  bool readQuoted() {
    std::size_t at = 1;
    for (; at < rest_.size() && rest_[at] != '"'; ++at) {
      const bool escapes =
          rest_[at] == '\\' && at + 1 < rest_.size() && (rest_[at + 1] == '"' || rest_[at + 1] == '\\');
      if (escapes) ++at;
      word += rest_[at];
    }
    rest_.remove_prefix(std::min(at + 1, rest_.size()));
    return true;
  }

  std::u16string_view rest_;
};

bool isHyperlink(std::u16string_view word) {
  return std::equal(word.begin(), word.end(), hyperlink.begin(), hyperlink.end(),
                    [](char16_t left, char16_t right) { return (left & ~0x20) == right; });
}

/// Of an option: the anchor, the tip, the frame and the place in it. The others, such as the one that opens
/// a new window, stand alone.
bool takesWord(std::u16string_view option) {
  return option == u"\\l" || option == u"\\o" || option == u"\\t" || option == u"\\s";
}

}  // namespace

std::string rtfLinkTarget(std::u16string_view instruction) {
  Words words(instruction);
  if (!words.next() || !isHyperlink(words.word)) return {};
  std::u16string target;
  std::u16string anchor;
  std::u16string option;  // what the next word belongs to
  while (words.next()) {
    if (!words.isQuoted && words.word.front() == '\\') {
      option = takesWord(words.word) ? words.word : u"";
      continue;
    }
    if (option == u"\\l") {
      anchor = words.word;
    } else if (option.empty() && target.empty()) {
      target = words.word;
    }
    option.clear();  // of the others it is the frame and the tip
  }
  if (!anchor.empty()) target += u'#' + anchor;
  return utf8Of(target);
}

std::u16string rtfLinkInstruction(std::string_view target) {
  std::u16string instruction(hyperlink);
  instruction += u" \"";
  for (const char16_t unit : utf16Of(target)) {
    if (unit == '"' || unit == '\\') instruction += u'\\';
    instruction += unit;
  }
  return instruction += u'"';
}

}  // namespace pell
