#pragma once

#include <string>
#include <string_view>

namespace pell {

/// Notes as they are stored: RTF, in the measures of the editor.
struct RichText {
  /// `text` (UTF-8) as plain paragraphs in the editor's body style.
  static std::string bodyParagraphRtf(std::string_view text);
};

}  // namespace pell
