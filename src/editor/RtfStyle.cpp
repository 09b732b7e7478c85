#include "editor/RtfStyle.h"

#include <algorithm>

namespace pell {
namespace {

std::int32_t held(std::int32_t value, std::int32_t most) { return std::clamp(value, -most, most); }

void addTabStop(std::vector<std::int32_t>& stops, std::int32_t at) {
  const auto place = std::lower_bound(stops.begin(), stops.end(), at);
  if (stops.size() >= RtfLimits::tabStops || (place != stops.end() && *place == at)) return;
  stops.insert(place, at);
}

std::int32_t fontSizeOf(std::int32_t parameter, std::int32_t unit) {
  return parameter <= 0 ? 0 : std::min(parameter, RtfLimits::fontSize / unit) * unit;
}

}  // namespace

bool RtfStyle::apply(RtfWord word, std::optional<std::int32_t> parameter) {
  return applyToFont(word, parameter) || applyToCharacters(word, parameter) ||
         applyToParagraph(word, parameter.value_or(0));
}

bool RtfStyle::applyToFont(RtfWord word, std::optional<std::int32_t> parameter) {
  constexpr std::int32_t boldWeight = 700;
  constexpr std::int32_t halfPoint = 50;
  const bool isOn = parameter != 0;
  const std::int32_t number = parameter.value_or(0);
  switch (word) {
    case RtfWord::font:
      characters.font = number;
      return true;
    case RtfWord::fontSize:
      characters.size = fontSizeOf(number, halfPoint);
      return true;
    case RtfWord::exactFontSize:
      characters.size = fontSizeOf(number, 1);
      return true;
    case RtfWord::fontWeight:
      characters.weight = std::clamp(number, 0, RtfLimits::weight);
      return true;
    case RtfWord::bold:
      characters.weight = isOn ? boldWeight : 0;
      return true;
    case RtfWord::italic:
      characters.italic = isOn;
      return true;
    default:
      return false;
  }
}

bool RtfStyle::applyToCharacters(RtfWord word, std::optional<std::int32_t> parameter) {
  const bool isOn = parameter != 0;
  const std::int32_t number = parameter.value_or(0);
  switch (word) {
    case RtfWord::plain:
      characters = {.link = characters.link};
      return true;
    case RtfWord::underline:
      characters.underline = isOn;
      return true;
    case RtfWord::noUnderline:
      characters.underline = false;
      return true;
    case RtfWord::strikethrough:
      characters.strikethrough = isOn;
      return true;
    case RtfWord::foreground:
      characters.foreground = number;
      return true;
    case RtfWord::background:
      characters.background = number;
      return true;
    case RtfWord::shading:
      characters.shading = number;
      return true;
    case RtfWord::highlight:
      characters.highlight = number;
      return true;
    case RtfWord::hidden:
      characters.hidden = isOn;
      return true;
    default:
      return false;
  }
}

bool RtfStyle::applyToParagraph(RtfWord word, std::int32_t parameter) {
  const std::int32_t length = held(parameter, RtfLimits::length);
  switch (word) {
    case RtfWord::paragraphDefaults:
      paragraph = {};
      return true;
    case RtfWord::lineHeight:
      paragraph.lineHeight = length;
      return true;
    case RtfWord::lineHeightMultiple:
      paragraph.lineHeightIsMultiple = parameter != 0;
      return true;
    case RtfWord::spaceAfter:
      paragraph.spaceAfter = length;
      return true;
    case RtfWord::firstLineIndent:
      paragraph.firstLineIndent = held(parameter, 2 * RtfLimits::length);  // it may undo the other indent
      return true;
    case RtfWord::leftIndent:
      paragraph.leftIndent = length;
      return true;
    case RtfWord::rightIndent:
      paragraph.rightIndent = length;
      return true;
    case RtfWord::leadingTailIndent:
      paragraph.leadingTailIndent = length;
      return true;
    case RtfWord::tabStop:
      addTabStop(paragraph.tabStops, length);
      return true;
    case RtfWord::defaultTabInterval:
      paragraph.defaultTabInterval = length;
      return true;
    default:
      return false;
  }
}

}  // namespace pell
