#include "editor/MarkdownWriter.h"

#include <algorithm>
#include <fmt/format.h>
#include <iterator>
#include <optional>
#include <string_view>
#include <unicode/uchar.h>
#include <utility>
#include <vector>

#include "editor/BlockStyle.h"
#include "editor/ListMarkers.h"
#include "editor/RichText.h"
#include "editor/Utf16.h"

namespace pell {
namespace {

constexpr char16_t lineSeparator = u'\u2028';

/// Characters of one kind in a row.
struct Stretch {
  std::u16string text;
  bool bold = false;
  bool italic = false;
  bool strikethrough = false;
  std::optional<std::string> link;

  bool isPlain() const { return !bold && !italic && !strikethrough; }
  bool hasLooksOf(const Stretch& other) const {
    return bold == other.bold && italic == other.italic && strikethrough == other.strikethrough &&
           link == other.link;
  }
};

enum class Block { text, heading, item, quote };

/// A paragraph, with what begins its lines in Markdown.
struct Paragraph {
  Block block = Block::text;
  std::string first;  // before its first line
  std::string next;   // before the lines after it
  std::vector<Stretch> content;
};

// Readers differ in whether symbols, as emoji are, count as punctuation; here they may be either.
bool isSpace(char16_t unit) { return u_isUWhiteSpace(unit); }
bool mayBePunctuation(char16_t unit) {
  return (U_GET_GC_MASK(unit) & (U_GC_P_MASK | U_GC_S_MASK | U_GC_CS_MASK)) != 0;
}
bool mayBeWord(char16_t unit) { return !isSpace(unit) && (U_GET_GC_MASK(unit) & U_GC_P_MASK) == 0; }

// Escaping ------------------------------------------------------------------------------------------------

bool isMarkup(char16_t unit) {
  return std::u16string_view(u"\\`*_[]<>&~|").find(unit) != std::u16string_view::npos;
}

/// Writes the text of one line after the other.
class Lines {
 public:
  Lines(std::string& out, const Paragraph& paragraph) : out_(out), paragraph_(paragraph) {}

  void text(std::u16string_view units) {
    for (std::size_t at = 0; at < units.size(); ++at) put(units, at);
    flush();
  }

  void markup(std::string_view characters) {
    out_ += characters;
    isStart_ = false;
    isNumber_ = false;
  }

  void openLink() {
    if (out_.ends_with('!')) out_.insert(out_.size() - 1, 1, '\\');  // with it, this would be a picture
    markup("[");
  }

 private:
  void put(std::u16string_view units, std::size_t at) {
    const char16_t unit = units[at];
    if (unit == lineSeparator) {
      breakLine();
      return;
    }
    const bool wasStart = std::exchange(isStart_, false);
    if (wasStart && isSpace(unit)) {
      // White space there would be taken away, or make a block of code.
      reference(unit);
      return;
    }
    const bool wasNumber = isNumber_;
    isNumber_ = (wasStart || wasNumber) && unit >= u'0' && unit <= u'9';
    const bool startsBlock = wasStart && std::u16string_view(u"#+-=").find(unit) != std::u16string_view::npos;
    const bool endsNumber = wasNumber && (unit == u'.' || unit == u')');
    const bool endsHeading = paragraph_.block == Block::heading && unit == u'#';
    if (isMarkup(unit) || startsBlock || endsNumber || endsHeading) waiting_ += u'\\';
    waiting_ += unit;
  }

  void breakLine() {
    flush();
    if (paragraph_.block == Block::heading) {
      out_ += ' ';
      return;
    }
    out_ += "\\\n" + paragraph_.next;
    isStart_ = true;
    isNumber_ = false;
  }

  void reference(char16_t unit) {
    flush();
    fmt::format_to(std::back_inserter(out_), "&#{};", static_cast<unsigned>(unit));
  }

  void flush() {
    appendUtf8(out_, waiting_);
    waiting_.clear();
  }

  std::string& out_;
  const Paragraph& paragraph_;
  std::u16string waiting_;
  bool isStart_ = true;    // of a line
  bool isNumber_ = false;  // nothing but digits stands in the line so far
};

std::string target(std::string_view link) {
  std::string result;
  for (char each : link) {
    const auto byte = static_cast<unsigned char>(each);
    if (byte <= ' ' || byte == 0x7F || std::string_view("()<>\\").find(each) != std::string_view::npos) {
      fmt::format_to(std::back_inserter(result), "%{:02X}", byte);
    } else {
      result += each;
    }
  }
  return result;
}

// Emphasis ------------------------------------------------------------------------------------------------

struct Marks {
  std::string open;
  std::string close;
};

/// Asterisks are read as emphasis only in some surroundings; the tags of HTML are in all.
Marks marks(const Stretch& stretch, bool asTags) {
  Marks result;
  const auto add = [&](bool isWanted, std::string_view mark, std::string_view tag) {
    if (!isWanted) return;
    result.open += asTags ? fmt::format("<{}>", tag) : std::string(mark);
    result.close = (asTags ? fmt::format("</{}>", tag) : std::string(mark)) + result.close;
  };
  add(stretch.strikethrough, "~~", "del");
  add(stretch.bold, "**", "strong");
  add(stretch.italic, "*", "em");
  return result;
}

class Inline {
 public:
  Inline(std::string& out, const Paragraph& paragraph)
      : lines_(out, paragraph), content_(paragraph.content) {}

  void write() {
    for (std::size_t at = 0; at < content_.size(); ++at) {
      const auto& link = content_[at].link;
      if (link && (at == 0 || content_[at - 1].link != link)) lines_.openLink();
      stretch(at);
      const bool isLast = at + 1 == content_.size();
      if (link && (isLast || content_[at + 1].link != link)) lines_.markup("](" + target(*link) + ")");
    }
  }

