#include "editor/ListSelection.h"

#include <algorithm>
#include <optional>

namespace pell {
namespace {

std::ptrdiff_t adjusted(std::ptrdiff_t position, const std::vector<ListShift>& shifts, std::ptrdiff_t limit) {
  std::ptrdiff_t moved = position;
  std::optional<std::ptrdiff_t> last;
  for (const ListShift& shift : shifts) {
    if (shift.location > position) continue;
    moved += shift.delta;
    last = std::max(last.value_or(shift.location), shift.location);
  }
  if (last) {
    // Where the paragraph begins now: an end must not slide into the one before.
    std::ptrdiff_t anchor = *last;
    for (const ListShift& shift : shifts) {
      if (shift.location < *last) anchor += shift.delta;
    }
    moved = std::max(moved, anchor);
  }
  return std::clamp<std::ptrdiff_t>(moved, 0, limit);
}

}  // namespace

TextRange ListSelection::after(TextRange selection, const std::vector<ListShift>& shifts, std::size_t limit) {
  const auto signedLimit = static_cast<std::ptrdiff_t>(limit);
  const auto start = adjusted(static_cast<std::ptrdiff_t>(selection.location), shifts, signedLimit);
  const auto end = adjusted(static_cast<std::ptrdiff_t>(selection.end()), shifts, signedLimit);
  return {.location = static_cast<std::size_t>(start),
          .length = static_cast<std::size_t>(std::max<std::ptrdiff_t>(end - start, 0))};
}

}  // namespace pell
