// How the process deals with memory that it has freed.
#pragma once

namespace pell {

/// Keeps up to a megabyte of freed memory for the next use. Left to itself, the C library gives every bigger
/// piece back at once, and a page of the history costs a third more for being faulted in anew at each
/// reading. Call before other threads are started.
void keepFreedMemory();

}  // namespace pell
