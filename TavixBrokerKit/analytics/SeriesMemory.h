#pragma once

namespace tavix {

// Studies and charts build columns of hundreds of kilobytes on every refresh and drop them soon
// after. glibc's allocator serves blocks that large by mapping fresh pages and hands freed memory at
// the top of its heap back to the system, so each refresh faults every page in again: some ten
// thousand page faults, about a third of the time, for the whole study catalogue over 100,000 bars.
// Called once at start, this keeps blocks up to 32 MiB in the heap and up to 128 MiB of freed heap
// for reuse. Elsewhere (not glibc) it does nothing.
void keepFreedSeriesMemory();

}  // namespace tavix
