#include "editor/RtfTables.h"

#include <algorithm>
#include <cstddef>

#include "editor/RtfCodePages.h"
#include "editor/Utf16.h"

namespace pell {
namespace {

std::uint8_t partOf(std::int32_t value) { return static_cast<std::uint8_t>(std::clamp(value, 0, 255)); }

}  // namespace

void RtfFonts::begin(std::int32_t number) {
  end();
  current_ = &fonts_[number];
  *current_ = {};
}

void RtfFonts::setCodePage(int codePage) {
  if (current_) current_->codePage = codePage;
}

void RtfFonts::append(std::u16string_view text) {
  for (const char16_t unit : text) {
    if (unit == ';') {
      end();
    } else {
      appendToName(unit);
    }
  }
}

void RtfFonts::appendToName(char16_t unit) {
  if (name_.size() < longestName) name_ += unit;
}

void RtfFonts::end() {
  if (current_ && current_->family.empty()) current_->family = utf8Of(name_);
  name_.clear();
}

const std::string& RtfFonts::family(std::int32_t number) const {
  static const std::string none;
  const auto found = fonts_.find(number);
  return found == fonts_.end() ? none : found->second.family;
}

std::optional<int> RtfFonts::codePage(std::int32_t number) const {
  const auto found = fonts_.find(number);
  if (found == fonts_.end()) return std::nullopt;
  const Font& font = found->second;
  return font.codePage == RtfCodePages::symbols && font.family == "Symbol" ? RtfCodePages::symbolsFont
                                                                           : font.codePage;
}

Rgb& RtfColours::next() {
  if (!next_) next_.emplace();
  return *next_;
}

void RtfColours::setRed(std::int32_t value) { next().red = partOf(value); }
void RtfColours::setGreen(std::int32_t value) { next().green = partOf(value); }
void RtfColours::setBlue(std::int32_t value) { next().blue = partOf(value); }

void RtfColours::append(std::u16string_view text) {
  for (auto left = std::count(text.begin(), text.end(), u';'); left > 0; --left) {
    colours_.push_back(next_);
    next_.reset();
  }
}

std::optional<TextColour> RtfColours::colour(std::int32_t number) const {
  if (number <= 0 || static_cast<std::size_t>(number) >= colours_.size()) return std::nullopt;
  const std::optional<Rgb> fixed = colours_[static_cast<std::size_t>(number)];
  if (!fixed) return std::nullopt;
  for (std::size_t index = 0; index < detail::palette.size(); ++index) {
    const auto name = static_cast<PaletteColour>(index);
    if (rgb(name, Appearance::light) == *fixed) return name;
  }
  return *fixed;
}

}  // namespace pell
