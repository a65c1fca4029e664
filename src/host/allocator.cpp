#include "host/allocator.h"

#include <cstdlib>  // defines __GLIBC__ where glibc is the C library

#if defined(__GLIBC__)
#include <malloc.h>
#endif

namespace velq {

void prefer_heap_for_large_work() {
#if defined(__GLIBC__)
    constexpr int kMib = 1 << 20;
    mallopt(M_MMAP_THRESHOLD, 32 * kMib);  // glibc's largest
#endif
}

}  // namespace velq
