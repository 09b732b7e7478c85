#include "editor/GapBuffer.h"

#include <algorithm>

namespace pell {

GapBuffer& GapBuffer::operator=(GapBuffer&& other) noexcept {
  units_ = std::exchange(other.units_, {});
  gap_ = std::exchange(other.gap_, 0);
  gapLength_ = std::exchange(other.gapLength_, 0);
  return *this;
}

std::pair<std::u16string_view, std::u16string_view> GapBuffer::pieces() const {
  const std::u16string_view all = units_;
  return {all.substr(0, gap_), all.substr(gap_ + gapLength_)};
}

std::pair<std::u16string_view, std::u16string_view> GapBuffer::pieces(std::size_t position,
                                                                      std::size_t count) const {
  const auto [front, back] = pieces();
  if (position >= front.size()) return {back.substr(position - front.size(), count), {}};
  const std::u16string_view first = front.substr(position, count);
  return {first, back.substr(0, count - first.size())};
}

void GapBuffer::replace(std::size_t position, std::size_t count, std::u16string_view with) {
  moveGap(position);
  gapLength_ += count;
  widenGap(with.size());
  std::copy(with.begin(), with.end(), units_.begin() + static_cast<std::ptrdiff_t>(gap_));
  gap_ += with.size();
  gapLength_ -= with.size();
}

void GapBuffer::moveGap(std::size_t position) {
  char16_t* units = units_.data();
  if (position < gap_) {
    std::copy_backward(units + position, units + gap_, units + gap_ + gapLength_);
  } else {
    std::copy(units + gap_ + gapLength_, units + position + gapLength_, units + gap_);
  }
  gap_ = position;
}

void GapBuffer::widenGap(std::size_t needed) {
  if (needed <= gapLength_) return;
  // A text that is taken over whole mostly stays as it is; one that grows will grow again.
  const std::size_t spare = size() == 0 ? 0 : size() / 4 + 32;
  const std::size_t more = std::max(needed, spare) - gapLength_;
  units_.insert(gap_ + gapLength_, more, u'\0');
  gapLength_ += more;
}

}  // namespace pell
