#pragma once

#include <string>

#include "editor/AttributedText.h"

namespace pell {

/// `text` as an RTF document that word processors read; the same text always gives the same bytes. Each
/// paragraph has the style of its first character. `readRtf` gives back an equal text, but for this:
///
/// - lengths are kept in twentieths of a point, font sizes in hundredths, as far as the limits of RtfStyle.h
/// go;
///   a size of 0 or less, or one that is no number, is 12;
/// - weights are kept from 1 to 1000, the first 256 UTF-16 code units of a font's family, and the first 32
/// tab
///   stops, in ascending order and each once;
/// - palette colours are written as they are in light surroundings, and names with the same value there come
///   back as the first of them;
/// - what says nothing counts as absent: a paragraph style all of whose parts are 0, an underline of 0, a
/// line
///   height below 0, a link that is empty or longer than 8192 bytes. Any other underline is 1;
/// - what is no UTF-8 in the name of a font or in a link becomes U+FFFD.
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
