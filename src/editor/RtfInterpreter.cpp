#include "editor/RtfInterpreter.h"

#include <algorithm>
#include <optional>
#include <utility>

namespace pell {

AttributedText RtfInterpreter::run() {
  groups_.push_back({.page = &codePages_.page(documentPage_)});
  tokens_.next();  // the bracket that opens the document
  while (take(tokens_.next())) {
  }
  flushBytes();
  return text_.take(groups_.back().style, hasGenerator_);
}

/// False once the document is over.
bool RtfInterpreter::take(const RtfToken& token) {
  const bool wasStarred = isStarred_;
  switch (token.kind) {
    case RtfToken::Kind::text:
      if (fallback_ == 0 && token.isPlain && bytes_.empty() && groups_.back().page->hasAscii()) {
        putPlain(token.text);
      } else {
        putBytesBehindFallback(token.text);
      }
      break;
    case RtfToken::Kind::byte: {
      const char byte = static_cast<char>(token.parameter);
      putBytesBehindFallback({&byte, 1});
      break;
    }
    case RtfToken::Kind::open:
      open();
      break;
    case RtfToken::Kind::close:
      return close();
    case RtfToken::Kind::symbol:
    case RtfToken::Kind::word:
    case RtfToken::Kind::binary:
      if (skipsFallback(token)) break;
      if (isWithinCharacter_ && token.kind == RtfToken::Kind::symbol &&
          std::string_view("\\{}").find(token.text) != std::string_view::npos) {
        putBytes(token.text);  // the second byte of a character, which looks like a control
        break;
      }
      flushBytes();
      if (token.kind == RtfToken::Kind::symbol) symbol(token.text.front());
      if (token.kind == RtfToken::Kind::word) word(token);
      break;
    case RtfToken::Kind::end:
      return false;
  }
  if (wasStarred) isStarred_ = false;
  return true;
}

void RtfInterpreter::open() {
  flushBytes();
  fallback_ = 0;
  if (groups_.size() >= RtfLimits::depth) {
    tokens_.skipGroup();
    tokens_.next();
    return;
  }
  Group group = groups_.back();
  group.hasField = false;
  group.isFootnote = false;
  groups_.push_back(std::move(group));
}

bool RtfInterpreter::close() {
  flushBytes();
  fallback_ = 0;
  isStarred_ = false;
  if (groups_.size() == 1) return false;
  const Group group = std::move(groups_.back());
  groups_.pop_back();
  leave(group);
  return true;
}

/// What is left to do behind a group.
void RtfInterpreter::leave(const Group& group) {
  if (group.hasField) fields_.pop_back();
  if (group.isFootnote) putUnit(']');
  if (group.destination == groups_.back().destination) return;
  if (group.destination == Destination::marker) endMarker();
  if (group.destination == Destination::fontTable) {
    fonts_.end();
    choosePageAnew();
  }
}

/// Of what stands in for a character of Unicode, in programs that know none. That may be a word too, but
/// only one that is a character: some documents say that something stands there, and nothing does.
bool RtfInterpreter::skipsFallback(const RtfToken& token) {
  if (fallback_ == 0) return false;
  --fallback_;
  if (token.kind == RtfToken::Kind::binary) return true;
  if (token.kind == RtfToken::Kind::symbol && token.text != "*") return true;
  if (token.kind == RtfToken::Kind::word && findRtfWord(token.text).word == RtfWord::character) return true;
  fallback_ = 0;
  return false;
}

void RtfInterpreter::symbol(char name) {
  constexpr char16_t noBreakSpace = 0x00A0;
  constexpr char16_t softHyphen = 0x00AD;
  constexpr char16_t noBreakHyphen = 0x2011;
  switch (name) {
    case '\\':
    case '{':
    case '}':
    case '\t':
      return putUnit(static_cast<char16_t>(name));
    case '~':
      return putUnit(noBreakSpace);
    case '-':
      return putUnit(softHyphen);
    case '_':
      return putUnit(noBreakHyphen);
    case '\n':
    case '\r':
      return endParagraph();
    case '*':
      isStarred_ = true;
      return;
    default:
      return;
  }
}

void RtfInterpreter::word(const RtfToken& token) {
  const RtfWordEntry& entry = findRtfWord(token.text);
  const bool isStarred = std::exchange(isStarred_, false);
  const bool isNothing = entry.word == RtfWord::unknown || entry.word == RtfWord::ignored;
  if (entry.word == RtfWord::skipped || (isNothing && isStarred)) {
    tokens_.skipGroup();
    return;
  }
  if (isNothing) return;
  const auto parameter = token.hasParameter ? std::optional(token.parameter) : std::nullopt;
  if (tableWord(entry.word, token.parameter)) return;
  if (groups_.back().style.apply(entry.word, parameter)) {
    if (entry.word == RtfWord::font || entry.word == RtfWord::plain) choosePage();
    return;
  }
  if (documentWord(entry.word, parameter.value_or(entry.word == RtfWord::codePage ? RtfCodePages::latin : 0)))
    return;
  textWord(entry, token.parameter);
}

bool RtfInterpreter::documentWord(RtfWord word, std::int32_t parameter) {
  constexpr int macintosh = 10000;
  switch (word) {
    case RtfWord::rtf:
      return true;
    case RtfWord::codePage:
      setDocumentPage(parameter);
      return true;
    case RtfWord::macCodePage:
      setDocumentPage(macintosh);
      return true;
    case RtfWord::pcCodePage:
      setDocumentPage(437);
      return true;
    case RtfWord::pcaCodePage:
      setDocumentPage(850);
      return true;
    case RtfWord::defaultFont:
      defaultFont_ = parameter;
      text_.setDefaultFont(parameter);
      return true;
    case RtfWord::generator:
      hasGenerator_ = true;
      tokens_.skipGroup();
      return true;
    case RtfWord::fallbackLength:
      groups_.back().fallbackLength = std::max(parameter, 0);
      return true;
    default:
      return false;
  }
}

/// The words of the font and the colour table.
bool RtfInterpreter::tableWord(RtfWord word, std::int32_t parameter) {
  Group& group = groups_.back();
  const bool inFonts = group.destination == Destination::fontTable;
  switch (word) {
    case RtfWord::fontTable:
      group.destination = Destination::fontTable;
      return true;
    case RtfWord::font:
      if (!inFonts) return false;
      fonts_.begin(parameter);
      return true;
    case RtfWord::fontCharset:
    case RtfWord::fontCodePage: {
      const int page =
          word == RtfWord::fontCodePage ? parameter : RtfCodePages::ofCharset(parameter, documentPage_);
      if (inFonts) fonts_.setCodePage(page);
      if (inFonts && page != RtfCodePages::symbols) group.page = &codePages_.page(page);
      return true;
    }
    case RtfWord::colourTable:
      group.destination = Destination::colourTable;
      return true;
    case RtfWord::red:
      colours_.setRed(parameter);
      return true;
    case RtfWord::green:
      colours_.setGreen(parameter);
      return true;
    case RtfWord::blue:
      colours_.setBlue(parameter);
      return true;
    default:
      return false;
  }
}

void RtfInterpreter::textWord(const RtfWordEntry& entry, std::int32_t parameter) {
  Group& group = groups_.back();
  switch (entry.word) {
    case RtfWord::unicode:
      return putUnicode(parameter);
    case RtfWord::character:
      return putUnit(entry.unit);
    case RtfWord::paragraph:
      return endParagraph();
    case RtfWord::newLine:
      if (!text_.isAtLineStart()) endParagraph();
      return;
    case RtfWord::cell:
      if (isShown()) ++cells_;
      return;
    case RtfWord::nestedRow:
      if (group.destination == Destination::muted) group.destination = group.unmuted;
      [[fallthrough]];
    case RtfWord::row:
      cells_ = 0;
      return endParagraph();
    case RtfWord::muted:
      return mute();
    case RtfWord::shown:
      if (group.destination == Destination::muted) group.destination = group.unmuted;
      return;
    case RtfWord::field:
    case RtfWord::fieldInstruction:
    case RtfWord::fieldResult:
      return fieldWord(entry.word);
    case RtfWord::listText:
      if (group.destination != Destination::text) return;
      group.destination = Destination::marker;
      marker_.clear();
      return;
    case RtfWord::footnote:
      return openFootnote();
    default:
      return;
  }
}

}  // namespace pell
