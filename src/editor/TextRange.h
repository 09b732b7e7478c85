// A stretch of a text.
#pragma once

#include <cstddef>

namespace pell {

/// In UTF-16 code units.
struct TextRange {
  std::size_t location = 0;
  std::size_t length = 0;

  std::size_t end() const { return location + length; }
  bool operator==(const TextRange&) const = default;
};

}  // namespace pell
