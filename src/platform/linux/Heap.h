// How the process deals with memory that it has freed.
#pragma once

namespace pell {

/// Keeps up to a megabyte of freed memory for the next use, in two places at most. Left to itself, the C
/// library gives every bigger piece back at once, and a page of the history costs a third more for being
/// faulted in anew at each reading; and it opens a place of its own for each of the many short threads of a
/// recording, so that the process grows by half a megabyte with every dictation at first.
///
/// Call before other threads are started.
void setHeapLimits();

}  // namespace pell
