/// Live memory of a program: allocation_peak.cpp replaces the global operator new and delete of
/// the executable that it is linked into and counts what they hand out.
///
/// Sizes are those of the blocks as the allocator gives them, so that what it rounds up counts.
/// What it keeps for itself, and blocks that were freed but not returned to the system, do not:
/// those are seen from outside only (memory_bench). A program is counted as one thread.
#pragma once

#include <cstddef>

/// Starts a measurement: the peak is what is live now.
void allocation_peak_start();

/// Returns the most bytes that were live at once since the start, less those that were live then.
size_t allocation_peak_bytes();
