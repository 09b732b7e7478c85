// Notes in Markdown.
#pragma once

#include <string>

#include "editor/AttributedText.h"

namespace pell {

struct MarkdownWriter {
  /// `text` in CommonMark, with GitHub's strikethrough, in UTF-8: headings, lists, quotes, bold, italic and
  /// links. What would be markup in the text itself is escaped, so that a reader shows the characters that
  /// were written. Underlines, colours, sizes and empty lines have no counterpart and are left out. Any
  /// thread.
  static std::string write(const AttributedText& text);
};

}  // namespace pell
