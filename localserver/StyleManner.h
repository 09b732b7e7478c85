// How a style writes, as far as rules can do it.
#pragma once

#include <string_view>

namespace pell::localserver {

/// What becomes of line breaks, be they heard or spoken.
enum class Lines {
  one,     // none is left
  single,  // no blank lines
  all,
};

enum class Capitals {
  none,
  starts,  // of sentences and lines
  prose,   // and the pronoun I
};

/// The mark at the end of a paragraph.
enum class Ends {
  none,    // never added, and a lone sentence loses its full stop: names, cells
  casual,  // as in prose, but a lone sentence goes without a full stop: chats
  full,
};

enum class Shape {
  text,
  letter,         // the greeting and the sign-off stand on lines of their own
  sentenceLines,  // each sentence on a line of its own
  sentenceItems,  // several sentences become a list
};

/// Styles of equal manner write alike.
struct Manner {
  bool verbatim = false;  // nothing is touched but white space at the ends
  Lines lines = Lines::all;
  Capitals capitals = Capitals::prose;
  Ends ends = Ends::full;
  Shape shape = Shape::text;
  std::string_view bullet;  // the sign of a list's items; empty: no lists
  bool listsAfterColon = false;
  bool hashtags = false;     // "hashtag" is a sign, and tags at the end stand apart
  bool identifiers = false;  // "underscore" joins
  bool curlyQuotes = false;
  int longestParagraph = 0;  // in sentences; 0 for no limit

  friend bool operator==(const Manner&, const Manner&) = default;
};

}  // namespace pell::localserver
