// Where one character of a text ends and the next begins, as its reader sees them.
#pragma once

#include <cstddef>
#include <cstdint>
#include <memory>
#include <string_view>

namespace pell {

/// Walks the extended grapheme clusters of a UTF-8 text: a base with its marks, a syllable joined by a
/// virama, a flag, a family of emoji, a line break of two code points. Bytes that are no UTF-8 count as
/// replacement characters.
///
/// The boundaries are ICU's. Code points whose behaviour fits a small table (Latin to Devanagari, general
/// punctuation) are decided here; ICU is asked about the stretches that hold anything else.
///
/// The text is borrowed. An object belongs to one thread; the static operations may run on any.
class GraphemeClusters {
 public:
  explicit GraphemeClusters(std::string_view utf8);
  GraphemeClusters(const GraphemeClusters&) = delete;
  GraphemeClusters& operator=(const GraphemeClusters&) = delete;
  ~GraphemeClusters();

  /// The next cluster; empty once the text is at its end.
  std::string_view next();

  static std::int64_t count(std::string_view utf8);

  /// The first `limit` clusters, or the whole text if it has no more.
  static std::string_view prefix(std::string_view utf8, std::int64_t limit);

 private:
  class Segmenter;

  std::size_t endOfNext();
  void openHardStretch();
  std::int64_t skip(std::int64_t limit);

  std::string_view text_;
  std::size_t at_ = 0;              // where the next cluster begins
  std::size_t hardStretchEnd_ = 0;  // up to here boundaries are asked of the segmenter
  std::unique_ptr<Segmenter> segmenter_;
};

}  // namespace pell
