// The sizes of a note's paragraphs.
#pragma once

#include <array>
#include <string_view>

#include "editor/TextAttributes.h"

namespace pell {

/// A paragraph's size is nothing but its font. Identified by its raw value.
enum class BlockStyle { title, heading, subheading, body };

/// In the order in which the toolbar offers them.
inline constexpr std::array allBlockStyles{BlockStyle::title, BlockStyle::heading, BlockStyle::subheading,
                                           BlockStyle::body};

std::string_view rawValue(BlockStyle style);

/// As the toolbar names it.
std::string_view label(BlockStyle style);

Font font(BlockStyle style);

/// What a font looks like. The size decides first; below it whatever is bold is a subheading, though it may
/// have been made bold by hand.
BlockStyle blockStyleOf(const Font& font);

}  // namespace pell
