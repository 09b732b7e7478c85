#include "editor/RtfText.h"

#include <algorithm>
#include <memory>
#include <utility>

namespace pell {
namespace {

constexpr double twipsPerPoint = 20;
constexpr std::size_t flushAt = 32'768;  // UTF-16 code units

constexpr std::size_t bytesOfRun = 32;  // about

std::size_t sizeOf(const TextAttributes& attributes) {
  std::size_t size = sizeof(TextAttributes);
  if (attributes.font) size += attributes.font->family.size();
  if (attributes.paragraphStyle) size += attributes.paragraphStyle->tabStops.size() * sizeof(double);
  if (attributes.link) size += attributes.link->size();
  return size;
}

double points(std::int32_t twips) { return twips / twipsPerPoint; }

std::optional<ParagraphStyle> paragraphStyleOf(const RtfParagraph& paragraph) {
  ParagraphStyle style{.lineHeight = paragraph.lineHeightIsMultiple ? std::max(paragraph.lineHeight, 0) : 0,
                       .spacing = points(paragraph.spaceAfter),
                       .firstLineIndent = points(std::clamp(paragraph.leftIndent + paragraph.firstLineIndent,
                                                            -RtfLimits::length, RtfLimits::length)),
                       .headIndent = points(paragraph.leftIndent),
                       .tailIndent = paragraph.leadingTailIndent > 0
                                         ? points(paragraph.leadingTailIndent)
                                         : -points(std::max(paragraph.rightIndent, 0)),
                       .defaultTabInterval = points(paragraph.defaultTabInterval)};
  if (style.tailIndent == 0) style.tailIndent = 0;  // without the sign
  style.tabStops.reserve(paragraph.tabStops.size());
  for (const auto stop : paragraph.tabStops) style.tabStops.push_back(points(stop));
  if (style == ParagraphStyle()) return std::nullopt;
  return style;
}

}  // namespace

std::u16string& RtfText::open(const RtfStyle& style) {
  if (stretches_.empty() || stretches_.back().characters != style.characters) {
    if (stretches_.size() >= RtfLimits::stretches) settle(style.paragraph);
    if (!stretches_.empty()) stretches_.back().end = text_.size();
    stretches_.push_back({.characters = style.characters});
  }
  endsInBreak_ = false;
  return text_;
}

void RtfText::endParagraph(const RtfStyle& style) {
  open(style) += u'\n';
  settle(style.paragraph);
  endsInBreak_ = true;
}

std::int32_t RtfText::link(std::string target) {
  if (target.empty() || target.size() > RtfLimits::link) return RtfCharacters::none;
  const auto [found, isNew] =
      numbers_.try_emplace(std::move(target), static_cast<std::int32_t>(links_.size()));
  if (isNew) links_.push_back(&found->first);
  return found->second;
}

/// Two links may take turns in few bytes, and each would be written out at each turn.
bool RtfText::affords(std::int32_t link) {
  if (link == goingOn_) return true;
  goingOn_ = RtfCharacters::none;
  if (link == RtfCharacters::none) return true;
  const std::size_t size = links_[static_cast<std::size_t>(link)]->size();
  if (size > linksLeft_) return false;
  linksLeft_ -= size;
  goingOn_ = link;
  return true;
}

AttributedText RtfText::take(const RtfStyle& style, bool lastBreakEnds) {
  settle(style.paragraph);
  flush();
  if (lastBreakEnds && endsInBreak_) document_.replace({.location = document_.length() - 1, .length = 1}, {});
  return std::move(document_);
}

/// Gives the paragraph its style. What is as the text before it joins that.
void RtfText::settle(const RtfParagraph& paragraph) {
  if (!stretches_.empty()) stretches_.back().end = text_.size();
  std::size_t settledEnd = paragraphBegin_;
  std::size_t flushed = 0;
  for (Stretch& stretch : stretches_) {
    if (!affords(stretch.characters.link)) stretch.characters.link = RtfCharacters::none;
    const bool isFull = attributesSize_ >= RtfLimits::attributes;
    const bool joins =
        settled_ &&
        (isFull || (settled_->characters == stretch.characters && settled_->paragraph == paragraph));
    if (!joins) {
      append(flushed, settledEnd);
      flushed = settledEnd;
      settled_ = {.characters = stretch.characters, .paragraph = paragraph};
    }
    settledEnd = stretch.end;
  }
  text_.erase(0, flushed);
  paragraphBegin_ = text_.size();
  stretches_.clear();
  if (paragraphBegin_ >= flushAt) flush();
}

void RtfText::flush() {
  append(0, text_.size());
  text_.clear();
  paragraphBegin_ = 0;
}

/// That stretch of `text_` to the document.
void RtfText::append(std::size_t begin, std::size_t end) {
  if (begin == end || !settled_) return;
  document_.appendShared(std::u16string_view(text_).substr(begin, end - begin), attributesOf(*settled_));
  attributesSize_ += bytesOfRun;
}

AttributedText::SharedAttributes RtfText::attributesOf(const RtfStyle& style) {
  const auto found = std::find_if(made_.begin(), made_.end(),
                                  [&](const Made& made) { return made.attributes && made.style == style; });
  if (found != made_.end()) return found->attributes;
  auto attributes = std::make_shared<const TextAttributes>(madeOf(style));
  attributesSize_ += sizeOf(*attributes);
  made_[oldest_] = {.style = style, .attributes = attributes};
  oldest_ = (oldest_ + 1) % made_.size();
  return attributes;
}

TextAttributes RtfText::madeOf(const RtfStyle& style) const {
  const RtfCharacters& characters = style.characters;
  TextAttributes attributes{.font = fontOf(characters),
                            .foreground = colours_.colour(characters.foreground),
                            .paragraphStyle = paragraphStyleOf(style.paragraph)};
  for (const auto number : {characters.background, characters.shading, characters.highlight}) {
    if (const auto colour = colours_.colour(number)) attributes.background = colour;
  }
  if (characters.underline) attributes.underline = 1;
  if (characters.strikethrough) attributes.strikethrough = 1;
  if (characters.link != RtfCharacters::none) {
    attributes.link = *links_[static_cast<std::size_t>(characters.link)];
  }
  return attributes;
}

/// None where neither a name nor anything else was said.
std::optional<Font> RtfText::fontOf(const RtfCharacters& characters) const {
  constexpr double usualSize = 12;
  constexpr double hundredths = 100;
  const std::string& family =
      fonts_.family(characters.font == RtfCharacters::none ? defaultFont_ : characters.font);
  if (family.empty() && characters.size == 0 && characters.weight == 0 && !characters.italic) return {};
  return Font{.family = family,
              .size = characters.size == 0 ? usualSize : characters.size / hundredths,
              .weight = characters.weight == 0 ? Font::regular : characters.weight,
              .italic = characters.italic};
}

}  // namespace pell
