// Text with attributes, a value.
#pragma once

#include <cstddef>
#include <functional>
#include <memory>
#include <string>
#include <string_view>
#include <utility>
#include <vector>

#include "editor/GapBuffer.h"
#include "editor/TextAttributes.h"
#include "editor/TextRange.h"

namespace pell {

/// UTF-16 text in runs of equal attributes. The only line break in it is LF: CR LF, CR and U+2029 become LF
/// on their way in. Lone surrogates are kept; a NUL, at which other programs would take a text to
/// end, becomes U+FFFD. Neighbouring runs never have equal attributes.
///
/// Text and runs each stand in a gap buffer, so that edits which follow each other through the text, in
/// either direction, cost what they change and not what the text is long; a look-up costs the logarithm of
/// the number of runs. Any thread, one at a time. Positions past the end are a mistake of the caller's.
class AttributedText {
 public:
  AttributedText() = default;
  explicit AttributedText(std::u16string_view text, TextAttributes attributes = {});

  std::size_t length() const;
  bool isEmpty() const { return length() == 0; }
  char16_t operator[](std::size_t position) const;

  std::u16string text() const;
  std::u16string text(TextRange range) const;
  /// Ill-formed UTF-16 becomes U+FFFD.
  std::string utf8() const;
  std::string utf8(TextRange range) const;
  void appendUtf8To(std::string& utf8, TextRange range) const;
  /// The text as it lies in memory, in two pieces, good until the next change.
  std::pair<std::u16string_view, std::u16string_view> pieces() const;

  AttributedText subtext(TextRange range) const;

  struct Run {
    TextRange range;  // as far as the attributes reach
    const TextAttributes& attributes;
  };
  /// The run of the character at `position`, which is less than `length()`.
  Run runAt(std::size_t position) const;
  const TextAttributes& attributesAt(std::size_t position) const { return runAt(position).attributes; }
  /// The runs of `range` in order, cut to it.
  void forEachRun(TextRange range, const std::function<void(const Run&)>& visit) const;
  std::size_t runCount() const;

  /// Attributes that many runs can share, so that they are held and compared once.
  using SharedAttributes = std::shared_ptr<const TextAttributes>;

  void replace(TextRange range, const AttributedText& replacement);
  void append(const AttributedText& more) { replace({.location = length()}, more); }
  void append(std::u16string_view text, const TextAttributes& attributes);
  /// `attributes` is not null.
  void appendShared(std::u16string_view text, SharedAttributes attributes);

  /// Lets `change` alter the attributes of each run of `range`; it is asked once for those that several runs
  /// share, and goes by nothing but what it is given. Whether it altered any.
  bool changeAttributes(TextRange range, const std::function<void(TextAttributes&)>& change);

  /// The paragraphs that `range` touches, from the first one's start past the last one's line break. Of an
  /// empty range it is the paragraph at that place; after a final line break that is the empty one.
  TextRange paragraphRange(TextRange range) const;

  friend bool operator==(const AttributedText& left, const AttributedText& right);

 private:
  struct Mark {
    std::size_t start = 0;
    SharedAttributes attributes;
  };

  std::size_t startOf(std::size_t run) const;
  const SharedAttributes& sharedOf(std::size_t run) const;
  std::size_t runIndex(std::size_t position) const;
  void splitRuns(std::size_t position);
  void dropRunsUpTo(std::size_t position);
  void putRun(std::size_t start, SharedAttributes attributes);
  void joinRuns();

  GapBuffer text_;
  // The runs before the last change, counted from the start of the text, and those behind it, the next one
  // last, counted from its end: so a change of length between the two alters neither.
  std::vector<Mark> before_;
  std::vector<Mark> behind_;
};

}  // namespace pell
