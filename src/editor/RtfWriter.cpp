#include "editor/RtfWriter.h"

#include <algorithm>
#include <array>
#include <charconv>
#include <cmath>
#include <cstdint>
#include <optional>
#include <string_view>
#include <unordered_map>
#include <utility>
#include <variant>
#include <vector>

#include "editor/RtfFields.h"
#include "editor/RtfStyle.h"
#include "editor/Utf16.h"

namespace pell {
namespace {

constexpr double twipsPerPoint = 20;
constexpr double hundredths = 100;
constexpr int hundredthsPerHalf = 50;
constexpr char16_t lineSeparator = 0x2028;

/// In whole units, whatever number it is.
std::int32_t counted(double value, double unit, std::int32_t most) {
  const double units = std::round(value * unit);
  if (std::isnan(units)) return 0;
  return static_cast<std::int32_t>(std::clamp<double>(units, -most, most));
}

std::int32_t twips(double points) { return counted(points, twipsPerPoint, RtfLimits::length); }

void appendNumber(std::string& rtf, std::int32_t number) {
  std::array<char, 12> digits;
  rtf.append(digits.data(), std::to_chars(digits.begin(), digits.end(), number).ptr);
}

void appendWord(std::string& rtf, std::string_view word, std::int32_t parameter) {
  rtf += word;
  appendNumber(rtf, parameter);
}

constexpr std::array<bool, 128> isPlain = [] {
  std::array<bool, 128> plain{};
  for (std::size_t unit = ' '; unit < 0x7F; ++unit) plain[unit] = unit != '\\' && unit != '{' && unit != '}';
  return plain;
}();

/// RTF counts UTF-16 code units, as signed numbers. The question mark is for readers that know no Unicode.
char* writeUnit(char* to, char16_t unit) {
  constexpr std::size_t longest = 6;
  *to++ = '\\';
  *to++ = 'u';
  to = std::to_chars(to, to + longest, static_cast<std::int16_t>(unit)).ptr;
  *to++ = '?';
  return to;
}

char* writeWord(char* to, std::string_view word) { return std::copy(word.begin(), word.end(), to); }

char* writeSpecial(char* to, char16_t unit) {
  switch (unit) {
    case '\\':
    case '{':
    case '}':
      *to++ = '\\';
      *to++ = static_cast<char>(unit);
      return to;
    case '\t':
      return writeWord(to, "\\tab ");
    case lineSeparator:
      return writeWord(to, "\\line ");
    default:
      return writeUnit(to, unit);
  }
}

void appendCharacters(std::string& rtf, std::u16string_view text) {
  constexpr std::size_t longest = 9;  // bytes of one code unit
  std::array<char, 256 * longest> buffer;
  while (!text.empty()) {
    const auto piece = text.substr(0, buffer.size() / longest);
    char* to = buffer.data();
    for (const char16_t unit : piece) {
      if (unit < isPlain.size() && isPlain[unit]) {
        *to++ = static_cast<char>(unit);
      } else {
        to = writeSpecial(to, unit);
      }
    }
    rtf.append(buffer.data(), to);
    text.remove_prefix(piece.size());
  }
}

/// Within a table, where a semicolon ends the name.
void appendName(std::string& rtf, std::string_view name) {
  std::array<char, 16> semicolon;
  const std::string_view escaped(semicolon.data(), writeUnit(semicolon.data(), u';'));
  for (const char16_t unit : utf16Of(name)) {
    if (unit == ';') {
      rtf += escaped;
    } else {
      appendCharacters(rtf, {&unit, 1});
    }
  }
}

/// Gives each value that the text uses a number, in the order of their first use.
template <class Value>
class Numbers {
 public:
  std::int32_t of(const Value& value) {
    if (!last_ || *last_->first != value) {
      const auto found = numbers_.try_emplace(value, static_cast<std::int32_t>(order_.size()));
      if (found.second) order_.push_back(&found.first->first);
      last_ = {&found.first->first, found.first->second};
    }
    return last_->second;
  }

  /// Pointers, good while this is.
  const std::vector<const Value*>& inOrder() const { return order_; }

