// The instructions of RTF's fields, of which hyperlinks are read and written.
#pragma once

#include <string>
#include <string_view>

namespace pell {

/// `HYPERLINK "https://example.org/" \l "anchor"` leads to https://example.org/#anchor. Empty for every other
/// field.
std::string rtfLinkTarget(std::u16string_view instruction);

/// The instruction that leads to `target` (UTF-8), not yet in RTF's own writing.
std::u16string rtfLinkInstruction(std::string_view target);

}  // namespace pell
