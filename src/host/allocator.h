// How the C library's allocator serves a process that works on large arrays which grow and are
// freed many times over (the packer's lists, pictures, tables).
#pragma once

namespace velq {

// On glibc, blocks up to 32 MiB come from the heap instead of mappings of their own: a growing
// array then reuses pages that were touched before instead of faulting in fresh ones at every step
// (a render of a photograph makes about a tenth fewer page faults and is a few per cent faster).
// Elsewhere it does nothing. Call it once, first thing in main.
void prefer_heap_for_large_work();

}  // namespace velq