 private:
  std::unordered_map<Value, std::int32_t> numbers_;
  std::vector<const Value*> order_;
  std::optional<std::pair<const Value*, std::int32_t>> last_;
};

/// Whether a text may have scripts beyond Latin, Greek, Cyrillic and Armenian, which word processors show in
/// a font of their own.
bool hasOtherScripts(std::u16string_view text) {
  constexpr char16_t firstOfThem = 0x0590;
  char16_t last = 0;
  for (const char16_t unit : text) last = std::max(last, unit);
  return last >= firstOfThem;
}

std::uint32_t packed(Rgb colour) {
  return std::uint32_t{colour.red} << 16U | std::uint32_t{colour.green} << 8U | colour.blue;
}

Rgb fixed(const TextColour& colour) {
  const auto* name = std::get_if<PaletteColour>(&colour);
  return name ? rgb(*name, Appearance::light) : std::get<Rgb>(colour);
}

class Writer {
 public:
  Writer(const AttributedText& text, std::string& body) : text_(text), body_(body) {}

  void write() {
    body_.clear();
    body_.reserve(text_.length() + text_.length() / 4);
    text_.forEachRun({.length = text_.length()}, [&](const AttributedText::Run& run) { append(run); });
    closeField();
    if (!isAtParagraphStart_) sayParagraph();
    body_ += "\\par}";
    body_.insert(0, head());
  }

 private:
  void append(const AttributedText::Run& run) {
    areCharactersSet_ = false;
    const auto [first, second] = text_.pieces();
    const std::size_t begin = run.range.location;
    const std::size_t end = run.range.end();
    const auto front = first.substr(std::min(begin, first.size()), end - begin);
    const auto back =
        second.substr(std::max(begin, first.size()) - first.size(), run.range.length - front.size());
    needsOtherScripts_ = hasOtherScripts(front) || hasOtherScripts(back);
    append(front, run.attributes);
    append(back, run.attributes);
  }

  void append(std::u16string_view text, const TextAttributes& attributes) {
    while (!text.empty()) {
      if (isAtParagraphStart_) paragraphStyle_ = attributes.paragraphStyle;
      isAtParagraphStart_ = false;
      const bool leads =
          attributes.link && !attributes.link->empty() && attributes.link->size() <= RtfLimits::link;
      if (!leads || link_ != attributes.link) closeField();
      sayParagraph();
      if (leads) openField(*attributes.link);
      if (!areCharactersSet_) setCharacters(attributes);
      const std::size_t length = std::min(text.find(u'\n'), text.size());
      appendCharacters(body_, text.substr(0, length));
      text.remove_prefix(length);
      if (text.empty()) return;
      body_ += "\\par\n";
      isAtParagraphStart_ = true;
      text.remove_prefix(1);
    }
  }

  void sayParagraph() {
    if (said_ && *said_ == paragraphStyle_) return;
    body_ += "\\pard";
    if (paragraphStyle_) setParagraph(*paragraphStyle_);
    body_ += '\n';
    said_ = paragraphStyle_;
  }

  void setParagraph(const ParagraphStyle& style) {
    const std::int32_t head = twips(style.headIndent);
    const std::int32_t first = twips(style.firstLineIndent) - head;
    const std::int32_t tail = twips(style.tailIndent);
    const std::int32_t spacing = twips(style.spacing);
    const std::int32_t interval = twips(style.defaultTabInterval);
    if (style.lineHeight > 0) {
      appendWord(body_, "\\sl", std::min(style.lineHeight, RtfLimits::length));
      body_ += "\\slmult1";
    }
    if (spacing != 0) appendWord(body_, "\\sa", spacing);
    if (first != 0) appendWord(body_, "\\fi", first);
    if (head != 0) appendWord(body_, "\\li", head);
    if (tail < 0) appendWord(body_, "\\ri", -tail);
    if (tail > 0) appendWord(body_, "\\pelltail", tail);
    const std::size_t stops = std::min(style.tabStops.size(), RtfLimits::tabStops);
    for (std::size_t stop = 0; stop < stops; ++stop) appendWord(body_, "\\tx", twips(style.tabStops[stop]));
    if (interval != 0) appendWord(body_, "\\pelltab", interval);
  }

  /// One for all of a link, whatever it goes over: it may be far longer than its text. Words within a group
  /// end with it, so that on both sides of its brackets those of characters are said anew.
  void openField(const std::string& link) {
    if (link_) return;
    body_ += "{\\field{\\*\\fldinst{";
    appendCharacters(body_, rtfLinkInstruction(link));
    body_ += "}}{\\fldrslt";
    link_ = link;
    saidBeforeField_ = said_;
    areCharactersSet_ = false;
  }

