// Web pages on their way into a note.
#pragma once

#include <QString>

#include "editor/AttributedText.h"

namespace pell {

struct NoteHtml {
  /// Text, headings, bold, italic, underline, strikethrough, links, lists and quotes, in the looks of a note.
  /// Pictures are left out, and nothing that the page names is fetched. Main thread.
  static AttributedText read(const QString& html);
};

}  // namespace pell
