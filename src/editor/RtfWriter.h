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
/// Words of our own hold what RTF has none for. Other programs see the nearest of regular and bold in place
/// of other weights, half points in place of smaller parts of them, and no default tab interval of a
/// paragraph.
///
/// Any thread.
std::string writeRtf(const AttributedText& text);
/// The same in the place of what `rtf` holds, whose memory serves again.
void writeRtf(const AttributedText& text, std::string& rtf);

}  // namespace pell
