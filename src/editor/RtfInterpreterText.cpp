// What the interpreter does with characters.
#include <algorithm>
#include <string>
#include <unicode/uchar.h>
#include <unicode/utf16.h>

#include "editor/RtfFields.h"
#include "editor/RtfInterpreter.h"

namespace pell {
namespace {

constexpr char16_t bullet = 0x2022;
constexpr char16_t replacement = 0xFFFD;
constexpr char16_t paragraphSeparator = 0x2029;
constexpr std::size_t longestInstruction = 4 * RtfLimits::link;  // UTF-16 code units; backslashes count twice

bool isControl(char16_t unit) { return unit < ' ' && unit != '\t'; }

/// The marker that another program shows before a list item, as a marker of ours if it has one: digits with
/// a point, or a bullet for whatever sign stands alone.
std::u16string markerOf(std::u16string_view shown) {
  constexpr std::u16string_view blanks = u" \t";
  const std::size_t begin = std::min(shown.find_first_not_of(blanks), shown.size());
  shown.remove_prefix(begin);
  shown = shown.substr(0, shown.find_last_not_of(blanks) + 1);
  if (shown.empty()) return {};
  const auto digits = shown.substr(0, shown.find_first_not_of(u"0123456789"));
  const auto behind = shown.substr(digits.size());
  if (!digits.empty() && (behind.empty() || behind == u"." || behind == u")")) {
    return std::u16string(digits) + u".\t";
  }
  const bool isSign = shown.size() == 1 && (shown == u"o" || !u_isalnum(shown.front()));
  if (isSign) return std::u16string{bullet, '\t'};
  return std::u16string(shown) + u'\t';
}

}  // namespace

bool RtfInterpreter::isShown() const {
  return groups_.back().destination == Destination::text && !groups_.back().style.characters.hidden;
}

void RtfInterpreter::put(std::u16string_view text) {
  switch (groups_.back().destination) {
    case Destination::text:
      if (!isShown() || text.empty()) return;
      putCells();
      text_.open(groups_.back().style) += text;
      return;
    case Destination::fontTable:
      return fonts_.append(text);
    case Destination::colourTable:
      return colours_.append(text);
    case Destination::instruction:
      if (fields_.back().instruction.size() <= longestInstruction) fields_.back().instruction += text;
      return;
    case Destination::marker:
      for (const char16_t unit : text) marker_ += isOfSymbols() && unit > ' ' ? bullet : unit;
      return;
    case Destination::muted:
      return;
  }
}

void RtfInterpreter::putUnit(char16_t unit) { put({&unit, 1}); }

void RtfInterpreter::putUnicode(std::int32_t number) {
  constexpr std::int32_t units = 0x10000;
  constexpr std::int32_t lastCharacter = 0x10FFFF;
  const Group& group = groups_.back();
  fallback_ = group.fallbackLength;
  if (fallback_ == 1 && tokens_.skipTextByte()) fallback_ = 0;
  if (number >= units && number <= lastCharacter) {  // against the rules, and plain what it means
    putUnit(U16_LEAD(number));
    return putUnit(U16_TRAIL(number));
  }
  const bool isUnit =
      number >= -units / 2 && number < units;  // the upper half is written as negative numbers
  auto unit = isUnit ? static_cast<char16_t>(number) : replacement;
  const bool isBreak = unit == '\r' || unit == '\n' || unit == paragraphSeparator;
  if (isBreak && group.destination == Destination::text) return endParagraph();
  if (group.destination == Destination::fontTable) return fonts_.appendToName(unit);
  const bool isByte = unit > 0xF000 && unit <= 0xF0FF;
  if (isByte && isOfSymbols()) {
    unit = group.page->character(static_cast<unsigned char>(unit));
  }
  putUnit(unit);
}

/// Of printable ASCII.
void RtfInterpreter::putPlain(std::string_view bytes) {
  if (groups_.back().destination != Destination::text) return putBytes(bytes);
  if (!isShown()) return;
  putCells();
  std::u16string& text = text_.open(groups_.back().style);
  const std::size_t before = text.size();
  text.resize(before + bytes.size());
  std::copy(bytes.begin(), bytes.end(), text.begin() + static_cast<std::ptrdiff_t>(before));
}

void RtfInterpreter::putBytesBehindFallback(std::string_view bytes) {
  const auto passed = std::min(static_cast<std::size_t>(fallback_), bytes.size());
  fallback_ -= static_cast<std::int32_t>(passed);
  bytes.remove_prefix(passed);
  if (bytes == "\r" && !isWithinCharacter_) {
    flushBytes();
    endParagraph();
  } else {
    putBytes(bytes);
  }
}

/// A break of the line in a form that some programs give it, and other controls that no text has, are
/// told from characters here, once the bytes that belong together are known.
void RtfInterpreter::putBytes(std::string_view bytes) {
  const RtfCodePage& page = *groups_.back().page;
  if (page.isSingle()) {
    decoded_.resize(bytes.size());
    char16_t* to = decoded_.data();
    for (const char byte : bytes) {
      *to = page.character(static_cast<unsigned char>(byte));
      to += isControl(*to) ? 0 : 1;
    }
    return put({decoded_.data(), static_cast<std::size_t>(to - decoded_.data())});
  }
  for (const char byte : bytes) {
    const auto value = static_cast<unsigned char>(byte);
    if (isWithinCharacter_ || value >= 0x80) {
      bytes_ += byte;
      isWithinCharacter_ = !isWithinCharacter_ && page.isLead(value);
    } else {
      flushBytes();
      if (!isControl(value)) putUnit(value);
    }
  }
}

void RtfInterpreter::flushBytes() {
  isWithinCharacter_ = false;
  if (bytes_.empty()) return;
  decoded_.clear();
  groups_.back().page->append(decoded_, bytes_);
  bytes_.clear();
  put(decoded_);
}

/// The tabs between the cells before this text; one behind the last cell of a row would say nothing.
void RtfInterpreter::putCells() {
  if (cells_ == 0) return;
  text_.open(groups_.back().style).append(cells_, u'\t');
  cells_ = 0;
}

void RtfInterpreter::endParagraph() {
  if (!isShown()) return;
  putCells();
  text_.endParagraph(groups_.back().style);
}

void RtfInterpreter::endMarker() {
  const std::u16string marker = markerOf(marker_);
  marker_.clear();
  put(marker);
}

void RtfInterpreter::fieldWord(RtfWord word) {
  Group& group = groups_.back();
  if (word == RtfWord::field) {
    if (!group.hasField) fields_.emplace_back();
    group.hasField = true;
  } else if (fields_.empty()) {
    if (word == RtfWord::fieldInstruction) mute();
  } else if (word == RtfWord::fieldInstruction) {
    group.destination = Destination::instruction;
  } else {
    Field& field = fields_.back();
    const bool isTooLong = field.instruction.size() > longestInstruction;
    if (!field.link)
      field.link = isTooLong ? RtfCharacters::none : text_.link(rtfLinkTarget(field.instruction));
    if (*field.link != RtfCharacters::none) group.style.characters.link = *field.link;
  }
}

void RtfInterpreter::openFootnote() {
  if (!isShown()) return;
  put(u" [");
  groups_.back().isFootnote = true;
}

void RtfInterpreter::mute() {
  Group& group = groups_.back();
  if (group.destination == Destination::muted) return;
  group.unmuted = group.destination;
  group.destination = Destination::muted;
}

/// Whether the font has pictures for characters.
bool RtfInterpreter::isOfSymbols() {
  const RtfCodePage* page = groups_.back().page;
  return page == &codePages_.page(RtfCodePages::symbols) ||
         page == &codePages_.page(RtfCodePages::symbolsFont);
}

/// By the font, which has the bytes of its characters read in a way of its own.
void RtfInterpreter::choosePage() {
  Group& group = groups_.back();
  const std::int32_t font =
      group.style.characters.font == RtfCharacters::none ? defaultFont_ : group.style.characters.font;
  if (!chosenPage_ || font != chosenFont_) {
    chosenPage_ = &codePages_.page(fonts_.codePage(font).value_or(documentPage_));
    chosenFont_ = font;
  }
  group.page = chosenPage_;
}

/// To be called when what pages follow from has changed.
void RtfInterpreter::choosePageAnew() {
  chosenPage_ = nullptr;
  choosePage();
}

void RtfInterpreter::setDocumentPage(std::int32_t number) {
  documentPage_ = number;
  choosePageAnew();
}

}  // namespace pell
