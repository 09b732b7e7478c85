#include "platform/linux/Heap.h"

#include <malloc.h>

namespace pell {

void setHeapLimits() {
  constexpr int megabyte = 1 << 20;
  mallopt(M_ARENA_MAX, 2);
  // Setting one ends the library's own adaptation of both.
  mallopt(M_TRIM_THRESHOLD, megabyte);
  mallopt(M_MMAP_THRESHOLD, megabyte);
}

}  // namespace pell