 private:
  /// Blanks at its ends stand outside of the marks, as marks beside them are none.
  void stretch(std::size_t at) {
    const Stretch& stretch = content_[at];
    const std::u16string_view text = stretch.text;
    std::size_t begin = 0;
    while (begin < text.size() && isSpace(text[begin])) ++begin;
    std::size_t end = text.size();
    while (end > begin && isSpace(text[end - 1])) --end;
    if (stretch.isPlain() || begin == end) {
      lines_.text(text);
      endsInMark_ = false;
      return;
    }
    const std::u16string_view core = text.substr(begin, end - begin);
    const char16_t before = begin > 0 ? u' ' : last(at);
    const char16_t after = end < text.size() ? u' ' : first(at);
    const bool needsTags = (begin == 0 && endsInMark_) ||
                           (mayBePunctuation(core.front()) && mayBeWord(before)) ||
                           (mayBePunctuation(core.back()) && mayBeWord(after));
    const Marks around = marks(stretch, needsTags);
    lines_.text(text.substr(0, begin));
    lines_.markup(around.open);
    lines_.text(core);
    lines_.markup(around.close);
    lines_.text(text.substr(end));
    endsInMark_ = !needsTags && end == text.size();
  }

  char16_t last(std::size_t at) const { return at == 0 ? u' ' : content_[at - 1].text.back(); }
  char16_t first(std::size_t at) const {
    return at + 1 == content_.size() ? u' ' : content_[at + 1].text.front();
  }

  Lines lines_;
  const std::vector<Stretch>& content_;
  bool endsInMark_ = false;
};

// Paragraphs ----------------------------------------------------------------------------------------------

bool isBold(const TextAttributes& attributes) { return attributes.font && attributes.font->isBold(); }

/// Bold of ordinary size makes a heading only of a whole paragraph.
BlockStyle styleOf(const AttributedText& text, TextRange range) {
  const auto& font = text.attributesAt(range.location).font;
  const BlockStyle style = font ? blockStyleOf(*font) : BlockStyle::body;
  if (style != BlockStyle::subheading) return style;
  bool isWhole = true;
  text.forEachRun(range, [&](const AttributedText::Run& run) { isWhole &= isBold(run.attributes); });
  return isWhole ? style : BlockStyle::body;
}

void setBlock(Paragraph& paragraph, std::string first, std::string next, Block block) {
  paragraph.first = std::move(first);
  paragraph.next = std::move(next);
  paragraph.block = block;
}

/// `range` without the marker of a list, which becomes one of Markdown's.
TextRange open(Paragraph& paragraph, const AttributedText& text, TextRange range) {
  const std::u16string lead = ListMarkers::lead(text, range);
  if (const std::size_t marker = ListMarkers::markerLength(lead); marker > 0) {
    const bool isOrdered = ListMarkers::listKind(lead) == ListKind::ordered;
    // More digits than nine make no list.
    const std::string number =
        isOrdered ? utf8Of(std::u16string_view(lead).substr(0, std::min<std::size_t>(marker - 2, 9))) : "";
    const std::string first = isOrdered ? number + ". " : "- ";
    setBlock(paragraph, first, std::string(first.size(), ' '), Block::item);
    return {range.location + marker, range.length - marker};
  }
  if (RichText::isQuote(text.attributesAt(range.location).paragraphStyle)) {
    setBlock(paragraph, "> ", "> ", Block::quote);
  } else if (const BlockStyle style = styleOf(text, range); style != BlockStyle::body) {
    const auto level = static_cast<std::size_t>(style) + 1;  // the largest comes first
    setBlock(paragraph, std::string(level, '#') + " ", "", Block::heading);
  }
  return range;
}

Paragraph read(const AttributedText& text, TextRange range) {
  Paragraph paragraph;
  const TextRange content = open(paragraph, text, range);
  const bool isHeading = paragraph.block == Block::heading;
  text.forEachRun(content, [&](const AttributedText::Run& run) {
    Stretch stretch{.text = text.text(run.range)};
    stretch.bold = isBold(run.attributes) && !isHeading;
    stretch.italic = run.attributes.font && run.attributes.font->italic;
    stretch.strikethrough = run.attributes.strikethrough.value_or(0) != 0;
    stretch.link = run.attributes.link;
    if (!paragraph.content.empty() && paragraph.content.back().hasLooksOf(stretch)) {
      paragraph.content.back().text += stretch.text;
    } else {
      paragraph.content.push_back(std::move(stretch));
    }
  });
  return paragraph;
}

/// Items of a list follow each other; what else is apart is told apart by an empty line.
std::string_view separator(const Paragraph& before, const Paragraph& after) {
  if (before.block == Block::item && after.block == Block::item) return "";
  return before.block == Block::quote && after.block == Block::quote ? ">\n" : "\n";
}

}  // namespace

std::string MarkdownWriter::write(const AttributedText& text) {
  std::string out;
  std::optional<Paragraph> before;
  for (std::size_t at = 0; at < text.length();) {
    TextRange range = text.paragraphRange({.location = at});
    at = range.end();
    if (text[range.end() - 1] == u'\n') --range.length;
    if (range.length == 0) continue;
    Paragraph paragraph = read(text, range);
    if (before) out += separator(*before, paragraph);
    out += paragraph.first;
    Inline(out, paragraph).write();
    out += '\n';
    before = std::move(paragraph);
  }
  return out;
}

}  // namespace pell
