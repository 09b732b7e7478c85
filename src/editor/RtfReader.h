#pragma once

#include <optional>
#include <string_view>

#include "editor/AttributedText.h"

namespace pell {

/// Reads an RTF document of any program. Absent if `bytes` are no RTF at all; of a damaged or unfinished
/// document it is what could be read. What becomes of each control word says the table of RtfWords.h.
///
/// Takes any bytes, in time and memory that grow with their number. Without a break at its end a document's
/// last paragraph has none here either; in the documents that tell which program wrote them each paragraph
/// ends with a break, the last one included, and that one is left out.
///
/// Any thread.
std::optional<AttributedText> readRtf(std::string_view bytes);

}  // namespace pell
