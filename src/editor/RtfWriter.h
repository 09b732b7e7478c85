#pragma once

#include <string>

#include "editor/AttributedText.h"

namespace pell {

/// `text` as an RTF document that word processors read; the same text always gives the same bytes. Each
/// paragraph has the style of its first character. `readRtf` gives back an equal text, but for this:
///
/// - lengths are kept in twentieths of a point, font sizes in hundredths;
/// - palette colours are written as they are in light surroundings, and names with the same value there come
///   back as the first of them;
/// - what says nothing counts as absent: a paragraph style all of whose parts are 0, an empty link, an
///   underline of 0.
///
/// Other programs find whole numbers in place of font weights between the regular and the bold one, half
/// points in place of smaller parts, and no default tab intervals: words of our own hold these.
///
/// Any thread.
std::string writeRtf(const AttributedText& text);
/// The same in the place of what `rtf` holds, whose memory serves again.
void writeRtf(const AttributedText& text, std::string& rtf);

}  // namespace pell