  void closeField() {
    if (!link_) return;
    body_ += "}}";
    link_.reset();
    said_ = saidBeforeField_;
    areCharactersSet_ = false;
  }

  void setCharacters(const TextAttributes& attributes) {
    areCharactersSet_ = true;
    body_ += "\\plain";
    const std::int32_t font = fonts_.of(attributes.font ? attributes.font->family : std::string());
    if (attributes.font) setFont(*attributes.font, font);
    if (attributes.underline.value_or(0) != 0) body_ += "\\ul";
    if (attributes.strikethrough.value_or(0) != 0) body_ += "\\strike";
    if (attributes.foreground) appendWord(body_, "\\cf", number(*attributes.foreground));
    if (attributes.background) {
      const std::int32_t colour = number(*attributes.background);
      appendWord(body_, "\\cb", colour);
      appendWord(body_, "\\chshdng0\\chcbpat", colour);
    }
    body_ += ' ';
  }

  /// Where RTF has a font of its own for scripts such as Devanagari, it is the same.
  void setFont(const Font& font, std::int32_t number) {
    const std::int32_t size = counted(font.size, hundredths, RtfLimits::fontSize);
    const std::int32_t halves = (size + hundredthsPerHalf / 2) / hundredthsPerHalf;
    if (needsOtherScripts_) {
      appendWord(body_, "\\rtlch\\af", number);
      appendWord(body_, "\\afs", halves);
      if (font.isBold()) body_ += "\\ab";
      if (font.italic) body_ += "\\ai";
      body_ += "\\ltrch";
    }
    appendWord(body_, "\\f", number);
    appendWord(body_, "\\fs", halves);
    if (size % hundredthsPerHalf != 0) appendWord(body_, "\\pellsize", size);
    if (font.isBold()) body_ += "\\b";
    const bool isUsual = font.weight == Font::regular || font.weight == Font::bold;
    if (!isUsual) appendWord(body_, "\\pellweight", std::clamp(font.weight, 1, RtfLimits::weight));
    if (font.italic) body_ += "\\i";
  }

  /// 0 is nobody's colour.
  std::int32_t number(const TextColour& colour) { return 1 + colours_.of(packed(fixed(colour))); }

  std::string head() {
    std::string head = "{\\rtf1\\ansi\\ansicpg1252\\uc1";
    std::string fonts;
    std::int32_t defaultFont = 0;
    for (const std::string* family : fonts_.inOrder()) {
      const std::int32_t font = fonts_.of(*family);
      if (family->empty()) defaultFont = font;  // of text that has none
      appendWord(fonts, "{\\f", font);
      fonts += "\\fnil\\fcharset0 ";
      appendName(fonts, *family);
      fonts += ";}";
    }
    appendWord(head, "\\deff", defaultFont);
    head += "\n{\\fonttbl" + fonts + "}\n{\\colortbl;";
    for (const std::uint32_t* colour : colours_.inOrder()) {
      appendWord(head, "\\red", static_cast<std::int32_t>(*colour >> 16U));
      appendWord(head, "\\green", static_cast<std::int32_t>(*colour >> 8U & 0xFFU));
      appendWord(head, "\\blue", static_cast<std::int32_t>(*colour & 0xFFU));
      head += ';';
    }
    return head += "}\n{\\*\\generator Pell;}\n";
  }

  const AttributedText& text_;
  std::string& body_;  // and the head before it in the end
  Numbers<std::string> fonts_;
  Numbers<std::uint32_t> colours_;
  std::optional<ParagraphStyle> paragraphStyle_;
  std::optional<std::optional<ParagraphStyle>> said_;  // paragraph style
  std::optional<std::optional<ParagraphStyle>> saidBeforeField_;
  std::optional<std::string> link_;  // of the field that is open
  bool isAtParagraphStart_ = true;
  bool areCharactersSet_ = false;
  bool needsOtherScripts_ = false;  // of the run
};

}  // namespace

std::string writeRtf(const AttributedText& text) {
  std::string rtf;
  writeRtf(text, rtf);
  return rtf;
}

void writeRtf(const AttributedText& text, std::string& rtf) { Writer(text, rtf).write(); }

}  // namespace pell
