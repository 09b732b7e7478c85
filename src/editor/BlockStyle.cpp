#include "editor/BlockStyle.h"

#include <cstddef>

#include "editor/Face.h"

namespace pell {
namespace {

struct Entry {
  std::string_view rawValue;
  std::string_view label;
  double size;
  int weight;
};

constexpr double leastTitle = 20;
constexpr double leastHeading = 16.5;

const Entry& entry(BlockStyle style) {
  static constexpr std::array<Entry, allBlockStyles.size()> entries{
      {{"title", "Title", 22, Font::bold},
       {"heading", "Heading", 17, Font::bold},
       {"subheading", "Subheading", 15, Font::semibold},
       {"body", "Body", 15, Font::regular}}};
  return entries[static_cast<std::size_t>(style)];
}

}  // namespace

std::string_view rawValue(BlockStyle style) { return entry(style).rawValue; }

std::string_view label(BlockStyle style) { return entry(style).label; }

Font font(BlockStyle style) { return Face::nsText(entry(style).size, entry(style).weight); }

BlockStyle blockStyleOf(const Font& font) {
  if (font.size >= leastTitle) return BlockStyle::title;
  if (font.size >= leastHeading) return BlockStyle::heading;
  return font.isBold() ? BlockStyle::subheading : BlockStyle::body;
}

}  // namespace pell
