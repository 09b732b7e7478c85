// UTF-16 text that is edited in one place after the other.
#pragma once

#include <cstddef>
#include <string>
#include <string_view>
#include <utility>

namespace pell {

/// Keeps free room where it was last edited, so that an edit moves what lies between two places of editing
/// and not the rest of the text. Positions are at most `size()`. Any thread, one at a time.
class GapBuffer {
 public:
  GapBuffer() = default;
  GapBuffer(const GapBuffer&) = default;
  GapBuffer& operator=(const GapBuffer&) = default;
  /// What is moved from is empty.
  GapBuffer(GapBuffer&& other) noexcept { *this = std::move(other); }
  GapBuffer& operator=(GapBuffer&& other) noexcept;
  ~GapBuffer() = default;

  std::size_t size() const { return units_.size() - gapLength_; }
  char16_t operator[](std::size_t position) const {
    return units_[position < gap_ ? position : position + gapLength_];
  }

  /// The text before and behind the room, good until the next change.
  std::pair<std::u16string_view, std::u16string_view> pieces() const;
  /// The same of `count` units from `position`.
  std::pair<std::u16string_view, std::u16string_view> pieces(std::size_t position, std::size_t count) const;

  /// `with` must not lie in this text.
  void replace(std::size_t position, std::size_t count, std::u16string_view with);

 private:
  void moveGap(std::size_t position);
  void widenGap(std::size_t needed);

  std::u16string units_;  // the text with the gap in it
  std::size_t gap_ = 0;   // where the gap begins
  std::size_t gapLength_ = 0;
};

}  // namespace pell
