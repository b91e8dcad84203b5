#include "analytics/SeriesMemory.h"

#include <cstdlib>  // brings in <features.h>, which says whether this is glibc

#if defined(__GLIBC__)
#include <malloc.h>
#endif

namespace tavix {

void keepFreedSeriesMemory() {
#if defined(__GLIBC__)
    constexpr int largestFromHeap = 32 << 20;  // glibc's ceiling for this setting on 64-bit systems
    constexpr int freedKept = 128 << 20;
    mallopt(M_MMAP_THRESHOLD, largestFromHeap);
    mallopt(M_TRIM_THRESHOLD, freedKept);
#endif
}

}  // namespace tavix
