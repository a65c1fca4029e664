// Asking for memory a little before it is used, where the hardware cannot guess the pattern (shapes
// scattered over a picture larger than the caches).
#pragma once

namespace velq {

// Brings the cache line at `p` close, to be read, or written when `write`. GCC drops a loop made of
// nothing but prefetches as having no effect; the empty statement that takes the address keeps it.
template <bool write = false>
inline void prefetch(const void* p) {
#if defined(__GNUC__)
    __builtin_prefetch(p, write ? 1 : 0);
    asm volatile("" : : "r"(p));
#else
    (void)p;
#endif
}

}  // namespace velq
